#include <algorithm>
#include <vector>

#include "Command.h"

namespace tool {
namespace {

constexpr Option kMaxSegment{"max-segment", 0, "BYTES",
                             "the most that one segment may unpack to (1G)"};
constexpr Option kMaxDocument{"max-document", 0, "BYTES",
                              "the most that all segments may unpack to (4G)"};
constexpr Option kDryRun{"dry-run", 0, nullptr, "report what would be done, write nothing"};

constexpr Option kInfoOptions[] = {
    {"segments", 0, nullptr, "list the segments"}, kMaxSegment, kMaxDocument};
constexpr Option kGraphOptions[] = {
    {"metadata", 0, nullptr, "load the metadata segments too"}, kMaxSegment, kMaxDocument};
constexpr Option kExplainOptions[] = {
    {"segment", 0, "N|ID",
     "only this segment: its row in the table of contents, from 0, or its id"},
    kMaxSegment,
    kMaxDocument};
constexpr Option kLimitOptions[] = {kMaxSegment, kMaxDocument};
constexpr Option kCopyOptions[] = {
    {"version", 0, "V", "the JT version to write; without it that of IN"},
    kDryRun,
    kMaxSegment,
    kMaxDocument};
constexpr Option kNewOptions[] = {
    {"force", 0, nullptr, "replace a component that is there already"}, kDryRun};
constexpr Option kSetOptions[] = {kDryRun, kMaxSegment, kMaxDocument};

constexpr Command kCommands[] = {
    {"info", "FILE [--segments]", "what a JT file is and holds", "jtw info gear.jt --segments",
     "Reads nothing but the header, the table of contents and the scene graph.", 1, 1, kInfoOptions,
     runInfo},
    {"graph", "FILE [--metadata]", "the scene graph of a JT file as it is stored",
     "jtw graph gear.jt", "", 1, 1, kGraphOptions, runGraph},
    {"explain", "FILE[@OFFSET] [--segment N|ID]", "what each byte of a JT file means",
     "jtw explain gear.jt@0x6d",
     "With @OFFSET only the field at that byte, and what it belongs to. In a compressed segment\n"
     "offsets count in the inflated bytes; name it with --segment to ask for one of them.",
     1, 1, kExplainOptions, runExplain},
    {"verify", "FILE...", "reads and decodes everything, and tells what is wrong",
     "jtw verify delivery/*.jt", "Exit code 1 when there is an error, 0 for warnings alone.", 1,
     kManyArguments, kLimitOptions, runVerify},
    {"copy", "IN OUT [--version V]", "reads a JT file, writes it again and tells what was done",
     "jtw copy gear.jt gear95.jt --version 9.5",
     "In the same version every segment but the scene graph is copied byte for byte. '-' as IN or\n"
     "OUT is standard input or output; the report then goes to standard error.",
     2, 2, kCopyOptions, runCopy},
    {"new", "DOC [--force]", "makes an empty component", "jtw new gear.kpak",
     "A name that ends in .kpak, .co or .cor becomes a folder with a JT file in it. The component\n"
     "gets the key 1 and the name of the document; its unit is the millimetre.",
     1, 1, kNewOptions, runNew},
    {"tree", "DOC", "a component as the host sees it", "jtw tree gear.kpak", "", 1, 1,
     kLimitOptions, runTree},
    {"get", "DOC KEY", "one object of a component", "jtw get gear.kpak 7 --json",
     "KEY is the key of the object, 'root' for the component itself, or '#ID' as tree shows it for "
     "an\n"
     "object without key.",
     2, 2, kLimitOptions, runGet},
    {"set", "DOC KEY NAME=VALUE...", "changes one object of a component and saves",
     "jtw set gear.kpak 7 name=Gripper color=#ff8000 loc=100,0,50,0,0,90",
     "All or nothing: one bad value changes nothing. KEY as for get; an object without key gets "
     "the\n"
     "next free one.\n"
     "  name=TEXT\n"
     "  color=#rrggbb | #rrggbbaa | r,g,b[,a] with numbers from 0 to 1\n"
     "  unit=Micrometers|Millimeters|Centimeters|Decimeters|Meters|Kilometers|Inches|Feet|\n"
     "       Yards|Miles; numbers that are stored stay and are read in the new unit\n"
     "  attributes=TEXT, uniqueId=TEXT, relStringId=TEXT\n"
     "  displayed=true|false, preserved=true|false\n"
     "  attachment=KEY | KEY:TYPE | none\n"
     "  loc=x,y,z | x,y,z,rx,ry,rz in degrees | 16 numbers of a matrix, row by row",
     3, kManyArguments, kSetOptions, runSet},
    {"help",
     "[COMMAND]",
     "explains the program or a command",
     "jtw help set",
     "",
     0,
     1,
     {},
     runHelp},
    {"add", "", "", "", "", 0, kManyArguments, {}, nullptr},
    {"rm", "", "", "", "", 0, kManyArguments, {}, nullptr},
    {"mv", "", "", "", "", 0, kManyArguments, {}, nullptr},
    {"clone", "", "", "", "", 0, kManyArguments, {}, nullptr},
    {"frames", "", "", "", "", 0, kManyArguments, {}, nullptr},
    {"buffer", "", "", "", "", 0, kManyArguments, {}, nullptr},
    {"diff", "", "", "", "", 0, kManyArguments, {}, nullptr},
    {"update-materials", "", "", "", "", 0, kManyArguments, {}, nullptr},
    {"export-partition", "", "", "", "", 0, kManyArguments, {}, nullptr},
    {"import", "", "", "", "", 0, kManyArguments, {}, nullptr},
    {"convert", "", "", "", "", 0, kManyArguments, {}, nullptr},
    {"snapshot", "", "", "", "", 0, kManyArguments, {}, nullptr},
};

}  // namespace

std::span<const Command> commands() { return kCommands; }

const Command& findCommand(std::string_view name) {
  std::vector<const char*> names;
  for (const Command& command : kCommands) {
    if (name == command.name) return command;
    if (command.run) names.push_back(command.name);
  }
  std::string message = "there is no command '" + std::string(name) + "'";
  if (const char* nearest = nearestName(name, names))
    message += "; did you mean '" + std::string(nearest) + "'?";
  failUsage(message);
}

}  // namespace tool
