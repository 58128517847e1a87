#include "ApiDebugOutput.h"

#include <utility>

#include "NeverDestroyed.h"
#include "ReportChannel.h"

namespace {

host::ReportChannel<RWClassicCString>& channel() {
  static host::NeverDestroyed<host::ReportChannel<RWClassicCString>> instance;
  return instance.get();
}

}  // namespace

void ApiDebugOutput::write(std::string_view text) { channel().send(RWClassicCString(text)); }

ApiDebugOutput::Sink ApiDebugOutput::setSink(Sink sink) {
  return channel().setSink(std::move(sink));
}

RWClassicTValOrderedVector<RWClassicCString> ApiDebugOutput::recent() { return channel().recent(); }

void ApiDebugOutput::clearRecent() { channel().clearRecent(); }
