#pragma once

#include <string>
#include <string_view>

namespace mesh {

/// The extension of a path in lower case, without the dot; empty when there is none.
std::string extensionOf(std::string_view path);

}  // namespace mesh
