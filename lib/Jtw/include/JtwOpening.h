#pragma once

#include <string>

#include "ApiDocumentRef.h"
#include "JtFormatError.h"
#include "JtwExport.h"
#include "JtwRoot.h"

namespace jtw {

/// Why a document could not be opened as a component.
struct OpenError {
  std::string code;        ///< stable and for programs: "not_found", "not_jt", "truncated", ...
  std::string message;     ///< one line, without the place
  jt::FilePosition where;  ///< the file, and the place in it as far as it is known
};

/// As JtwManager::computeExistingDocRoot, with the reason as an object. Beside the codes of
/// JtFormatError there are "not_found" for a document that is not there or has no JT file,
/// "not_a_component" for JT data that cannot be taken for one, and "out_of_memory".
/// @param error set when null is returned, else untouched
/// @return the document's root, owned by the registry; or null
JTW_API JtwRoot* openComponent(
    const ApiDocumentRef& document, OpenError& error,
    JtwRoot::JT_LOADING_REPRESENTATION representation = JtwRoot::JT_LOAD_WITH_UNIT_PROPERTY);

/// Why the last operation of this thread, the opening of that document, failed.
JTW_API OpenError lastOpenError(const ApiDocumentRef& document);

}  // namespace jtw
