#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

#include "ApiDocument.h"

/// A cheap, shared handle to a document; a default one refers to none. Two handles are equal when
/// their documents have the same identity, also when the document was opened twice. When a document
/// changes its identity, the hash of every handle to it changes with it.
class ApiDocumentRef {
 public:
  ApiDocumentRef() = default;
  /// A handle to a document; null: to none.
  explicit ApiDocumentRef(std::shared_ptr<ApiDocument> document) : document_(std::move(document)) {}

  /// Whether the handle refers to a document.
  bool isNull() const { return document_ == nullptr; }
  explicit operator bool() const { return !isNull(); }

  /// @pre not null
  ApiDocument* operator->() const { return document_.get(); }
  ApiDocument& operator*() const { return *document_; }
  ApiDocument* get() const { return document_.get(); }

  /// The hash of the identity the document has now; 0 for the null reference.
  std::size_t hash() const { return isNull() ? 0 : document_->hash(); }

  friend bool operator==(const ApiDocumentRef& a, const ApiDocumentRef& b) {
    return (a <=> b) == std::strong_ordering::equal;
  }
  /// By identity; the null reference is least.
  friend std::strong_ordering operator<=>(const ApiDocumentRef& a, const ApiDocumentRef& b) {
    if (a.document_ == b.document_) return std::strong_ordering::equal;
    if (a.isNull() || b.isNull()) return b.isNull() <=> a.isNull();
    return a->identity() <=> b->identity();
  }

 private:
  std::shared_ptr<ApiDocument> document_;
};

/// Not noexcept on purpose: it makes the standard library's hash tables keep each entry's hash
/// instead of asking again. A table whose documents changed identity then stays whole: it can be
/// walked, cleared and rebuilt, only look-ups miss.
template <>
struct std::hash<ApiDocumentRef> {
  std::size_t operator()(const ApiDocumentRef& document) const { return document.hash(); }
};
