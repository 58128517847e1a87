#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

// The shape elements of tests/data/shapes.

struct ShapeVector {
  std::string name;
  std::vector<std::byte> bytes;
  std::string expected;          ///< JSON
  bool hasPlainPackets = false;  ///< in the codecs that the library writes
};

inline std::string fileText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline std::vector<ShapeVector> shapeVectors() {
  std::vector<ShapeVector> vectors;
  for (const auto& entry : std::filesystem::directory_iterator(JTW_TEST_DATA "/shapes")) {
    if (entry.path().extension() != ".bin") continue;
    ShapeVector& vector = vectors.emplace_back();
    vector.name = entry.path().stem().string();
    const std::string text = fileText(entry.path());
    for (const char c : text) vector.bytes.push_back(static_cast<std::byte>(c));
    vector.expected = fileText(std::filesystem::path(entry.path()).replace_extension(".json"));
    vector.hasPlainPackets = !vector.name.starts_with("torus") && vector.name != "strip8q" &&
                             vector.name != "strip8" && vector.name != "strip8z";
  }
  std::ranges::sort(vectors, {}, &ShapeVector::name);
  return vectors;
}
