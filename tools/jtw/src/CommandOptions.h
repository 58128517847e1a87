#pragma once

// The options of the commands, for their table.

#include "Arguments.h"

namespace tool {

inline constexpr Option kMaxSegment{"max-segment", 0, "BYTES",
                                    "the most that one segment may unpack to (1G)"};
inline constexpr Option kMaxDocument{
    "max-document", 0, "BYTES",
    "the most memory that the content of a file may take (128M and 256 "
    "bytes for each of its own, at most 4G)"};
inline constexpr Option kMaxPlaces{
    "max-places", 0, "N", "the most objects that are shown, each where it occurs (1000000)"};
inline constexpr Option kFollowLinks{"follow-links", 0, nullptr,
                                     "open part files that a link leads out of the folder to"};
inline constexpr Option kTopOnly{"top-only", 0, nullptr,
                                 "leave the part files where they are; OUT refers to them by name"};
inline constexpr Option kFilesFrom{
    "files-from", 0, "LIST", "also the files in this list, a name a line; '-' is standard input"};
inline constexpr Option kNull{"null", '0', nullptr, "a zero byte ends each name in the list"};
inline constexpr Option kShard{
    "shard", 0, "I/N",
    "only the I-th of N parts of the files; the part of a file depends on its "
    "path alone"};
inline constexpr Option kReport{
    "report", 0, "FILE",
    "write the results into FILE, a line of JSON for each file as soon as it "
    "is done; see report"};
inline constexpr Option kResume{
    "resume", 0, nullptr,
    "go on with the FILE of --report: only files that are missing in it, or "
    "changed since"};
inline constexpr Option kRetryFailed{"retry-failed", 0, nullptr,
                                     "with --resume: files that failed too"};
inline constexpr Option kOutputFolder{
    "output-dir", 'o', "DIR",
    "convert several files into this folder; what a folder holds keeps its place below"};
inline constexpr Option kDryRun{"dry-run", 0, nullptr, "report what would be done, write nothing"};

inline constexpr Option kInfoOptions[] = {{"segments", 0, nullptr, "list the segments"},
                                          kFilesFrom,
                                          kNull,
                                          kShard,
                                          kReport,
                                          kResume,
                                          kRetryFailed,
                                          kMaxSegment,
                                          kMaxDocument,
                                          kFollowLinks};
inline constexpr Option kGraphOptions[] = {
    {"metadata", 0, nullptr, "load the metadata segments too"},
    {"parts", 0, nullptr, "list the nodes of the part files too"},
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kMetadataOptions[] = {
    {"parts", 0, nullptr, "the nodes of the part files too"},
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kExplainOptions[] = {
    {"segment", 0, "N|ID",
     "only this segment: its row in the table of contents, from 0, or its id"},
    kMaxSegment,
    kMaxDocument};
inline constexpr Option kLimitOptions[] = {kMaxSegment, kMaxDocument, kFollowLinks};
inline constexpr Option kSarif{"sarif", 0, "FILE",
                               "also write the findings as SARIF 2.1.0; '-' is standard output"};
inline constexpr Option kJunit{"junit", 0, "FILE",
                               "also write the results as JUnit XML; '-' is standard output"};
inline constexpr Option kVerifyOptions[] = {
    kFilesFrom,
    kNull,
    kShard,
    kReport,
    kResume,
    kRetryFailed,
    {"properties", 0, nullptr,
     "also compare what parts measure with what --check stored; the "
     "default tolerance is 0.001"},
    {"tolerance", 't', "T", "with --properties: in shares of the size of a part"},
    {"strict", 0, nullptr, "warnings count as errors"},
    {"ignore", 0, "CODE,...", "leave out findings with these codes; may be given several times"},
    kSarif,
    kJunit,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kReportOptions[] = {
    {"all", 0, nullptr, "all files with their results, not the failed ones alone"}, kSarif, kJunit};
inline constexpr Option kUpdateOptions[] = {kFilesFrom,   kNull,        kShard,  kReport,
                                            kResume,      kRetryFailed, kDryRun, kMaxSegment,
                                            kMaxDocument, kFollowLinks};
inline constexpr Option kCheck{
    "check", 0, nullptr, "store what the geometry of each part measures, for verify --properties"};
inline constexpr Option kCopyOptions[] = {
    kOutputFolder, kFilesFrom,
    kNull,         kShard,
    kReport,       kResume,
    kRetryFailed,  {"version", 0, "V", "8.1, 8.2, 9.5, 10.0 or 10.2; without it that of IN"},
    kCheck,        kTopOnly,
    kDryRun,       kMaxSegment,
    kMaxDocument,  kFollowLinks};
inline constexpr Option kSize{"size", 0, "WxH", "width and height in pixels (1024x768)"};
inline constexpr Option kView{
    "view", 0, "VIEW",
    "iso (default), front, back, top, bottom, left, right, or x,y,z: the direction "
    "to look along"};
inline constexpr Option kEye{"from", 0, "X,Y,Z", "where the eye is, in millimetres"};
inline constexpr Option kTarget{"to", 0, "X,Y,Z", "the place that it looks at (the middle)"};
inline constexpr Option kUpwards{"up", 0, "X,Y,Z",
                                 "the direction that is up in the picture (0,0,1)"};
inline constexpr Option kPerspective{
    "perspective", 0, "DEGREES",
    "perspective: the angle that the height covers; without it parallel lines stay so"};
inline constexpr Option kBackground{"background", 0, "COLOR",
                                    "a color, as for set, or none (white)"};
inline constexpr Option kOnlySelected{"select", 0, "EXPR",
                                      "only the objects that the expression holds for, see find"};
inline constexpr Option kDiffOptions[] = {
    {"tolerance", 't', "T", "how far apart lengths may be, in millimetres (0)"},
    {"segments", 0, nullptr, "also compare the segments byte for byte"},
    kOnlySelected,
    {"limit", 0, "N", "the most differences that are listed (1000)"},
    {"ignore", 0, "WHAT,...",
     "leave out differences of these kinds: node, parent, position, name, field, attribute,\n"
     "property, metadata, geometry, segment, type; may be given several times"},
    {"summary", 0, nullptr, "how many differences of each kind, not each of them"},
    {"picture", 0, "OUT", "a picture of both: added green, removed red, moved blue, else orange"},
    kSize,
    kView,
    kEye,
    kTarget,
    kUpwards,
    kPerspective,
    kBackground,
    {"patch", 0, nullptr, "write the changes from A to B, for apply"},
    {"output", 'o', "FILE", "with --patch: where to; without it standard output"},
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kNewOptions[] = {
    {"unit", 0, "UNIT", "its unit of length, named as for set (Millimeters)"},
    {"force", 0, nullptr, "replace a component that is there already"},
    kDryRun};
inline constexpr Option kSelect{
    "select", 0, "EXPR",
    "in the place of KEY: all objects that the expression holds for, see find"};
inline constexpr Option kTreeOptions[] = {
    {"depth", 0, "N", "only so many levels below the first"},
    {"kind", 0, "KIND", "only objects of that kind, and what they are listed under"},
    {"select", 0, "EXPR",
     "only objects that the expression holds for, see find, and what they "
     "are listed under"},
    {"under", 0, "KEY", "only that object and what is below it"},
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kInspectOptions[] = {
    {"sort", 0, "COLUMN[,desc]", "in the order of that column; desc: the greatest first"},
    {"select", 0, "EXPR", "only the parts that the expression holds for, see find"},
    {"csv", 0, nullptr, "as comma-separated values"},
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kGetOptions[] = {kSelect, kMaxSegment, kMaxDocument, kFollowLinks};
inline constexpr Option kChangeOptions[] = {kSelect, kDryRun, kMaxSegment, kMaxDocument,
                                            kFollowLinks};
inline constexpr Option kSetOptions[] = {kDryRun, kMaxSegment, kMaxDocument, kFollowLinks};
inline constexpr Option kApplyOptions[] = {
    {"force-matching", 0, nullptr, "leave out the changes that do not fit, and make the others"},
    kDryRun,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kMergeOptions[] = {
    {"ours", 0, nullptr, "in conflicts take the changes of OURS"},
    {"theirs", 0, nullptr, "in conflicts take the changes of THEIRS"},
    kDryRun,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kGitSetupOptions[] = {
    {"global", 0, nullptr, "for all repositories of the user"}};
inline constexpr Option kKey{"key", 0, "K",
                             "the key of the new object; 'auto', the next free one (auto)"};
inline constexpr Option kAddOptions[] = {
    kKey,
    {"parent", 0, "P", "the object that it goes under (root)"},
    {"name", 0, "N", "the same as name=N"},
    {"loc", 0, "LOCATION", "the same as loc=LOCATION"},
    {"type", 0, "T", "of an annotation: its type, such as Note"},
    {"text", 0, "TEXT", "of an annotation: a line of its text"},
    {"size", 0, "N", "the same as size=N"},
    {"layer", 0, "N", "the same as layer=N"},
    {"plane", 0, "X,Y", "the same as plane=x,y,z,x,y,z"},
    {"leader", 0, "x,y,z", "of an annotation: moves it by so much"},
    kDryRun,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kPmiOptions[] = {
    {"all", 0, nullptr, "also list annotations that another program made"},
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kMvOptions[] = {
    kSelect,
    {"parent", 0, "P", "the object that it moves under"},
    {"keep-place", 0, nullptr, "it stays where it is in the component"},
    kDryRun,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kCloneOptions[] = {
    kKey,
    {"without-geometry", 0, nullptr, "what lies below the entity's node is not copied"},
    kDryRun,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kFramesOptions[] = {
    {"from", 0, "A", "with --to: where object B lies, seen from object A"},
    {"to", 0, "B", "the other object"},
    {"unit", 0, "UNIT", "with --from and --to: the unit of length, named as for set (Millimeters)"},
    {"set", 0, "FILE",
     "put the frames in FILE, or on standard input, in the place of those of KEY"},
    {"binary", 0, nullptr, "with --set: store the list in a segment of its own, loaded on demand"},
    kDryRun,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kPartitionOptions[] = {
    {"version", 0, "V", "the JT version to write; without it that of DOC"},
    kTopOnly,
    kDryRun,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};

inline constexpr Option kTargetVersion{
    "version", 0, "V", "8.2, 9.5, 10.0 or 10.2; without it that of DOC, for a plan 10.0"};
inline constexpr Option kMonolithic{"monolithic", 0, nullptr,
                                    "everything in one file; the default"};
inline constexpr Option kPerPart{"per-part", 0, nullptr,
                                 "a file for each part, in a folder beside OUT and named after it"};
inline constexpr Option kExact{"exact", 0, nullptr, "precise geometry too"};
inline constexpr Option kExcludePMI{"exclude-pmi", 0, "TYPE,...",
                                    "leave out annotations of these types and groups"};
inline constexpr Option kRootLayer{"layer", 0, "N", "the layer of the root"};
inline constexpr Option kExportOptions[] = {
    kTargetVersion, kMonolithic, kPerPart, kExact,      kExcludePMI,  kRootLayer,
    kOnlySelected,  kCheck,      kDryRun,  kMaxSegment, kMaxDocument, kFollowLinks};
inline constexpr Option kAssembleOptions[] = {kTargetVersion, kMonolithic,  kPerPart,    kExact,
                                              kExcludePMI,    kRootLayer,   kCheck,      kDryRun,
                                              kMaxSegment,    kMaxDocument, kFollowLinks};

inline constexpr Option kTextures{"textures", 0, "on|off",
                                  "whether images on surfaces are drawn (on)"};
inline constexpr Option kSnapshotOptions[] = {
    kOutputFolder,
    kFilesFrom,
    kNull,
    kShard,
    kReport,
    kResume,
    kRetryFailed,
    kSize,
    kView,
    kEye,
    kTarget,
    kUpwards,
    kPerspective,
    kBackground,
    {"key", 0, "KEY", "only that object of a component"},
    kOnlySelected,
    {"edges", 0, nullptr, "also draw sharp edges, and those where surfaces end"},
    {"edge-angle", 0, "DEGREES", "the angle from which on an edge is sharp (30)"},
    {"section", 0, "PLANE",
     "cut open: x=MM, y=MM or z=MM, or x,y,z,nx,ny,nz: a place, and the "
     "direction that is taken away"},
    {"explode", 0, "FACTOR", "parts moved away from the middle by so many times their distance"},
    {"sheet", 0, nullptr,
     "several views on one sheet: those that --view lists (front,right,top,iso)"},
    {"turntable", 0, "N", "N pictures around the model: OUT-001.png, ..."},
    {"line-width", 0, "PIXELS", "of lines, whatever the file says"},
    {"point-size", 0, "PIXELS", "of points, whatever the file says"},
    kTextures,
    {"pmi", 0, "on|off", "whether annotations are drawn (on)"},
    {"wires", 0, "on|off", "whether wires of parts without polyline sets are drawn (on)"},
    kMaxPlaces,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};

inline constexpr Option kUnit{
    "unit", 0, "U",
    "the unit of length of the mesh file: mm, cm, m, in, ft, ...; without it what "
    "the file says"};
inline constexpr Option kUp{
    "up", 0, "X|Y|Z",
    "the axis of the mesh file that points up; without it what the file says, else Z"};
inline constexpr Option kVersion{"version", 0, "V", "the JT version to write, such as 9.5"};
inline constexpr Option kLods{"lods", 0, "N",
                              "levels of detail in all, each half of the one before (1)"};
inline constexpr Option kLossless{"lossless", 0, nullptr,
                                  "store all numbers as they are; the default"};
inline constexpr Option kBits{
    "bits", 0, "P[,N[,T]]",
    "bits of a coordinate (1 to 24), of a normal (1 to 13; 0 as without it: "
    "lossless) and of a texture coordinate (16)"};
inline constexpr Option kProfile{
    "profile", 0, "compatible|compact",
    "geometry in a form that every reader takes alike, or in the smallest"};
inline constexpr Option kMaxMemory{
    "max-memory", 0, "BYTES",
    "the most memory that reading a mesh file may take (half of the machine's)"};
inline constexpr Option kMaxSeconds{
    "max-seconds", 0, "N", "how long reading a mesh file may take (60, and more for large files)"};
inline constexpr Option kViewOptions[] = {
    {"output", 'o', "OUT.html", "the page; without it beside FILE, with its name"},
    {"compare", 0, "OTHER", "color what is new since OTHER, or has gone, moved or changed"},
    {"lod", 0, "N", "the level of detail to take, 0 the finest (0)"},
    kTextures,
    kMaxPlaces,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kImportOptions[] = {
    {"from", 0, "FORMAT", "the format of standard input: glb, obj, stl, ..."},
    kUnit,
    kUp,
    kLods,
    kLossless,
    kBits,
    kProfile,
    kVersion,
    {"force", 0, nullptr, "replace a component that is there already"},
    kDryRun,
    kMaxMemory,
    kMaxSeconds};
inline constexpr Option kFrom{"from", 0, "FORMAT",
                              "the format of standard input: jt (default), glb, obj, stl, ..."};
inline constexpr Option kConvertOptions[] = {
    kOutputFolder,
    {"to", 0, "FORMAT",
     "the format of the files in DIR, or of standard output: jt, glb, obj, stl or ply"},
    kFrom,
    kFilesFrom,
    kNull,
    kShard,
    kReport,
    kResume,
    kRetryFailed,
    kVersion,
    {"lod", 0, "N",
     "the level of detail to take, 0 the finest; without it the finest, and in a JT "
     "file all of them"},
    kOnlySelected,
    kCheck,
    kUnit,
    kUp,
    kLods,
    kLossless,
    kBits,
    kProfile,
    kTopOnly,
    kDryRun,
    kMaxPlaces,
    {"max-triangles", 0, "N",
     "the most triangles of an OBJ, STL or PLY file, which has no instances (50000000)"},
    kMaxMemory,
    kMaxSeconds,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
inline constexpr Option kHelpOptions[] = {{"man", 0, nullptr, "as a manual page, in roff"}};

}  // namespace tool
