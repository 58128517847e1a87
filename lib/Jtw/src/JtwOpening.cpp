#include "JtwOpening.h"

#include <optional>
#include <utility>

#include "ApiSysFilePath.h"
#include "JtLastError.h"
#include "JtwFileNaming.h"
#include "JtwManager.h"

namespace jtw {

OpenError lastOpenError(const ApiDocumentRef& document) {
  // What is asked below sets an error of its own.
  std::string text = jt::lastError();
  std::string code = jt::lastErrorCode();
  std::optional<JtFormatError> known = jt::lastFormatError();
  const std::string path = pathOf(document);
  if (code == "out_of_memory") return {std::move(code), std::move(text), {.file = path}};
  auto kind = JtwRoot::JT_INITIALIZE_FAILED;
  if (!JtwRoot::hasJtData(document, kind)) {
    // A document that is a JT file itself has no place to look in.
    const bool isThere = kind != JtwRoot::JT_PATH_NOT_FOUND && ApiSysFilePath(path).exists();
    return {"not_found",
            isThere ? "there is no JT file in it" : "there is no such document",
            {.file = path}};
  }
  if (!known) return {"not_a_component", std::move(text), {.file = path}};
  const JtFormatError failure = *std::move(known);
  OpenError error{failure.code(), failure.message(), failure.where()};
  if (error.where.file.empty()) error.where.file = path;
  return error;
}

JtwRoot* openComponent(const ApiDocumentRef& document, OpenError& error,
                       JtwRoot::JT_LOADING_REPRESENTATION representation) {
  auto kind = JtwRoot::JT_INITIALIZE_FAILED;
  JtwRoot* root = JtwManager::the().computeExistingDocRoot(document, representation, kind);
  if (!root) error = lastOpenError(document);
  return root;
}

}  // namespace jtw
