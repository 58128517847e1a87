#pragma once

#include <string_view>

#include "ApiDocument.h"
#include "RWClassic.h"

namespace host {

/// Reads the text of a document.json into a document.
/// @return empty, or what is wrong; the document is then unchanged
RWClassicCString readDocumentSettings(std::string_view json, ApiDocument& document);

}  // namespace host
