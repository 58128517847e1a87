#pragma once

#include <cstdint>

namespace tool {

/// What commands are for.
enum class CommandGroup : std::uint8_t { look, show, change, compare, convert, check, program };

/// All groups, in the order in which help lists them.
inline constexpr CommandGroup kCommandGroups[] = {
    CommandGroup::look,    CommandGroup::show,  CommandGroup::change, CommandGroup::compare,
    CommandGroup::convert, CommandGroup::check, CommandGroup::program};

/// "Compare and merge"
const char* groupTitle(CommandGroup group) noexcept;

}  // namespace tool
