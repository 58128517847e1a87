#include <algorithm>
#include <vector>

#include "Command.h"
#include "JtwNearestName.h"

namespace tool {
namespace {

constexpr Option kMaxSegment{"max-segment", 0, "BYTES",
                             "the most that one segment may unpack to (1G)"};
constexpr Option kMaxDocument{"max-document", 0, "BYTES",
                              "the most memory that the content of a file may take (128M and 256 "
                              "bytes for each of its own, at most 4G)"};
constexpr Option kMaxPlaces{"max-places", 0, "N",
                            "the most objects that are shown, each where it occurs (1000000)"};
constexpr Option kFollowLinks{"follow-links", 0, nullptr,
                              "open part files that a link leads out of the folder to"};
constexpr Option kTopOnly{"top-only", 0, nullptr,
                          "leave the part files where they are; OUT refers to them by name"};
constexpr Option kFilesFrom{"files-from", 0, "LIST",
                            "also the files in this list, a name a line; '-' is standard input"};
constexpr Option kNull{"null", '0', nullptr, "a zero byte ends each name in the list"};
constexpr Option kOutputFolder{
    "output-dir", 'o', "DIR",
    "convert several files into this folder; what a folder holds keeps its place below"};
constexpr Option kDryRun{"dry-run", 0, nullptr, "report what would be done, write nothing"};

constexpr Option kInfoOptions[] = {{"segments", 0, nullptr, "list the segments"},
                                   kFilesFrom,
                                   kNull,
                                   kMaxSegment,
                                   kMaxDocument,
                                   kFollowLinks};
constexpr Option kGraphOptions[] = {{"metadata", 0, nullptr, "load the metadata segments too"},
                                    {"parts", 0, nullptr, "list the nodes of the part files too"},
                                    kMaxSegment,
                                    kMaxDocument,
                                    kFollowLinks};
constexpr Option kMetadataOptions[] = {{"parts", 0, nullptr, "the nodes of the part files too"},
                                       kMaxSegment,
                                       kMaxDocument,
                                       kFollowLinks};
constexpr Option kExplainOptions[] = {
    {"segment", 0, "N|ID",
     "only this segment: its row in the table of contents, from 0, or its id"},
    kMaxSegment,
    kMaxDocument};
constexpr Option kLimitOptions[] = {kMaxSegment, kMaxDocument, kFollowLinks};
constexpr Option kVerifyOptions[] = {
    kFilesFrom,
    kNull,
    {"properties", 0, nullptr,
     "also compare what parts measure with what --check stored; the "
     "default tolerance is 0.001"},
    {"tolerance", 't', "T", "with --properties: in shares of the size of a part"},
    {"strict", 0, nullptr, "warnings count as errors"},
    {"ignore", 0, "CODE,...", "leave out findings with these codes; may be given several times"},
    {"sarif", 0, "FILE", "also write the findings as SARIF 2.1.0; '-' is standard output"},
    {"junit", 0, "FILE", "also write the results as JUnit XML; '-' is standard output"},
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
constexpr Option kUpdateOptions[] = {kFilesFrom,  kNull,        kDryRun,
                                     kMaxSegment, kMaxDocument, kFollowLinks};
constexpr Option kCheck{"check", 0, nullptr,
                        "store what the geometry of each part measures, for verify --properties"};
constexpr Option kCopyOptions[] = {
    kOutputFolder, kFilesFrom,
    kNull,         {"version", 0, "V", "8.1, 8.2, 9.5, 10.0 or 10.2; without it that of IN"},
    kCheck,        kTopOnly,
    kDryRun,       kMaxSegment,
    kMaxDocument,  kFollowLinks};
constexpr Option kSize{"size", 0, "WxH", "width and height in pixels (1024x768)"};
constexpr Option kView{
    "view", 0, "VIEW",
    "iso (default), front, back, top, bottom, left, right, or x,y,z: the direction "
    "to look along"};
constexpr Option kEye{"from", 0, "X,Y,Z", "where the eye is, in millimetres"};
constexpr Option kTarget{"to", 0, "X,Y,Z", "the place that it looks at (the middle)"};
constexpr Option kUpwards{"up", 0, "X,Y,Z", "the direction that is up in the picture (0,0,1)"};
constexpr Option kPerspective{
    "perspective", 0, "DEGREES",
    "perspective: the angle that the height covers; without it parallel lines stay so"};
constexpr Option kBackground{"background", 0, "COLOR", "a color, as for set, or none (white)"};
constexpr Option kOnlySelected{"select", 0, "EXPR",
                               "only the objects that the expression holds for, see find"};
constexpr Option kDiffOptions[] = {
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
constexpr Option kNewOptions[] = {
    {"unit", 0, "UNIT", "its unit of length, named as for set (Millimeters)"},
    {"force", 0, nullptr, "replace a component that is there already"},
    kDryRun};
constexpr Option kSelect{
    "select", 0, "EXPR",
    "in the place of KEY: all objects that the expression holds for, see find"};
constexpr Option kTreeOptions[] = {
    {"depth", 0, "N", "only so many levels below the first"},
    {"kind", 0, "KIND", "only objects of that kind, and what they are listed under"},
    {"select", 0, "EXPR",
     "only objects that the expression holds for, see find, and what they "
     "are listed under"},
    {"under", 0, "KEY", "only that object and what is below it"},
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
constexpr Option kInspectOptions[] = {
    {"sort", 0, "COLUMN[,desc]", "in the order of that column; desc: the greatest first"},
    {"select", 0, "EXPR", "only the parts that the expression holds for, see find"},
    {"csv", 0, nullptr, "as comma-separated values"},
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
constexpr Option kGetOptions[] = {kSelect, kMaxSegment, kMaxDocument, kFollowLinks};
constexpr Option kChangeOptions[] = {kSelect, kDryRun, kMaxSegment, kMaxDocument, kFollowLinks};
constexpr Option kSetOptions[] = {kDryRun, kMaxSegment, kMaxDocument, kFollowLinks};
constexpr Option kApplyOptions[] = {
    {"force-matching", 0, nullptr, "leave out the changes that do not fit, and make the others"},
    kDryRun,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
constexpr Option kMergeOptions[] = {
    {"ours", 0, nullptr, "in conflicts take the changes of OURS"},
    {"theirs", 0, nullptr, "in conflicts take the changes of THEIRS"},
    kDryRun,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
constexpr Option kGitSetupOptions[] = {{"global", 0, nullptr, "for all repositories of the user"}};
constexpr Option kKey{"key", 0, "K", "the key of the new object; 'auto', the next free one (auto)"};
constexpr Option kAddOptions[] = {kKey,
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
constexpr Option kPmiOptions[] = {
    {"all", 0, nullptr, "also list annotations that another program made"},
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
constexpr Option kMvOptions[] = {
    kSelect,
    {"parent", 0, "P", "the object that it moves under"},
    {"keep-place", 0, nullptr, "it stays where it is in the component"},
    kDryRun,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
constexpr Option kCloneOptions[] = {
    kKey,
    {"without-geometry", 0, nullptr, "what lies below the entity's node is not copied"},
    kDryRun,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
constexpr Option kFramesOptions[] = {
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
constexpr Option kPartitionOptions[] = {
    {"version", 0, "V", "the JT version to write; without it that of DOC"},
    kTopOnly,
    kDryRun,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};

constexpr Option kTargetVersion{"version", 0, "V",
                                "8.2, 9.5, 10.0 or 10.2; without it that of DOC, for a plan 10.0"};
constexpr Option kMonolithic{"monolithic", 0, nullptr, "everything in one file; the default"};
constexpr Option kPerPart{"per-part", 0, nullptr,
                          "a file for each part, in a folder beside OUT and named after it"};
constexpr Option kExact{"exact", 0, nullptr, "precise geometry too"};
constexpr Option kExcludePMI{"exclude-pmi", 0, "TYPE,...",
                             "leave out annotations of these types and groups"};
constexpr Option kRootLayer{"layer", 0, "N", "the layer of the root"};
constexpr Option kExportOptions[] = {kTargetVersion, kMonolithic, kPerPart,      kExact,
                                     kExcludePMI,    kRootLayer,  kOnlySelected, kCheck,
                                     kDryRun,        kMaxSegment, kMaxDocument,  kFollowLinks};
constexpr Option kAssembleOptions[] = {kTargetVersion, kMonolithic,  kPerPart,    kExact,
                                       kExcludePMI,    kRootLayer,   kCheck,      kDryRun,
                                       kMaxSegment,    kMaxDocument, kFollowLinks};

constexpr Option kTextures{"textures", 0, "on|off", "whether images on surfaces are drawn (on)"};
constexpr Option kSnapshotOptions[] = {
    kOutputFolder,
    kFilesFrom,
    kNull,
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

constexpr Option kUnit{
    "unit", 0, "U",
    "the unit of length of the mesh file: mm, cm, m, in, ft, ...; without it what "
    "the file says"};
constexpr Option kUp{
    "up", 0, "X|Y|Z",
    "the axis of the mesh file that points up; without it what the file says, else Z"};
constexpr Option kVersion{"version", 0, "V", "the JT version to write, such as 9.5"};
constexpr Option kLods{"lods", 0, "N", "levels of detail in all, each half of the one before (1)"};
constexpr Option kLossless{"lossless", 0, nullptr, "store all numbers as they are; the default"};
constexpr Option kBits{"bits", 0, "P[,N[,T]]",
                       "bits of a coordinate (1 to 24), of a normal (1 to 13; 0 as without it: "
                       "lossless) and of a texture coordinate (16)"};
constexpr Option kProfile{"profile", 0, "compatible|compact",
                          "geometry in a form that every reader takes alike, or in the smallest"};
constexpr Option kMaxMemory{
    "max-memory", 0, "BYTES",
    "the most memory that reading a mesh file may take (half of the machine's)"};
constexpr Option kMaxSeconds{
    "max-seconds", 0, "N", "how long reading a mesh file may take (60, and more for large files)"};
constexpr Option kViewOptions[] = {
    {"output", 'o', "OUT.html", "the page; without it beside FILE, with its name"},
    {"compare", 0, "OTHER", "color what is new since OTHER, or has gone, moved or changed"},
    {"lod", 0, "N", "the level of detail to take, 0 the finest (0)"},
    kTextures,
    kMaxPlaces,
    kMaxSegment,
    kMaxDocument,
    kFollowLinks};
constexpr Option kImportOptions[] = {
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
constexpr Option kFrom{"from", 0, "FORMAT",
                       "the format of standard input: jt (default), glb, obj, stl, ..."};
constexpr Option kConvertOptions[] = {
    kOutputFolder,
    {"to", 0, "FORMAT",
     "the format of the files in DIR, or of standard output: jt, glb, obj, stl or ply"},
    kFrom,
    kFilesFrom,
    kNull,
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
constexpr Option kHelpOptions[] = {{"man", 0, nullptr, "as a manual page, in roff"}};

using Group = CommandGroup;

constexpr Command kCommands[] = {
    {Group::look, "info", "FILE... [--segments]", "what a JT file is and holds",
     "jtw info gear.jt --segments",
     "Reads nothing but the header, the table of contents and the scene graph, of the part files "
     "too. A folder means the JT files in it and below.",
     0, kManyArguments, kInfoOptions, runInfo},
    {Group::look, "graph", "FILE [--metadata] [--parts]",
     "the scene graph of a JT file as it is stored", "jtw graph gear.jt",
     "Part files are named, and with --parts their nodes are listed as well.", 1, 1, kGraphOptions,
     runGraph},
    {Group::look, "metadata", "FILE [KEY] [--parts]",
     "the properties of the nodes of a JT file, and their metadata", "jtw metadata gear.jt Axle",
     "Lists the nodes that have any. With KEY only one: '#ID', the id of a node of FILE, or an "
     "object\n"
     "of a component as for get.",
     1, 2, kMetadataOptions, runMetadata},
    {Group::look, "explain", "FILE[@OFFSET] [--segment N|ID]", "what each byte of a JT file means",
     "jtw explain gear.jt@0x6d",
     "With @OFFSET only the field at that byte, and what it belongs to. In a compressed segment\n"
     "offsets count in the inflated bytes; name it with --segment to ask for one of them.",
     1, 1, kExplainOptions, runExplain},
    {Group::check, "verify", "FILE...", "reads and decodes everything and reports what is wrong",
     "jtw verify delivery/ --strict --ignore unusual_form --junit report.xml",
     "Exit code 1 when there is an error, 0 for warnings alone unless --strict is given. A folder\n"
     "means the JT files in it and below.",
     0, kManyArguments, kVerifyOptions, runVerify},
    {Group::convert, "copy", "IN OUT | IN... -o DIR [--version V]",
     "rewrites a JT file and reports what changed", "jtw copy gear.jt gear95.jt --version 9.5",
     "In the same version every segment but the scene graph is copied byte for byte. '-' as IN or\n"
     "OUT is standard input or output; the report then goes to standard error.\n"
     "The part files of an assembly come along, to the same places beside OUT.\n"
     "With --output-dir any number of files, and the components in folders.",
     0, kManyArguments, kCopyOptions, runCopy},
    {Group::compare, "diff", "A B [--tolerance T] [--segments] [--picture OUT.png]",
     "reports the differences between two JT files or mesh files",
     "jtw diff gear.jt gear-new.jt --tolerance 0.01",
     "Compares what the files mean: one model in two versions of the format is the same. Meshes\n"
     "are compared as sets of triangles. --tolerance is for nodes, attributes and meshes; numbers\n"
     "without a unit may differ as much, by 0.02 at most. Properties and metadata are compared\n"
     "exactly. --picture draws what was added green, removed red, moved blue, changed otherwise\n"
     "orange, the rest as gray glass. Exit code 1 when there is a difference.",
     2, 2, kDiffOptions, runDiff},
    {Group::change, "new", "DOC [--unit UNIT] [--force]", "makes an empty component",
     "jtw new gear.kpak",
     "A name that ends in .kpak, .co or .cor becomes a folder with a JT file in it. The component\n"
     "gets the key 1 and the name of the document.",
     1, 1, kNewOptions, runNew},
    {Group::look, "tree", "DOC [--depth N] [--kind KIND] [--under KEY] [--select EXPR]",
     "a component as the host sees it", "jtw tree gear.kpak --depth 2",
     "Lists every place of every object; '= ADDRESS' marks those that are listed again.", 1, 1,
     kTreeOptions, runTree},
    {Group::look, "find", "DOC EXPR", "the objects of a component that an expression holds for",
     "jtw find cell.kpak \"kind=entity and name='Bolt*' and not below=/Cell/Robot\"",
     "EXPR is FIELD=VALUE, FIELD!=VALUE, and for numbers <, <=, > and >=, joined by and, or, not\n"
     "and parentheses. A value with spaces or parentheses is put in quotation marks.\n"
     "  kind=component|block|link|sub-device|entity|frame|annotation\n"
     "  name=PATTERN; * is any text, ? any character\n"
     "  key=N, key=A..B; layer=N, layer=A..B (of annotations); without a value: has one\n"
     "  unit=UNIT, color=COLOR, displayed=true|false, preserved=true|false\n"
     "  property.NAME, property.NAME=PATTERN: of its node in the scene graph\n"
     "  below=KEY: listed below that object; attached, attached=KEY: to any, to that object\n"
     "  within=x,y,z,x,y,z: lies in that box, in millimetres of the component; within=KEY: in "
     "that\n"
     "  of another object",
     2, 2, kLimitOptions, runFind},
    {Group::look, "inspect", "DOC [--sort COLUMN[,desc]] [--select EXPR] [--csv]",
     "a table of the parts of a component: triangles, sizes, materials and more",
     "jtw inspect cell.kpak --sort triangles,desc",
     "Columns: path, key, triangles, vertices, lods (levels of detail), bytes (stored), bounds\n"
     "(in millimetres of the component), material, texture, unit, instances (places), exact\n"
     "(precise geometry), annotations. Counts are those of the finest level, as the file states\n"
     "them; nothing is decoded.",
     1, 1, kInspectOptions, runInspect},
    {Group::look, "get", "DOC KEY | DOC --select EXPR", "objects of a component",
     "jtw get gear.kpak 7 --json",
     "KEY is the key of the object; 'root' for the component itself; its name, when no other "
     "object\n"
     "has it; a path of names, /Robot/Arm[2]/Gripper, where [2] is the second of that name; or an\n"
     "address that tree shows: '#ID' by the id of its node, '#A/ID' for node ID of the part file\n"
     "that node A represents.",
     1, 2, kGetOptions, runGet},
    {Group::change, "set", "DOC KEY NAME=VALUE... | DOC --select EXPR NAME=VALUE...",
     "changes objects of a component and saves",
     "jtw set gear.kpak 7 name=Gripper color=#ff8000 loc=100,0,50,0,0,90",
     "All or nothing: one bad value changes nothing. KEY as for get; an object without key gets "
     "the\n"
     "next free one.\n"
     "  name=TEXT\n"
     "  color=#rrggbb | #rrggbbaa | r,g,b[,a] with numbers from 0 to 1 | red, blue, gray, ...\n"
     "  unit=um|mm|cm|dm|m|km|in|ft|yd|mi, or Micrometers to Miles in full; numbers that are "
     "stored\n"
     "       stay and are read in the new unit\n"
     "  attributes=TEXT, uniqueId=TEXT, relStringId=TEXT\n"
     "  displayed=true|false, preserved=true|false\n"
     "  attachment=KEY | KEY:TYPE | none\n"
     "  of annotations: text=TEXT, size=N (letters are N * 100 / 14 mm high), layer=N,\n"
     "       backgroundColor=, geomColor=, plane=x,y,z,x,y,z (directions); color is that of the "
     "text\n"
     "  loc=x,y,z | x,y,z,rx,ry,rz in degrees | 16 numbers of a matrix, row by row",
     2, kManyArguments, kChangeOptions, runSet},
    {Group::change, "add", "DOC KIND [--key K] [--parent P] [NAME=VALUE...]",
     "makes a new object in a component and saves",
     "jtw add gear.kpak block --key auto --parent 2 --name Arm --loc 100,0,50",
     "KIND is block, link, sub-device, entity, frame or annotation. P is the key of a component,\n"
     "block, link or sub-device. NAME=VALUE as for set. An annotation needs a --type; several "
     "--text\n"
     "are several lines.",
     2, kManyArguments, kAddOptions, runAdd},
    {Group::change, "rm", "DOC KEY... | DOC --select EXPR",
     "removes objects and everything below them, and saves", "jtw rm gear.kpak 7",
     "KEY as for get. Objects that were attached to what is gone are no longer attached.", 1,
     kManyArguments, kChangeOptions, runRm},
    {Group::change, "mv", "DOC KEY... --parent P | DOC --select EXPR --parent P",
     "moves objects under another one and saves", "jtw mv gear.kpak 7 --parent 2 --keep-place",
     "Its place relative to its parent stays the same; with --keep-place its place in the "
     "component\n"
     "does. What is below another selected object moves with it.",
     1, kManyArguments, kMvOptions, runMv},
    {Group::change, "clone", "DOC KEY [--key K] [NAME=VALUE...]",
     "copies an entity with its geometry, beside it, and saves",
     "jtw clone gear.kpak 3 --key auto name=Copy", "NAME=VALUE as for set.", 2, kManyArguments,
     kCloneOptions, runClone},
    {Group::change, "edit", "DOC SCRIPT.json|-",
     "makes many edits of a component at once and saves", "jtw edit cell.kpak changes.json",
     "All or nothing. SCRIPT is {\"schema\": \"jtw.script/1\", \"steps\": [{\"do\": VERB, ...}]}:\n"
     "  {\"do\": \"set\", \"key\": KEY or \"select\": EXPR, NAME: VALUE, ...}\n"
     "  {\"do\": \"add\", \"kind\": KIND, \"parent\": P, \"key\": K, \"type\": T, NAME: VALUE, "
     "...}\n"
     "  {\"do\": \"rm\", \"key\" or \"select\"}\n"
     "  {\"do\": \"mv\", \"key\" or \"select\", \"parent\": P, \"keep-place\": true|false}\n"
     "  {\"do\": \"clone\", \"key\": KEY, \"new-key\": K, \"without-geometry\": true|false, NAME: "
     "VALUE}\n"
     "NAME and VALUE as for set. \"as\": LABEL names what add or clone made: \"@LABEL\" further "
     "on.",
     2, 2, kSetOptions, runEdit},
    {Group::compare, "apply", "DOC PATCH|-",
     "makes the changes of a patch in a component and saves",
     "jtw diff --patch old.kpak new.kpak | jtw apply mine.kpak -",
     "All or nothing: every object must be there and every value be the old one of the patch. "
     "What\n"
     "does not fit is listed.",
     2, 2, kApplyOptions, runApply},
    {Group::compare, "merge", "BASE OURS THEIRS OUT [--ours|--theirs]",
     "puts the changes together that two sides made to a component",
     "jtw merge old.jt mine.jt yours.jt merged.jt",
     "Object by object, by key. Where both sides changed the same thing in two ways, it is a "
     "conflict:\n"
     "all are listed, the exit code is 1 and nothing is written. OUT may be OURS.",
     4, 4, kMergeOptions, runMerge},
    {Group::compare, "git-setup", "[--global]",
     "makes git compare and merge JT files with this program", "jtw git-setup",
     "Writes the drivers into the configuration of the repository of the current folder, and a "
     "line "
     "for\n"
     "*.jt into its .gitattributes; what is there already stays. git diff shows objects with "
     "their\n"
     "values then, and git merge puts the changes of two branches together.",
     0, 0, kGitSetupOptions, runGitSetup},
    {Group::look, "frames", "DOC [KEY] [--set FILE [--binary]] | DOC --from A --to B [--unit UNIT]",
     "shows or replaces lists of frames; where one object lies, seen from another",
     "jtw frames gear.kpak 2 --json | jtw frames wheel.kpak 2 --set -",
     "Without KEY, all lists. FILE holds what 'frames DOC KEY --json' prints, or only the list in "
     "it.\n"
     "All members of a frame may be missing: key (the next free one), name, displayed, relLoc\n"
     "(3, 6 or 16 numbers), color {r,g,b,a}, attributes, attachment {parent,type}.\n"
     "With --from and --to, any two objects: the placement of B in the coordinates of A.",
     1, 2, kFramesOptions, runFrames},
    {Group::look, "pmi", "DOC [KEY] [--all]", "lists the annotations of a component",
     "jtw pmi gear.kpak --json",
     "KEY as for get: only the annotations below that object. Lengths are in millimetres.", 1, 2,
     kPmiOptions, runPmi},
    {Group::look, "wires", "DOC [KEY]", "lists the wires of the parts of a component",
     "jtw wires gear.kpak --json",
     "Exact curves, in the coordinates and the unit of their part. KEY as for get: only the parts\n"
     "below that object.",
     1, 2, kLimitOptions, runWires},
    {Group::change, "buffer", "DOC [KIND get|set|rm [FILE]]",
     "the binary data that the host keeps on a component", "jtw buffer gear.kpak kin set kin.bin",
     "KIND is kin, kin-modeling, kin-techno, mop, dot-kin, gm-kin, plc-logic or "
     "kin-techno-double.\n"
     "FILE is what is read or written; without it, or with '-', standard input or output. Without\n"
     "KIND, lists what there is.",
     1, 4, kSetOptions, runBuffer},
    {Group::convert, "export", "DOC OUT.jt [--version V] [--per-part] [--exact]",
     "exports a component as JT files for other systems", "jtw export cell.kpak out.jt --per-part",
     "The export has no data of the host, and all lengths are in millimetres. Precise geometry is "
     "left\n"
     "out where the version has no form for it, which is reported for each part.",
     2, 2, kExportOptions, runExport},
    {Group::convert, "assemble", "PLAN.json OUT.jt [--version V] [--per-part] [--exact]",
     "puts components, JT files and meshes together as a plan says",
     "jtw assemble cell.json cell.jt",
     "PLAN is {\"schema\": \"jtw.plan/1\", \"name\", \"unit\", \"items\": [{\"id\", \"parent\", "
     "\"source\",\n"
     "\"name\", \"place\", \"color\", \"layer\", \"unit\"}]}; docs/cli.md explains it. Sources are "
     "relative to\n"
     "the plan. '-' is standard input.",
     2, 2, kAssembleOptions, runAssemble},
    {Group::convert, "export-partition", "DOC OUT [--version V]",
     "writes a copy of a component into a JT file of its own",
     "jtw export-partition gear.kpak gear-export.jt",
     "The copy carries the producer and the date, and opens as a component again. The part "
     "files\n"
     "of an assembly come along, to the same places beside OUT.",
     2, 2, kPartitionOptions, runExportPartition},
    {Group::show, "snapshot",
     "FILE OUT.png | FILE... -o DIR [--view VIEW] [--key KEY] [--edges] [--section PLANE] "
     "[--sheet]",
     "a picture of what a JT file or a mesh file holds",
     "jtw snapshot gear.jt gear.png --view front",
     "Shows the finest level of detail, shaded, fitted to the view; up is +z. Shapes that cannot "
     "be\n"
     "read are left out and reported; the exit code is 1 then.",
     0, kManyArguments, kSnapshotOptions, runSnapshot},
    {Group::show, "view", "DOC [-o OUT.html] [--compare OTHER]",
     "a page that shows a component in a browser", "jtw view gear.kpak -o gear.html",
     "One file that opens without a server or a network: the model, its tree, its properties.\n"
     "Shapes that cannot be read are left out and reported; the exit code is 1 then.",
     1, 1, kViewOptions, runView},
    {Group::convert, "import", "MESH DOC [--unit U] [--lods N]", "makes a component of a mesh file",
     "jtw import robot.glb robot.kpak --lods 3",
     "MESH is a glTF, OBJ, STL, PLY, FBX, Collada, 3DS or other file; the extension gives the "
     "format. Its "
     "nodes\n"
     "become blocks and entities with keys; meshes that are used twice are stored once.",
     2, 2, kImportOptions, runImport},
    {Group::convert, "convert", "IN OUT | IN... -o DIR --to FORMAT [--version V] [--lod N]",
     "converts between JT and mesh files", "jtw convert gear.jt gear.glb",
     "The extensions select the formats: JT and what import reads, to JT, .glb, .obj, .stl or "
     ".ply. "
     "An\n"
     "OUT that is there is replaced. '-' is standard input or output; --from and --to name its "
     "format.",
     0, kManyArguments, kConvertOptions, runConvert},
    {Group::change, "update-materials", "DOC...",
     "converts the materials of components to today's form, once",
     "jtw update-materials cells/*.kpak",
     "Each DOC is 'updated', or left as it is: 'already-updated', or 'native' when there is no\n"
     "component in it. One that fails stops nothing; the exit code is then 1, or that of the\n"
     "failure when all fail alike. --jobs sets how many run at a time; by default one for each "
     "core. A folder that is no component means the components in it and below.",
     0, kManyArguments, kUpdateOptions, runUpdateMaterials},
    {Group::program, "help", "[COMMAND] [--man]", "explains the program or a command",
     "jtw help set", "With --man as a manual page: jtw help set --man | man -l -", 0, 1,
     kHelpOptions, runHelp},
    {Group::program,
     "completion",
     "bash|zsh|fish",
     "prints a script with which a shell completes command lines",
     "jtw completion bash > ~/.local/share/bash-completion/completions/jtw",
     "An installation has the scripts where the shells look for them.",
     1,
     1,
     {},
     runCompletion},
};

}  // namespace

const char* const kArgumentsHelp =
    "FILE is a JT file; DOC a component folder (gear.kpak), a .co or .cor document, a .jt file,\n"
    "or stream:FILE; '-' is standard input or output.";
const char* const kExitCodesHelp =
    "  0 done, 1 the answer is no, 2 wrong usage, 3 an input cannot be read,\n"
    "  4 an output cannot be written, 5 the model refuses";

std::span<const Command> commands() { return kCommands; }

const Command& findCommand(std::string_view name) {
  std::vector<const char*> names;
  for (const Command& command : kCommands) {
    if (name == command.name) return command;
    if (command.run) names.push_back(command.name);
  }
  failUsage("there is no command '" + std::string(name) + "'" + jtw::suggestion(name, names));
}

}  // namespace tool
