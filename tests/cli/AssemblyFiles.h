#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace cli {

/// An assembly of assemblies, of files of its own: `hall.jt` shows the cells of `cell0/cell.jt`,
/// `cell1/cell.jt`, ..., each of which shows the parts of `part0.jt`, `part1.jt`, ... beside it.
/// The object ids are the same in all cells, and the same in all parts. In every cell part 0 is
/// shown twice, and the hall shows cell 0 twice.
struct AssemblyFiles {
  std::size_t cells = 0;
  std::size_t partsPerCell = 0;

  void write(const std::filesystem::path& folder) const;
  /// Path of a file below the folder.
  static std::string cell(std::size_t cell) { return "cell" + std::to_string(cell) + "/cell.jt"; }
  static std::string part(std::size_t cell, std::size_t part) {
    return "cell" + std::to_string(cell) + "/part" + std::to_string(part) + ".jt";
  }
  std::size_t files() const { return cells * (partsPerCell + 1); }
  /// Entities that a tree lists.
  std::size_t entities() const { return (cells + 1) * (partsPerCell + 1); }
};

}  // namespace cli
