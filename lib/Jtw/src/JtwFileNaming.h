#pragma once

#include "ApiDocumentRef.h"
#include "RWClassic.h"

namespace jtw {

/// The document's path; empty for the null document.
RWClassicCString pathOf(const ApiDocumentRef& document);

/// The folder part of a path, with a separator at its end; empty when there is none.
RWClassicCString folderOf(const RWClassicCString& path);

/// Where the JT data of a new or moved document goes. As
/// JtwManager::getDatastoreLocationAndName(), which takes every document for a folder; but a
/// document that is a JT file itself goes where it is.
void findDatastorePlace(const ApiDocumentRef& document, RWClassicCString& location,
                        RWClassicCString& name);

}  // namespace jtw
