#include "FindingCodes.h"

#include <algorithm>

namespace tool {
namespace {

constexpr const char* kTruncated = "the file is no whole JT file";
constexpr const char* kBadTocOffset = "the table of contents cannot be right";
constexpr const char* kNoSceneGraph = "the scene graph is missing or incomplete";
constexpr const char* kBadElementLength = "a segment cannot be read";
constexpr const char* kDamagedElement =
    "an element does not hold what its type says; it is carried as it is";
constexpr const char* kBadObjectId = "ids that are not positive, or used twice";
constexpr const char* kDanglingChild =
    "a link to something that does not exist, or that leads back";
constexpr const char* kBadPacket =
    "a shape cannot be decoded, or does not decode to what its hash says";
constexpr const char* kHeaderCheckBytes = "unusual, and read all the same";
constexpr const char* kUnknownElement = "carried as it is";
constexpr const char* kUnreadablePmi =
    "product information (PMI) that cannot be read, or not to its end; carried as it is";
constexpr const char* kPartMissing =
    "a part file is not there, is not looked for, or cannot be opened in its place (it contains "
    "the file that refers to it)";
constexpr const char* kNotFound =
    "of several files: there is no JT file of that name, or it cannot be read";

constexpr FindingCode kCodes[] = {
    {"truncated", true, kTruncated},
    {"empty", true, kTruncated},
    {"not_jt", true, kTruncated},
    {"unsupported_version", true, kTruncated},
    {"text_mode", true, kTruncated},
    {"bad_byte_order", true, kTruncated},
    {"bad_toc_offset", true, kBadTocOffset},
    {"bad_toc_count", true, kBadTocOffset},
    {"bad_toc_entry", true, kBadTocOffset},
    {"segments_overlap", true, kBadTocOffset},
    {"duplicate_segment", true, kBadTocOffset},
    {"no_scene_graph", true, kNoSceneGraph},
    {"no_nodes", true, kNoSceneGraph},
    {"no_root_partition", true, kNoSceneGraph},
    {"no_end_marker", true, kNoSceneGraph},
    {"bad_element_length", true, kBadElementLength},
    {"bad_count", true, kBadElementLength},
    {"bad_stream", true, kBadElementLength},
    {"too_large", true, "a segment is beyond a limit of this reader"},
    {"damaged_element", true, kDamagedElement},
    {"bad_value", true, kDamagedElement},
    {"bad_object_id", true, kBadObjectId},
    {"duplicate_object_id", true, kBadObjectId},
    {"dangling_child", true, kDanglingChild},
    {"dangling_attribute", true, kDanglingChild},
    {"dangling_owner", true, kDanglingChild},
    {"dangling_property", true, kDanglingChild},
    {"cycle", true, kDanglingChild},
    {"bad_packet", true, kBadPacket},
    {"bad_context", true, kBadPacket},
    {"bad_topology", true, kBadPacket},
    {"bad_mesh", true, kBadPacket},
    {"hash_mismatch", true, kBadPacket},
    {"no_geometry", false, "primitives in a form that is carried, and cannot be shown"},
    {"unusual_shape", false,
     "a shape has positions that are not finite, codes out of range, or attributes that are left "
     "out"},
    {"mesh_walk_variant", false,
     "the file's surfaces are walked in another of the eight known ways than expected; reported "
     "once a file"},
    {"segment_header_mismatch", true, "a segment's header and the table of contents differ"},
    {"header_check_bytes", false, kHeaderCheckBytes},
    {"header_reserved", false, kHeaderCheckBytes},
    {"no_compression_header", false, kHeaderCheckBytes},
    {"no_property_table", false, kHeaderCheckBytes},
    {"no_atoms", false, kHeaderCheckBytes},
    {"surplus_bytes", false, kHeaderCheckBytes},
    {"unknown_element", false, kUnknownElement},
    {"unusual_form", false, kUnknownElement},
    {"owner_listed_twice", false, kUnknownElement},
    {"unreachable_nodes", false, kUnknownElement},
    {"bad_frames", true, "a stored frame list that cannot be read; it is carried as it is"},
    {"unreadable_pmi", false, kUnreadablePmi},
    {"unknown_pmi_end", false, kUnreadablePmi},
    {"part_missing", true, kPartMissing},
    {"part_outside", true, kPartMissing},
    {"part_damaged", true, kPartMissing},
    {"dangling_segment", false, "a property names a segment that is not in the file"},
    {"validation_differs", true, "a part does not measure what its file states; see --properties"},
    {"bad_validation", false, "what a file states of a part cannot be read; see --properties"},
    {"no_validation", false, "nothing is stored that could be compared; see --properties"},
    {"changed_on_disk", true, "another program changed the file while it was read"},
    {"not_found", true, kNotFound},
    {"not_a_file", true, kNotFound},
    {"unreadable", true, kNotFound},
    {"bad_document", true, kNotFound},
    {"worker_failed", true, "of several files: the process that read it broke off"},
};

}  // namespace

std::span<const FindingCode> findingCodes() { return kCodes; }

const FindingCode* findFindingCode(std::string_view code) {
  const auto* found = std::ranges::find(
      kCodes, code, [](const FindingCode& row) { return std::string_view(row.code); });
  return found == std::end(kCodes) ? nullptr : found;
}

}  // namespace tool
