#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>

#include "ApiGraJtVersionData.h"
#include "HostExport.h"
#include "IStream.h"
#include "RWClassic.h"

class ApiDocumentRef;

/// A document of the host: where its data lies and what the host knows of it. Held and compared
/// through ApiDocumentRef. Not locked: the host uses its documents on one thread.
class HOST_API ApiDocument {
 public:
  /// How a component's document is built up.
  enum Structure : std::int32_t {
    STRUCTURE_HOST_DATA = 0,  ///< the component carries host data of its own
    STRUCTURE_PLAIN = 1,      ///< it carries none
  };

  /// Yes-or-no facts about a document. Every 32-bit value is a property; value 0 has a name.
  enum DocProperty : std::int32_t {
    PMI_MODE = 0,  ///< the document shows and keeps PMI
  };

  /// Whether the document keeps its JT data in a stream rather than in a file.
  enum class StreamDuty : std::int32_t {
    none,    ///< it has no stream
    might,   ///< it may have one; if not, the data is in a file
    should,  ///< it must have one; without it the document cannot be opened
  };

  /// Gives the document's stream when it is needed, or null when there is none.
  using StreamSource = std::function<CComPtr<IStream>()>;

  /// The kind of a document whose folder keeps several JT files; the newest counts.
  static constexpr int KIND_MANY_JT_FILES = 12;

  /// A document of kind 0 without properties or stream. Its identity is the place of `path`.
  /// Nothing on disk is touched; separators at the end of `path` are dropped.
  explicit ApiDocument(RWClassicCString path);

  /// The path as text, separators as given.
  const RWClassicCString& path() const { return path_; }

  /// What makes the document this one and no other; equality and hash of a reference follow it.
  const RWClassicCString& identity() const { return identity_; }
  /// The hash of the identity.
  std::size_t hash() const { return hash_; }
  /// Gives the document another identity. Dictionaries keyed by references to it must be rebuilt.
  void setIdentity(RWClassicCString identity);
  /// Gives the document another path, and with it the identity of that place. Moves nothing on
  /// disk.
  void rename(RWClassicCString path);

  /// The host's number for the kind of document; 0 at first.
  int kind() const { return kind_; }
  void setKind(int kind) { kind_ = kind; }
  /// The kind of a document; 0 for the null reference.
  static int kind(const ApiDocumentRef& document);

  /// Whether the document has a property; none at first.
  bool doesHaveProperty(const DocProperty& property) const {
    return properties_.contains(property);
  }
  /// False for the null reference.
  static bool doesHaveProperty(const ApiDocumentRef& document, const DocProperty& property);
  void setProperty(DocProperty property, bool on);

  /// Whether the document's data lies in its stream.
  StreamDuty streamDuty() const { return streamDuty_; }
  /// The document's stream, asked from its source; null when there is none.
  CComPtr<IStream> stream() const { return streamSource_ ? streamSource_() : nullptr; }
  void setStream(StreamDuty duty, StreamSource source);

  /// Release labels that came with the document, in the order of the JT versions; at most four.
  const RWClassicTValOrderedVector<ApiGraJtReleaseLabels>& releaseLabels() const { return labels_; }
  void setReleaseLabels(RWClassicTValOrderedVector<ApiGraJtReleaseLabels> labels);

 private:
  RWClassicCString path_;
  RWClassicCString identity_;
  std::size_t hash_ = 0;
  int kind_ = 0;
  std::set<DocProperty> properties_;
  StreamDuty streamDuty_ = StreamDuty::none;
  StreamSource streamSource_;
  RWClassicTValOrderedVector<ApiGraJtReleaseLabels> labels_;
};
