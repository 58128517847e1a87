// JSON that comes from outside: the settings of a document, plans of assemblies, frame records. The
// first byte chooses. What is wrong is one line; a finding is any other exception, and a message
// that is empty, has several lines, or is no UTF-8.

#include <cstdint>
#include <string>

#include "ApiDocument.h"
#include "ApiSysStringConvertors.h"
#include "AssemblyPlan.h"
#include "DocumentSettings.h"
#include "Failure.h"
#include "Finding.h"
#include "FrameRecords.h"

namespace {

void checkMessage(const std::string& message) {
  if (message.empty()) finding("an error says nothing");
  if (ApiSysStringConvertors::UnicodeToRWCString(
          ApiSysStringConvertors::RWCStringToUnicode(message)) != message)
    finding("a message is no UTF-8");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  try {
    switch (data[0] % 3) {
      case 0: {
        ApiDocument document("fuzzed");
        const std::string error = host::readDocumentSettings(text, document);
        if (!error.empty()) checkMessage(error);
        break;
      }
      case 1: {
        const tool::AssemblyPlan plan = tool::readPlan(text, "plan.json");
        for (std::size_t i = 0; i < plan.items.size(); ++i)
          if (const auto parent = plan.items[i].parent; parent && *parent >= i)
            finding("an item is above its parent");
        break;
      }
      default:
        tool::readFrameRecords(text, "frames.json");
        break;
    }
  } catch (const tool::Failure& failure) {
    checkMessage(failure.what());
  }
  return 0;
}
