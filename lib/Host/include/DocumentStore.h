#pragma once

#include "ApiDocumentRef.h"
#include "HostExport.h"
#include "RWClassic.h"

namespace host {

/// What openDocument() gives: a document, or the reason why there is none.
struct OpenedDocument {
  ApiDocumentRef document;
  /// Empty when all went well; else one line that starts with the file at fault.
  RWClassicCString error;
};

/// Makes the document at a path: a component folder (gear.kpak), a .co or .cor document, a plain
/// .jt file. The path need not exist yet. When it is a folder that holds a file document.json, the
/// document's settings are read from there:
///
///     { "kind": 12, "properties": [0], "releaseLabels": [["label 2", "label 1"], "label 2"] }
///
/// All members are optional and no others are allowed. `kind` and `properties` are whole numbers of
/// 32 bits; `releaseLabels` has at most four entries, in the order of the JT versions, each a pair
/// of texts or the first text alone. The file may have 1 MiB.
/// @return no document when document.json is there but cannot be read or understood.
HOST_API OpenedDocument openDocument(const RWClassicCString& path);

/// Gives a document a stream that the caller made. Every opening gets the same stream.
/// @param duty `should` or `might`; with `should` and a null stream the document cannot be opened
/// @return `document`
HOST_API ApiDocumentRef withStream(const ApiDocumentRef& document, const CComPtr<IStream>& stream,
                                   ApiDocument::StreamDuty duty);

}  // namespace host
