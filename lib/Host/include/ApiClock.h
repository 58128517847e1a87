#pragma once

#include <memory>

#include "HostExport.h"

/// A moment, broken down by the calendar.
struct ApiClockTime {
  int year = 1970;
  int month = 1;  ///< 1..12
  int day = 1;    ///< 1..31
  int hour = 0;   ///< 0..23
  int minute = 0;
  int second = 0;  ///< 0..60
  int millisecond = 0;

  friend bool operator==(const ApiClockTime&, const ApiClockTime&) = default;
};

/// Where time comes from. Replaced by a test that needs a fixed day or must not wait.
class HOST_API ApiClockSource {
 public:
  ApiClockSource() = default;
  ApiClockSource(const ApiClockSource&) = delete;
  ApiClockSource& operator=(const ApiClockSource&) = delete;
  virtual ~ApiClockSource();

  /// The time in UTC, and in the time zone of the machine.
  virtual ApiClockTime utc() = 0;
  virtual ApiClockTime local() = 0;
  /// Waits at least that long.
  virtual void sleepMs(unsigned milliseconds) = 0;
};

/// The clock that all layers use. Safe from any thread, as far as the source is.
class HOST_API ApiClock {
 public:
  /// The time in UTC, and in the time zone of the machine.
  static ApiClockTime utc();
  static ApiClockTime local();
  /// Waits at least that long.
  static void sleepMs(unsigned milliseconds);

  /// Sets the source; null represents the system's clock.
  /// @return the source there was, null for the system's
  static std::shared_ptr<ApiClockSource> setSource(std::shared_ptr<ApiClockSource> source);
};
