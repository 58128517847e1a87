#include "ApiErrStream.h"

#include <string>

#include "ApiSysStringConvertors.h"
#include "NeverDestroyed.h"
#include "ReportChannel.h"

namespace {

host::ReportChannel<ApiErrRecord>& channel() {
  static host::NeverDestroyed<host::ReportChannel<ApiErrRecord>> instance;
  return instance.get();
}

}  // namespace

ApiErrMessage& ApiErrMessage::operator<<(const ApiErrCode& code) {
  record_.code = code.text;
  return *this;
}

ApiErrMessage& ApiErrMessage::operator<<(const ApiErrPosition& position) {
  record_.sourceFile = position.sourceFile;
  record_.functionName = position.functionName;
  record_.sourceLine = position.sourceLine;
  return *this;
}

ApiErrMessage& ApiErrMessage::operator<<(std::string_view argument) {
  record_.arguments.emplace_back(argument);
  return *this;
}

ApiErrMessage& ApiErrMessage::operator<<(std::wstring_view argument) {
  record_.arguments.push_back(ApiSysStringConvertors::UnicodeToRWCString(argument));
  return *this;
}

ApiErrMessage& ApiErrMessage::operator<<(long argument) {
  record_.arguments.push_back(std::to_string(argument));
  return *this;
}

void ApiErrMessage::operator<<(ApiErrEnd) { channel().send(std::exchange(record_, {})); }

ApiErrStream::Sink ApiErrStream::setSink(Sink sink) { return channel().setSink(std::move(sink)); }

RWClassicTValOrderedVector<ApiErrRecord> ApiErrStream::recent() { return channel().recent(); }

void ApiErrStream::clearRecent() { channel().clearRecent(); }
