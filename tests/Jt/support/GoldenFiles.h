#pragma once

#include "JtShape.h"
#include "file/shapes/ShapeSegment.h"
#include "support/PMIFiles.h"
#include "support/ShapeFiles.h"
#include "support/ShapeScene.h"

// Small sound files with everything that the library reads: each generation, codec, kind of PMI,
// wires, a file that names part files.

struct GoldenFile {
  std::string name;
  Bytes bytes;
};

inline std::vector<GoldenFile> goldenFiles() {
  std::vector<GoldenFile> files;
  for (const char* name : kVectors) files.push_back({name, testData(name)});
  for (const char* name : {"typed81.jt", "typed95.jt", "materials/old100.jt"})
    files.push_back({name, testData(name)});
  for (const PMIVector& pmi : {kNote8, kNote9, kDim9, kDim105})
    files.push_back({pmi.name, pmiFile(pmi.format, pmi.content())});
  constexpr jt::file::Format kTen{10, 0, false};
  files.push_back({"wires", wireFile(kTen, testData("wires/line10.bin"))});
  constexpr std::pair<const char*, jt::file::Format> kShapes[] = {
      {"strip8", {8, 1, false}},   {"strip8q", {8, 1, false}},
      {"strip8z", {8, 1, false}},  {"fan10_9", {9, 5, false}},
      {"hole9", {9, 5, false}},    {"trinorm9", {9, 5, false}},
      {"linedup9", {9, 5, false}}, {"torus10", kTen},
      {"cube10q", kTen},           {"point10", kTen}};
  for (const auto& [name, format] : kShapes) {
    const Bytes content = testData(std::string("shapes/") + name + ".bin");
    jt::codec::VariantChoice variants;
    const auto mesh = jt::file::readShape(content, format, variants).mesh;
    const auto node = jt::makeShape(std::make_shared<const jt::Mesh>(mesh));
    files.push_back({name, shapeFile(format, *node, content)});
  }
  return files;
}
