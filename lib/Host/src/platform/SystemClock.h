#pragma once

#include "ApiClock.h"

namespace host {

/// The clock of the operating system.
class SystemClock final : public ApiClockSource {
 public:
  ApiClockTime utc() override;
  ApiClockTime local() override;
  void sleepMs(unsigned milliseconds) override;
};

}  // namespace host
