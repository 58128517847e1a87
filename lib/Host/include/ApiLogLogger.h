#pragma once

#include <functional>
#include <string_view>
#include <utility>

#include "HostExport.h"
#include "RWClassic.h"

/// One entry of the log as the sink receives it.
struct ApiLogRecord {
  RWClassicCString logger;
  RWClassicCString category;
  RWClassicCString sourceFile;
  int sourceLine = 0;
  int level = 0;
  RWClassicCString message;
};

/// The host's log, for diagnostics. Entries go to the sink. Without one they are kept, the newest
/// 256, and can be read; nothing is ever printed. Safe from any thread.
class HOST_API ApiLogLogger {
 public:
  using Sink = std::function<void(const ApiLogRecord&)>;

  /// A logger of that name, which precedes its messages.
  explicit ApiLogLogger(std::string_view name) : name_(name) {}
  ApiLogLogger(const ApiLogLogger&) = delete;
  ApiLogLogger& operator=(const ApiLogLogger&) = delete;

  /// The logger without a name; lives as long as the process.
  static ApiLogLogger* instance();
  /// The logger of that name, made on the first call; lives as long as the process.
  static ApiLogLogger* instance(std::string_view name);

  /// Adds an entry. `message` is complete: format it first.
  void addLogCall(std::string_view category, std::string_view file, int line, int level,
                  std::string_view message) const;

  /// The name.
  const RWClassicCString& name() const { return name_; }

  /// Sets where the entries of all loggers go; an empty sink represents the list. A sink's
  /// exceptions are dropped.
  /// @return the sink there was
  static Sink setSink(Sink sink);

  /// The entries kept by the list, oldest first.
  static RWClassicTValOrderedVector<ApiLogRecord> recent();
  static void clearRecent();

 private:
  RWClassicCString name_;
};
