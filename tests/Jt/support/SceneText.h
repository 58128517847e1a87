#pragma once

#include <cstdio>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include "JtInspect.h"
#include "JtLOD.h"
#include "JtLights.h"
#include "JtMaterial.h"
#include "JtPartition.h"
#include "JtStyles.h"
#include "JtSwitch.h"
#include "JtTexture.h"
#include "JtXform.h"
#include "VisMetaDataNode.h"

/// A scene graph as text: what it means, not how a file holds it. Nodes are numbered in the order
/// in which a depth-first walk meets them, shared nodes and attributes are reported once. Two
/// scenes are equal when their texts are.
class SceneText {
 public:
  /// @param full also what only some versions can hold: final flags, bumpiness
  static std::string of(const JtNode& root, bool full = true) {
    SceneText text(full);
    text.walk(root);
    return std::move(text.out_);
  }

 private:
  explicit SceneText(bool full) : full_(full) {}

  void walk(const JtNode& root) {
    std::vector<const JtNode*> pending{&root};
    while (!pending.empty()) {
      const JtNode* node = pending.back();
      pending.pop_back();
      const auto [place, isNew] = nodes_.emplace(node, nodes_.size());
      add("\n#", place->second);
      if (!isNew) continue;
      describe(*node);
      for (int i = node->numChildren() - 1; i >= 0; --i) pending.push_back(node->child(i));
    }
  }

  void describe(const JtNode& node) {
    add(" ", jt::elementName(&node), " flags ", node.nodeFlags(), " children ", node.numChildren());
    if (const auto* partition = jt::as<JtPartition>(&node)) {
      add(" file ", partition->fileName());
      if (const auto box = partition->bounds()) add(" box ", box->min, box->max);
    }
    if (const auto* selector = jt::as<JtSwitch>(&node)) add(" shows ", selector->selectedChild());
    if (const auto* lod = jt::as<JtRangeLOD>(&node))
      add(" limits ", lod->rangeLimits(), " center ", lod->center());
    if (const auto* shape = jt::as<JtShape>(&node)) {
      const auto& statistics = shape->statistics();
      add(" box ", statistics.box.min, statistics.box.max, " area ", statistics.area, " counts ",
          statistics.vertices.min, statistics.vertices.max, statistics.nodes.min,
          statistics.nodes.max, statistics.polygons.min, statistics.polygons.max, " size ",
          shape->memorySize(), " level ", shape->compressionLevel());
    }
    if (const auto* shape = jt::as<JtVertexShape>(&node)) add(" has ", shape->vertexBindings());
    if (const auto* shape = jt::as<JtSparseShape>(&node)) add(" factor ", shape->areaFactor());
    for (int i = 0; i < node.numAttributes(); ++i) {
      const JtAttribute* attribute = node.attribute(i);
      const auto [place, isNew] = attributes_.emplace(attribute, attributes_.size());
      add("\n  @", place->second);
      if (isNew) describe(*attribute);
    }
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    for (int i = 0; node.getProperty(i, key, value); ++i) {
      add("\n  - ");
      describe(*key);
      add(" = ");
      describe(*value);
    }
  }

  void describe(const JtAttribute& attribute) {
    add(" ", jt::elementName(&attribute), " state ", attribute.stateFlags(), " inhibit ",
        attribute.inhibitFlags(), " final ", attribute.finalFlags());
    if (const auto* xform = jt::as<JtXform>(&attribute)) add(" matrix ", xform->matrix());
    if (const auto* material = jt::as<JtMaterial>(&attribute)) {
      add(" colors ", material->ambient(), material->diffuse(), material->specular(),
          material->emission(), " shininess ", material->shininess(), " reflects ",
          material->reflectivity(), " overrides ", material->overrideVertexColors(), " blends ",
          material->blending());
      if (full_) add(" bumpiness ", material->bumpiness());
    }
    if (const auto* style = jt::as<JtDrawStyle>(&attribute)) add(" flags ", style->flags());
    if (const auto* line = jt::as<JtLineStyle>(&attribute))
      add(" line ", static_cast<int>(line->lineType()), line->antialiased(), line->width());
    if (const auto* point = jt::as<JtPointStyle>(&attribute))
      add(" point ", point->antialiased(), point->size());
    if (const auto* set = jt::as<JtLightSet>(&attribute)) add(" lights ", set->lightIds().size());
    if (const auto* texture = jt::as<JtTextureImage>(&attribute))
      for (const jt::TextureBlock& block : texture->blocks()) describe(block);
  }

  void describe(const jt::TextureBlock& block) {
    if (block.images.empty()) return;  // 9.x has empty blocks in front
    add(" texture ", block.textureType, " channel ", block.channel, block.coordinateChannel,
        " blend ", block.environment.blendColor, block.environment.transform);
    for (const jt::TextureImage& image : block.images) {
      add(" image ", image.fileName, image.width, image.height, image.shared);
      for (const auto& mipmap : image.mipmaps)
        for (const std::byte byte : mipmap) add(std::to_integer<int>(byte));
    }
  }

  void describe(const JtPropAtom& atom) {
    add(jt::elementName(&atom), " ", atom.stateFlags(), " ");
    if (const auto* text = jt::as<JtStringPropAtom>(&atom)) add(text->value());
    if (const auto* number = jt::as<JtInt32PropAtom>(&atom)) add(number->value());
    if (const auto* number = jt::as<JtFloatPropAtom>(&atom)) add(number->value());
    if (const auto* vector = jt::as<JtVector4fPropAtom>(&atom)) add(vector->value());
    if (const auto* late = jt::as<JtLateLoadedPropAtom>(&atom))
      add(late->segmentId().text(), " type ", late->segmentType());
    if (const auto* date = jt::as<JtDatePropAtom>(&atom))
      add(date->value().year, date->value().month, date->value().day, date->value().hour,
          date->value().minute, date->value().second);
  }

  template <class... Parts>
  void add(const Parts&... parts) {
    (addOne(parts), ...);
  }
  void addOne(const char* text) { out_ += text; }
  void addOne(const std::string& text) { out_ += text; }
  void addOne(const JtString& text) { out_ += "\"" + text.stringToMbs() + "\""; }
  template <class T>
  void addOne(const T& value) {
    if constexpr (std::is_floating_point_v<T>) {
      char text[40];
      std::snprintf(text, sizeof text, "%.9g ", static_cast<double>(value));
      out_ += text;
    } else if constexpr (std::is_integral_v<T>) {
      out_ += std::to_string(value) + " ";
    } else {
      for (const auto& item : value) addOne(item);
    }
  }

  bool full_;
  std::string out_;
  std::unordered_map<const JtNode*, std::size_t> nodes_;
  std::unordered_map<const JtAttribute*, std::size_t> attributes_;
};
