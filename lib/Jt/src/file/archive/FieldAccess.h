#pragma once

namespace jt::file {

/// The one friend of the classes whose objects files store. Its members alone reach the members of
/// these classes.
struct FieldAccess {
  struct Nodes;
  struct Attributes;
  struct Atoms;
  struct MetaData;
  struct PMI;
  struct Wireframe;

  // The members of these names, also of objects that are const.
  static auto& source(auto& object) noexcept { return object.source_; }
  static auto& element(auto& object) noexcept { return object.element_; }
  static auto& modified(auto& object) noexcept { return object.modified_; }
  static auto& carried(auto& object) noexcept { return object.carried_; }
  static auto& copied(auto& object) noexcept { return object.copied_; }
  static auto& opaque(auto& object) noexcept { return object.opaque_; }
  static auto& propertyRow(auto& object) noexcept { return object.propertyRow_; }
  static auto& attributes(auto& object) noexcept { return object.attributes_; }
  static auto& children(auto& object) noexcept { return object.children_; }
  static auto& child(auto& object) noexcept { return object.child_; }
  static auto& metaData(auto& object) noexcept { return object.metaData_; }
  static auto& pmi(auto& object) noexcept { return object.pmi_; }
  static auto& wires(auto& object) noexcept { return object.wires_; }
  static auto& lights(auto& object) noexcept { return object.lights_; }
  static auto& quantization(auto& object) noexcept { return object.quantization_; }
  static auto& object(auto& object) noexcept { return object.object_; }
  static auto& segmentId(auto& object) noexcept { return object.segmentId_; }
  static auto& segmentType(auto& object) noexcept { return object.segmentType_; }
  static auto& scene(auto& object) noexcept { return object.scene_; }
  static auto& version(auto& object) noexcept { return object.version_; }
  static auto& notes(auto& object) noexcept { return object.notes_; }
  static auto& openCount(auto& object) noexcept { return object.openCount_; }
  static auto& savedAs(auto& object) noexcept { return object.savedAs_; }
  /// The properties of a node; reads them when they are still in the file.
  static auto& properties(const auto& node) { return node.properties(); }
  /// Makes `parent` a parent of `child`; the parent's list of children is not touched.
  static void attach(auto& child, auto& parent) { child.attachTo(parent); }
};

using NodeFields = FieldAccess::Nodes;
using AttributeFields = FieldAccess::Attributes;
using AtomFields = FieldAccess::Atoms;
using MetaDataFields = FieldAccess::MetaData;
using PMIAccess = FieldAccess::PMI;
using WireframeAccess = FieldAccess::Wireframe;

}  // namespace jt::file
