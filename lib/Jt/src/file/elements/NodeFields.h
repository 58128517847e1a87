#pragma once

// Field lists of the node elements, in the order and with the names of ISO 14306. Where the forms
// of one generation differ, the bytes left in the element decide when reading, and what was read is
// kept for writing; new objects take the form that real files of the target generation have.

#include "JtGroup.h"
#include "JtInstance.h"
#include "JtLOD.h"
#include "JtNode.h"
#include "JtPartition.h"
#include "JtShape.h"
#include "JtSwitch.h"
#include "VisMetaDataNode.h"
#include "VisPartNode.h"
#include "codec/shape/VertexBindings.h"
#include "file/archive/Archive.h"
#include "file/archive/FieldAccess.h"

namespace jt::file {

struct FieldAccess::Nodes {
  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtNode>& node) {
    ar.version("versionNumber", node.nodeVersion_, 1, 1);
    ar("nodeFlags", node.nodeFlags_);
    ar.list("attributeObjectId", ar.links().attributes);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtGroup>& group) {
    run(ar, static_cast<Of<Ar, JtNode>&>(group));
    ar.version("groupVersionNumber", group.groupVersion_, 1, 1);
    ar.list("childNodeObjectId", ar.links().children);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtInstance>& instance) {
    run(ar, static_cast<Of<Ar, JtNode>&>(instance));
    ar.version("instanceVersionNumber", instance.instanceVersion_, 1, 1);
    ar.single("childNodeObjectId", ar.links().children);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtPartition>& partition) {
    run(ar, static_cast<Of<Ar, JtGroup>&>(partition));
    PartitionForm form = partitionForm(ar, partition);
    if (form.version) ar("partitionVersionNumber", *form.version);
    ar("partitionFlags", form.flags);
    ar("fileName", partition.fileName_);
    ar("boundingBox", form.box1);
    if (form.box2) ar("transformedBoundingBox", *form.box2);
    ar("area", partition.area_);
    ar("vertexCountRange", partition.vertexRange_);
    ar("nodeCountRange", partition.nodeRange_);
    ar("polygonCountRange", partition.polygonRange_);
    if (form.untransformed) ar("untransformedBoundingBox", *form.untransformed);
    if constexpr (Ar::kReading) {
      partition.partitionVersion_ = form.version;
      partition.partitionFlags_ = form.flags;
      partition.box1_ = form.box1;
      partition.box2BeforeArea_ = form.box2;
      partition.untransformedBox_ = form.untransformed;
    }
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, VisMetaDataNode>& node) {
    metaData(ar, node, 0);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, VisPartNode>& part) {
    constexpr std::size_t kReserved = 4;
    metaData(ar, part, 2 + kReserved);
    lateVersion(ar, "partVersionNumber", part.partVersion_, kReserved);
    ar("reserved", part.reserved_);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtLOD>& lod) {
    run(ar, static_cast<Of<Ar, JtGroup>&>(lod));
    ar.version("lodVersionNumber", lod.lodVersion_, 1, 1);
    if (ar.has(Feature::lodReserved)) {
      ar.list("reservedFloats", lod.reservedFloats_);
      ar("reserved", lod.reservedInt_);
    }
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtRangeLOD>& lod) {
    run(ar, static_cast<Of<Ar, JtLOD>&>(lod));
    ar.version("rangeLodVersionNumber", lod.rangeVersion_, 1, 1);
    ar.list("rangeLimits", lod.limits_);
    ar("center", lod.center_);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtSwitch>& node) {
    run(ar, static_cast<Of<Ar, JtGroup>&>(node));
    ar.version("switchVersionNumber", node.switchVersion_, 1, 1);
    ar("selectedChild", node.selected_);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtShape>& shape) {
    run(ar, static_cast<Of<Ar, JtNode>&>(shape));
    ar.version("shapeVersionNumber", shape.shapeVersion_, 1, 1);
    if (ar.has(Feature::shapeReservedBox)) {
      // Real files repeat the box here.
      auto& reserved = isFresh(ar, shape) ? shape.statistics_.box : shape.reservedBox_;
      ar("reservedBoundingBox", reserved);
    }
    ar("untransformedBoundingBox", shape.statistics_.box);
    ar("area", shape.statistics_.area);
    ar("vertexCountRange", shape.statistics_.vertices);
    ar("nodeCountRange", shape.statistics_.nodes);
    ar("polygonCountRange", shape.statistics_.polygons);
    ar("size", shape.size_);
    ar("compressionLevel", shape.compressionLevel_);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtVertexShape>& shape) {
    vertexShape(ar, shape, false);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtTriStripSet>& shape) {
    vertexShape(ar, shape, false);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtPolygonSet>& shape) {
    vertexShape(ar, shape, false);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtPolylineSet>& shape) {
    sparseShape(ar, shape, ar.has(Feature::bindingsTwice));
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtPointSet>& shape) {
    sparseShape(ar, shape, ar.has(Feature::wideBindings));
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtNullShape>& shape) {
    run(ar, static_cast<Of<Ar, JtShape>&>(shape));
    lateVersion(ar, "nullShapeVersionNumber", shape.nullVersion_, 0);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtPrimitiveSet>& shape) {
    run(ar, static_cast<Of<Ar, JtShape>&>(shape));
    ar.version("primitiveVersionNumber", shape.primitiveVersion_, 1, 1);
    if (ar.has(Feature::primitiveBindings)) {
      ar("vertexBindings", shape.bindings_);
    } else {
      ar("textureAndColorBinding", shape.oldBindings_);
    }
    if (ar.has(Feature::textureGeneration)) {
      std::int32_t generation = shape.textureGeneration_.value_or(0);
      ar("textureGenerationType", generation);
      if constexpr (Ar::kReading) shape.textureGeneration_ = generation;
      ar.version("quantizationVersionNumber", shape.quantizationVersion_, 1, 1);
      ar("bitsPerVertexAndColor", shape.quantization_);
    } else {
      // The short form ends here; the long one of later 8.x files adds two fields.
      ar("bitsPerVertexAndColor", shape.quantization_);
      lateVersion(ar, "quantizationVersionNumber", shape.quantizationVersion_, 4);
      ar.optional("textureGenerationType", shape.textureGeneration_);
    }
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtWireHarnessSet>& shape) {
    run(ar, static_cast<Of<Ar, JtShape>&>(shape));
    // Forms that have no wire harness take it as a null shape.
    if constexpr (!Ar::kReading) {
      LocalVersion nullVersion;
      if (!ar.has(Feature::wireHarnesses) && ar.isDefaulted(shape.nodeVersion_))
        ar.version("nullShapeVersionNumber", nullVersion, 1, 1);
    }
  }

