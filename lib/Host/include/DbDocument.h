#pragma once

#include <memory>

#include "ApiDocumentRef.h"
#include "HostExport.h"
#include "IStream.h"
#include "RWClassic.h"

/// Access to one of the files (in a wide sense) of a document; see DbDocument::docAccess(). Keeps
/// the document alive.
class HOST_API DbDocumentAccess {
 public:
  DbDocumentAccess(const DbDocumentAccess&) = delete;
  DbDocumentAccess& operator=(const DbDocumentAccess&) = delete;
  virtual ~DbDocumentAccess();

 protected:
  /// Access to a document.
  explicit DbDocumentAccess(ApiDocumentRef document);
  /// The document.
  const ApiDocument& document() const { return *document_; }

 private:
  ApiDocumentRef document_;
};

/// Access that answers a text.
class HOST_API DbStringAccess final : public DbDocumentAccess {
 public:
  /// Access to the texts of a document.
  explicit DbStringAccess(ApiDocumentRef document);
  /// The document's path.
  RWClassicCString getString() const;
};

/// Access that answers a stream.
class HOST_API DbIStreamAccess final : public DbDocumentAccess {
 public:
  /// Access to the stream of a document.
  explicit DbIStreamAccess(ApiDocumentRef document);
  /// The document must have a stream.
  bool shouldHaveIStream() const;
  /// The document may have a stream.
  bool mightHaveIStream() const;
  /// The stream, or null when there is none.
  CComPtr<IStream> getIStream() const;
};

/// The host's store of documents.
class HOST_API DbDocument {
 public:
  /// The file types that documents have.
  enum FileType : int {
    PATH = 6,     ///< the document's path: DbStringAccess
    STREAM = 27,  ///< JT data kept in the document: DbIStreamAccess
  };

  /// Access to a document's file of the given type; cast it to the class named above.
  /// @return null for the null document, an unknown type, and type 27 of a document that keeps no
  /// stream.
  static std::unique_ptr<DbDocumentAccess> docAccess(const ApiDocumentRef& document, int fileType);
};
