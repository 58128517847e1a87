#include "Extension.h"

namespace mesh {

std::string extensionOf(std::string_view path) {
  const std::size_t dot = path.find_last_of("./");
  if (dot == std::string_view::npos || path[dot] == '/') return {};
  std::string extension(path.substr(dot + 1));
  for (char& letter : extension)
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  return extension;
}

}  // namespace mesh