  /// What follows the last known field.
  template <class Ar>
  static void trailingBytes(Ar& ar, Of<Ar, JtNode>& node) {
    if constexpr (Ar::kReading) {
      node.trailingBytes_ = readTrailingBytes(ar);
    } else if (node.trailingBytes_ && !ar.isDefaulted(node.nodeVersion_)) {
      ar.append(*node.trailingBytes_);
    }
  }

 private:
  /// How many boxes a partition stores, and where. See JtPartition's element data.
  struct PartitionForm {
    std::optional<std::uint8_t> version;
    std::int32_t flags = 1;
    Box box1;
    std::optional<Box> box2;
    std::optional<Box> untransformed;
  };

  template <class Ar>
  static PartitionForm partitionForm(Ar& ar, const JtPartition& partition) {
    if constexpr (Ar::kReading) {
      return detectForm(ar.rest(), ar.format());
    } else {
      if (ar.isDefaulted(partition.nodeVersion_)) return newForm(ar.format(), partition);
      return {partition.partitionVersion_, partition.partitionFlags_, partition.box1_,
              partition.box2BeforeArea_, partition.untransformedBox_};
    }
  }

  static PartitionForm newForm(const Format& format, const JtPartition& partition) {
    const Box extent = partition.bounds().value_or(Box{});
    PartitionForm form;
    if (format.has(Feature::partitionVersion)) {
      form.version = 1;
      form.box1 = extent;
    } else if (format.has(Feature::onePartitionBox)) {
      form.flags = 0;
      form.box1 = extent;
    } else {
      // 9.x files hold an inverted box in front and the extent at the end; 8.x the extent twice.
      if (format.has(Feature::partitionBoxTwice)) form.box1 = extent;
      form.untransformed = extent;
    }
    return form;
  }

  static PartitionForm detectForm(std::span<const std::byte> rest, const Format& format) {
    constexpr std::size_t kOneBox = 52;  // box, area, three ranges
    constexpr std::size_t kTwoBoxes = kOneBox + 24;
    for (const std::size_t versionSize : {std::size_t{0}, std::size_t{1}}) {
      if (rest.size() < versionSize + 8 + kOneBox) continue;
      const auto flags = loadScalar<std::int32_t>(rest.data() + versionSize, format.bigEndian);
      const auto units = loadScalar<std::int32_t>(rest.data() + versionSize + 4, format.bigEndian);
      const std::size_t room = rest.size() - versionSize - 8;
      if (units < 0 || static_cast<std::size_t>(units) > room / 2) continue;
      const std::size_t behind = room - 2 * static_cast<std::size_t>(units);
      if (behind != kOneBox && behind != kTwoBoxes) continue;
      PartitionForm form;
      if (versionSize) form.version = std::uint8_t{1};
      if (behind == kTwoBoxes) ((flags & 1) ? form.untransformed : form.box2).emplace();
      return form;
    }
    PartitionForm form;  // fits nowhere: the generation's own form, and the rest is trailing bytes
    if (format.has(Feature::partitionVersion)) form.version = std::uint8_t{1};
    return form;
  }

