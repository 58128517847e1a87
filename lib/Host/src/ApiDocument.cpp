#include "ApiDocument.h"

#include <functional>
#include <utility>

#include "ApiDocumentRef.h"
#include "ApiSysFilePath.h"

namespace {

void dropEndingSeparators(RWClassicCString& path) {
  while (path.size() > 1 && (path.back() == '/' || path.back() == '\\')) path.pop_back();
}

}  // namespace

ApiDocument::ApiDocument(RWClassicCString path) { rename(std::move(path)); }

void ApiDocument::setIdentity(RWClassicCString identity) {
  identity_ = std::move(identity);
  hash_ = std::hash<RWClassicCString>{}(identity_);
}

void ApiDocument::rename(RWClassicCString path) {
  path_ = std::move(path);
  dropEndingSeparators(path_);
  setIdentity(ApiSysFilePath(path_).absolute().asString());
}

int ApiDocument::kind(const ApiDocumentRef& document) {
  return document.isNull() ? 0 : document->kind();
}

bool ApiDocument::doesHaveProperty(const ApiDocumentRef& document, const DocProperty& property) {
  return !document.isNull() && document->doesHaveProperty(property);
}

void ApiDocument::setProperty(DocProperty property, bool on) {
  if (on) {
    properties_.insert(property);
  } else {
    properties_.erase(property);
  }
}

void ApiDocument::setStream(StreamDuty duty, StreamSource source) {
  streamDuty_ = duty;
  streamSource_ = std::move(source);
}

void ApiDocument::setReleaseLabels(RWClassicTValOrderedVector<ApiGraJtReleaseLabels> labels) {
  labels_ = std::move(labels);
}
