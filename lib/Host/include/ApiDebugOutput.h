#pragma once

#include <functional>
#include <string_view>

#include "HostExport.h"
#include "RWClassic.h"

/// The channel to a debugger. Texts go to the sink. Without one they are kept, the newest 256, and
/// can be read; nothing is ever printed. Safe from any thread.
class HOST_API ApiDebugOutput {
 public:
  using Sink = std::function<void(const RWClassicCString&)>;

  /// Sends one text as it is.
  static void write(std::string_view text);

  /// Sets where texts go; an empty sink represents the list. A sink's exceptions are dropped.
  /// @return the sink there was
  static Sink setSink(Sink sink);

  /// The texts kept by the list, oldest first.
  static RWClassicTValOrderedVector<RWClassicCString> recent();
  static void clearRecent();
};
