#include "DocumentStore.h"

#include <array>
#include <cstddef>
#include <memory>

#include "ApiSysFilePath.h"
#include "DocumentSettings.h"
#include "FileStream.h"

namespace host {
namespace {

constexpr std::size_t kSettingsLimit = std::size_t{1} << 20;

/// The whole text of a settings file; what is wrong is reported in `error`.
RWClassicCString readText(const ApiSysFilePath& path, RWClassicCString& error) {
  IStreamResult result = IStreamResult::ok;
  const CComPtr<FileStream> stream = FileStream::open(path, result);
  RWClassicCString text;
  std::array<char, 4096> block;
  std::size_t done = block.size();
  while (stream && result == IStreamResult::ok && done == block.size()) {
    result = stream->Read(block.data(), block.size(), done);
    text.append(block.data(), done);
    if (text.size() > kSettingsLimit) {
      error = "larger than 1 MiB";
      return {};
    }
  }
  if (result != IStreamResult::ok) error = toText(result);
  return text;
}

}  // namespace

OpenedDocument openDocument(const RWClassicCString& path) {
  if (path.empty()) return {.document = {}, .error = "the path of the document is empty"};
  auto document = std::make_shared<ApiDocument>(path);
  const ApiSysFilePath settingsPath(document->path() + "/document.json");
  if (settingsPath.exists()) {
    RWClassicCString error;
    const RWClassicCString text = readText(settingsPath, error);
    if (error.empty()) error = readDocumentSettings(text, *document);
    if (!error.empty()) return {.document = {}, .error = settingsPath.asString() + ": " + error};
  }
  return {.document = ApiDocumentRef(std::move(document)), .error = {}};
}

ApiDocumentRef withStream(const ApiDocumentRef& document, const CComPtr<IStream>& stream,
                          ApiDocument::StreamDuty duty) {
  document->setStream(duty, [stream] { return stream; });
  return document;
}

}  // namespace host
