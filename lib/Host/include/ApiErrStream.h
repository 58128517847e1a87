#pragma once

#include <functional>
#include <string_view>
#include <utility>

#include "HostExport.h"
#include "RWClassic.h"

/// The code of an error, a text such as "JTUPDATE_OPEN_FILE_FAILED".
struct ApiErrCode {
  /// The stable code of an error.
  explicit ApiErrCode(std::string_view code) : text(code) {}
  RWClassicCString text;
};

/// Where in the source an error was found.
struct ApiErrPosition {
  /// The place in the source that reports an error.
  ApiErrPosition(std::string_view file, std::string_view function, int line)
      : sourceFile(file), functionName(function), sourceLine(line) {}
  RWClassicCString sourceFile;
  RWClassicCString functionName;
  int sourceLine;
};

/// One error as the sink receives it.
struct ApiErrRecord {
  RWClassicCString code;
  RWClassicCString sourceFile;
  RWClassicCString functionName;
  int sourceLine = 0;
  /// Paths, names and numbers, in the order they were given.
  RWClassicTValOrderedVector<RWClassicCString> arguments;
};

/// Closes an error and sends it.
struct ApiErrEnd {};
inline constexpr ApiErrEnd endErr{};

/// An error being put together. Sent by endErr; without it the error is forgotten.
class HOST_API ApiErrMessage {
 public:
  /// Adds the code, the place or an argument; `endErr` sends the message.
  ApiErrMessage& operator<<(const ApiErrCode& code);
  ApiErrMessage& operator<<(const ApiErrPosition& position);
  ApiErrMessage& operator<<(std::string_view argument);
  ApiErrMessage& operator<<(std::wstring_view argument);
  ApiErrMessage& operator<<(long argument);
  ApiErrMessage& operator<<(int argument) { return *this << static_cast<long>(argument); }
  void operator<<(ApiErrEnd end);

 private:
  ApiErrRecord record_;
};

/// The host's stream of errors meant for the user:
///
///     apiErr << ApiErrCode("JTUPDATE_OPEN_FILE_FAILED")
///            << ApiErrPosition(__FILE__, "JtwUpdateJtMaterials::executeOnComponent", __LINE__)
///            << path << endErr;
///
/// Errors go to the sink. Without one they are kept, the newest 256, and can be read; nothing is
/// ever printed. Safe from any thread.
class HOST_API ApiErrStream {
 public:
  using Sink = std::function<void(const ApiErrRecord&)>;

  /// Starts an error with its first item.
  template <class T>
  ApiErrMessage operator<<(const T& item) const {
    ApiErrMessage message;
    message << item;
    return message;
  }

  /// Sets where errors go; an empty sink represents the list. A sink's exceptions are dropped.
  /// @return the sink there was
  static Sink setSink(Sink sink);

  /// The errors kept by the list, oldest first.
  static RWClassicTValOrderedVector<ApiErrRecord> recent();
  static void clearRecent();
};

inline constexpr ApiErrStream apiErr{};
