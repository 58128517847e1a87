#pragma once

// Looking into JT files without a host: what a file holds, what each byte means, whether it is
// sound.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "JtExport.h"
#include "JtPartition.h"

namespace jt {

/// Name of an object's element as ISO 14306 has it ("Part Node", "Material Attribute", "String
/// Property Atom"); for one whose type is not known "Unknown Element {type id}".
JT_API std::string elementName(const JtSceneObject* object);
/// Name of a segment type ("Logical Scene Graph", "Shape LOD0"), "Unknown" for others.
JT_API const char* segmentName(std::int32_t type);
/// True for types of segments with exact geometry: XT, JT and STEP B-reps, wireframes, ULP, LWPA.
JT_API bool isExactGeometry(std::int32_t type) noexcept;

/// One row of the table of contents.
struct SegmentInfo {
  JtGuid id;
  std::int32_t type = 0;
  const char* name = "";
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
  const char* compression = "none";  ///< "none", "stored", "zlib", "xz"
};

/// What the container of an opened file says. No segment but the scene graph has been read for it.
struct FileSummary {
  std::uint64_t size = 0;
  FileVersion version;
  std::string versionText;  ///< as in the header, without padding
  bool bigEndian = false;
  std::size_t segmentCount = 0;
  /// Segments of one type.
  struct TypeCount {
    std::int32_t type = 0;
    const char* name = "";
    std::size_t count = 0;
    std::uint64_t bytes = 0;
  };
  std::vector<TypeCount> byType;  ///< ascending types
};

/// Summary of the file behind a partition. @pre partition.container() is not null
JT_API FileSummary summarizeFile(const JtPartition& partition);
/// The rows of the table of contents in file order. Looks at each segment's headers.
JT_API std::vector<SegmentInfo> listSegments(const JtPartition& partition);

/// Size of a scene graph, each object counted once.
struct GraphSummary {
  std::size_t nodes = 0;
  std::map<std::string, std::size_t> nodesByType;  ///< element name, count
  std::size_t attributes = 0;                      ///< that nodes list
  std::size_t unlistedAttributes = 0;  ///< that were read and no node listed, lights among them
  std::size_t propertyAtoms = 0;       ///< in the file; 0 for a partition made in memory
  std::size_t properties = 0;
  std::size_t depth = 0;  ///< nodes on the longest path from the root
};

JT_API GraphSummary summarizeGraph(const JtPartition& partition);

/// What kinds of data a file has, as its table of contents and its scene graph state.
struct ContentSummary {
  bool pmi = false;            ///< a node names product and manufacturing information
  bool exactGeometry = false;  ///< there are segments of it; see isExactGeometry()
  bool textures = false;       ///< a node has a texture
  bool otherFiles = false;     ///< it names part files, or files with the images of textures
};

JT_API ContentSummary summarizeContent(const JtPartition& partition);

/// The shapes of one file as their nodes describe them, each node counted once however many
/// instances show it. Nothing is decoded for it.
struct ShapeSummary {
  /// Shapes with what they hold.
  struct Counts {
    std::size_t shapes = 0;
    std::uint64_t triangles = 0;
    std::uint64_t vertices = 0;  ///< corners of strips, lines and point sets, as nodes count them
  };
  /// Shapes of one level of detail.
  struct Level : Counts {
    std::optional<int> level;  ///< 0 is the finest, 9 also what is coarser; nothing outside levels
    std::uint64_t bytes = 0;   ///< stored, of the segments of this level
  };
  Counts all;                                 ///< shapes of all levels
  std::uint64_t triangles = 0;                ///< of the finest level and outside levels
  std::uint64_t vertices = 0;                 ///< the same
  std::size_t uncounted = 0;                  ///< shapes whose nodes do not know their counts
  std::map<std::string, std::size_t> byType;  ///< element name, count
  std::vector<Level> levels;                  ///< ascending, those outside levels last
};

JT_API ShapeSummary summarizeShapes(const JtPartition& partition);

/// One field of a file.
struct ExplainedField {
  std::uint64_t offset = 0;  ///< in the file, or in the inflated bytes of `segment`
  std::uint64_t size = 0;
  std::string path;       ///< "header.tocOffset", "elements[3] Material Attribute.diffuse"
  const char* type = "";  ///< "I32", "F32", "GUID", "MbString", "bytes"
  std::string value;
  std::int32_t objectId = 0;  ///< of the element that the field is in; 0 for none
};

/// The segment whose fields follow.
struct ExplainedSegment {
  std::size_t index = 0;  ///< in the table of contents
  JtGuid id;
  std::int32_t type = 0;
  const char* compression = "none";
  bool inflatedOffsets = false;  ///< offsets of its fields count in the inflated bytes
  std::uint64_t size = 0;        ///< of the content
};

/// What of a file is explained.
struct ExplainOptions {
  /// Only this segment: an index in the table of contents, or an id. Nothing: the whole file.
  std::optional<std::size_t> segmentIndex;
  std::optional<JtGuid> segmentId;
  ReadLimits limits;
};

/// Receives the fields in file order.
class JT_API ExplainSink {
 public:
  virtual ~ExplainSink() = default;
  /// Takes a segment, before its fields.
  virtual void beginSegment(const ExplainedSegment& segment) = 0;
  /// Takes a field of the segment that was begun last.
  virtual void field(const ExplainedField& field) = 0;
};

/// Reports every field of a file, or of one segment. A segment that is damaged is reported as far
/// as it can be read, then its rest as bytes. Throws JtFormatError for a file without readable
/// container, and "no_segment" when the asked segment does not exist.
JT_API void explain(const JtStorageLocation& location, const ExplainOptions& options,
                    ExplainSink& sink);

/// Where an object of the scene graph belongs: the node and, for an atom, its key
/// there. Empty when nothing names the object.
struct ObjectPlace {
  std::int32_t nodeId = 0;
  std::string nodeName;
  std::string nodeType;
  std::string key;
};
JT_API std::optional<ObjectPlace> placeOf(const JtPartition& partition, std::int32_t objectId);

/// Reads and decodes everything in a file. Never throws for the file's content: what keeps it from
/// being opened is one error among the findings. Empty: the file is sound.
/// @param progress receives the share that is done, 0..1; may be empty
JT_API std::vector<Diagnostic> verify(const JtStorageLocation& location,
                                      const ReadLimits& limits = {},
                                      const std::function<void(double)>& progress = {});

}  // namespace jt
