#include <algorithm>
#include <vector>

#include "Command.h"
#include "CommandOptions.h"
#include "JtwNearestName.h"

namespace tool {
namespace {

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
    {Group::check, "report", "FILE... [--all] [--sarif FILE] [--junit FILE]",
     "puts the reports of several runs or shards together",
     "jtw verify delivery/ --shard 1/2 --report run-1.jsonl; jtw report run-*.jsonl",
     "FILE is what a command wrote with --report. Lists the files that failed, what is missing "
     "and\n"
     "what was done twice, and sums up. The exit code is that of one run on all files; 1 when\n"
     "something is missing.",
     1, kManyArguments, kReportOptions, runReport},
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