  /// A version that 8.x files may or may not have: there when more than `behind` bytes are left.
  template <class Ar>
  static void lateVersion(Ar& ar, const char* name, Of<Ar, LocalVersion>& version,
                          std::size_t behind) {
    if (ar.has(Feature::localVersions)) {
      ar.version(name, version, 1, 1);
      return;
    }
    if constexpr (Ar::kReading) {
      if (ar.left() >= 2 + behind) {
        ar(name, version.value);
      } else {
        version.value = LocalVersion::kAbsent;
      }
    } else if (version.value != LocalVersion::kAbsent) {
      ar.template as<std::int16_t>(name, ar.isDefaulted(version) ? std::int16_t{1} : version.value);
    }
  }

  template <class Ar>
  static void metaData(Ar& ar, Of<Ar, VisMetaDataNode>& node, std::size_t behind) {
    run(ar, static_cast<Of<Ar, JtGroup>&>(node));
    lateVersion(ar, "metaDataVersionNumber", node.metaVersion_, behind);
  }

  /// True when a writer takes the generation's defaults for this node.
  template <class Ar>
  static bool isFresh(const Ar& ar, const JtNode& node) {
    return !Ar::kReading && ar.isDefaulted(node.nodeVersion_);
  }

  template <class Ar>
  static void vertexShape(Ar& ar, Of<Ar, JtVertexShape>& shape, bool sparse) {
    run(ar, static_cast<Of<Ar, JtShape>&>(shape));
    ar.version("vertexShapeVersionNumber", shape.vertexVersion_, 2, 1);
    if (ar.has(Feature::wideBindings)) {
      ar("vertexBindings", shape.bindings_);
      if constexpr (Ar::kReading)
        shape.oldBindings_ = codec::VertexBindings{shape.bindings_}.oldForm();
    } else {
      ar("normalTextureAndColorBinding", shape.oldBindings_);
      if constexpr (Ar::kReading)
        shape.bindings_ = codec::VertexBindings::fromOldForm(shape.oldBindings_).bits;
    }
    if (ar.has(Feature::vertexQuantization)) ar("quantizationParameters", shape.quantization_);
    if (!ar.has(Feature::bindingsTwice)) return;
    if constexpr (Ar::kReading) {
      shape.bindingsAgain_.reset();
      const bool present =
          sparse ? repeatsBindings(ar.rest(), ar.format(), shape.bindings_) : ar.left() >= 8;
      if (present) ar("vertexBindingsAgain", shape.bindingsAgain_.emplace());
    } else if (isFresh(ar, shape)) {
      ar("vertexBindingsAgain", shape.bindings_);
    } else {
      ar.optional("vertexBindingsAgain", shape.bindingsAgain_);
    }
  }

  /// 9.x line and point shapes repeat their bindings up to twice: 22 bytes left when both are
  /// there, 14 with one of them. With one, it is right here when it equals the bindings and a
  /// version follows it; else a version right here means that it is the last.
  static bool repeatsBindings(std::span<const std::byte> rest, const Format& format,
                              std::uint64_t bindings) {
    if (rest.size() != 14) return rest.size() > 14;
    const auto isVersion = [&](std::size_t at) {
      const auto version = loadScalar<std::int16_t>(rest.data() + at, format.bigEndian);
      return version == 1 || version == 2;
    };
    const bool isRepeat =
        loadScalar<std::uint64_t>(rest.data(), format.bigEndian) == bindings && isVersion(8);
    return isRepeat || !isVersion(0);
  }

  template <class Ar>
  static void sparseShape(Ar& ar, Of<Ar, JtSparseShape>& shape, bool endsWithBindings) {
    vertexShape(ar, shape, true);
    ar.version("sparseShapeVersionNumber", shape.sparseVersion_, 2, 1);
    ar("areaFactor", shape.areaFactor_);
    if (!endsWithBindings) return;
    if (isFresh(ar, shape)) {
      ar("lastVertexBindings", shape.bindings_);
    } else {
      ar.optional("lastVertexBindings", shape.bindingsLast_);
    }
  }
};

}  // namespace jt::file
