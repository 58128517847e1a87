#include "CommandGroup.h"

namespace tool {

const char* groupTitle(CommandGroup group) noexcept {
  switch (group) {
    case CommandGroup::look:
      return "Look into files and components";
    case CommandGroup::show:
      return "Make pictures and pages";
    case CommandGroup::change:
      return "Make and change components";
    case CommandGroup::compare:
      return "Compare and merge";
    case CommandGroup::convert:
      return "Import, convert and export";
    case CommandGroup::check:
      return "Check";
    case CommandGroup::program:
      return "The program";
  }
  return "";
}

}  // namespace tool
