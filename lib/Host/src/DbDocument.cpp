#include "DbDocument.h"

#include <utility>

DbDocumentAccess::DbDocumentAccess(ApiDocumentRef document) : document_(std::move(document)) {}
DbDocumentAccess::~DbDocumentAccess() = default;

DbStringAccess::DbStringAccess(ApiDocumentRef document) : DbDocumentAccess(std::move(document)) {}

RWClassicCString DbStringAccess::getString() const { return document().path(); }

DbIStreamAccess::DbIStreamAccess(ApiDocumentRef document) : DbDocumentAccess(std::move(document)) {}

bool DbIStreamAccess::shouldHaveIStream() const {
  return document().streamDuty() == ApiDocument::StreamDuty::should;
}

bool DbIStreamAccess::mightHaveIStream() const {
  return document().streamDuty() == ApiDocument::StreamDuty::might;
}

CComPtr<IStream> DbIStreamAccess::getIStream() const { return document().stream(); }

std::unique_ptr<DbDocumentAccess> DbDocument::docAccess(const ApiDocumentRef& document,
                                                        int fileType) {
  if (document.isNull()) return nullptr;
  if (fileType == PATH) return std::make_unique<DbStringAccess>(document);
  if (fileType == STREAM && document->streamDuty() != ApiDocument::StreamDuty::none) {
    return std::make_unique<DbIStreamAccess>(document);
  }
  return nullptr;
}
