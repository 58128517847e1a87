#include "ExportNodes.h"

#include <algorithm>

#include "Jt.h"
#include "JtFormatError.h"
#include "JtLOD.h"
#include "JtPartUtil.h"
#include "JtkXTEntityFactory.h"

namespace jtk {
namespace {

constexpr int spoolFilesOf(std::uint64_t bytes) {
  int files = 0;
  for (std::uint64_t stored = 0; stored < bytes; ++files) stored += spoolGroupSize(stored);
  return files;
}
static_assert(spoolFilesOf(std::uint64_t(20) << 40U) < 62'000, "20 TiB need too many files");

constexpr const char* kPMIKey = "JT_LLPROP_PMI";

void setText(JtNode& node, const char* key, const JtString& text) {
  node.addProperty(jt::make<JtStringPropAtom>(JtString(key)).get(),
                   jt::make<JtStringPropAtom>(text).get(), true);
}

/// PMI that was not changed stays the segment that it is.
void writePMI(JtkUnitHierarchy& from, JtNode& to) {
  auto* holder = jt::as<VisMetaDataNode>(&to);
  jt::Ref<PMIDataManager> pmi;
  if (!holder) return;
  if (from.updatePMIDataManager(pmi) != 1) throw JtFormatError("bad_pmi", jt::lastError());
  if (!pmi) return;
  const auto* stored = jt::as<JtLateLoadedPropAtom>(holder->property(JtString(kPMIKey)));
  if (stored && stored->loaded() == pmi.get()) return;
  holder->setPMI(pmi->isEmpty() ? nullptr : pmi.get());
}

/// Adds shapes to the node for one level of detail: one shape is that node itself.
void addLevel(const JtkPart& from, int lod, JtGroup& to) {
  std::vector<JtShape*> shapes;
  for (const auto list : {JtkPart::ShapeList::SURFACES, JtkPart::ShapeList::LINES})
    for (int i = 0; i < from.numShapes(lod, list); ++i) shapes.push_back(from.shape(lod, i, list));
  if (shapes.size() == 1) {
    to.addChild(shapes.front());
    return;
  }
  const auto level = jt::make<JtGroup>();
  for (JtShape* shape : shapes) level->addChild(shape);
  to.addChild(level.get());
}

template <class Visit>
void visitShapes(const JtkPart& part, int lods, const Visit& visit) {
  for (const auto list : {JtkPart::ShapeList::SURFACES, JtkPart::ShapeList::LINES})
    for (int lod = 0; lod < std::min(lods, part.numLODs(list)); ++lod)
      for (int i = 0; i < part.numShapes(lod, list); ++i) visit(*part.shape(lod, i, list));
}

}  // namespace

const JtString& sceneNameOf(const JtkPart& part) {
  return part.sceneGraphName().isEmpty() ? part.name() : part.sceneGraphName();
}

void writeValues(JtkHierarchy& from, JtNode& to) {
  JtString name = from.name();
  if (from.isOfType(JtkEntity::PART)) {
    const auto& part = static_cast<const JtkPart&>(from);
    if (!part.sceneGraphName().isEmpty()) name = part.sceneGraphName();
  }
  if (!name.isEmpty()) setText(to, Jt::jtPropName, name);
  const char* unit = JtPartUtil::unitName(unitOfCode(from.units()));
  if (*unit) setText(to, Jt::jtPropMeasurementUnits, JtString(unit));
  for (int i = 0; i < from.numProperties(); ++i) {
    const JtkProperty& property = *from.property(i);
    to.addProperty(jt::make<JtStringPropAtom>(property.key()).get(), property.atom(), true);
  }
  if (!from.isOfType(JtkEntity::INSTANCE)) writePMI(static_cast<JtkUnitHierarchy&>(from), to);
  if (from.isHidden()) to.setIgnored(true);
}

void writeAttributes(const JtkHierarchy& from, JtNode& to) {
  for (int i = 0; i < from.numAttributes(); ++i)
    to.appendAttribute(
        const_cast<JtAttribute*>(from.attribute(JtkEntity::ATTRIBUTE, i)->jtAttribute()));
}

void writeShapes(const JtkPart& from, JtGroup& to) {
  const int lods =
      std::max(from.numLODs(JtkPart::ShapeList::SURFACES), from.numLODs(JtkPart::ShapeList::LINES));
  if (lods == 0) return;
  const auto lod = jt::make<JtRangeLOD>();
  if (lods > 1) lod->setRangeLimits(from.rangeLimits());
  for (int level = 0; level < lods; ++level) addLevel(from, level, *lod);
  to.addChild(lod.get());
}

void writeBreps(const JtkPart& from, JtGroup& to) {
  const auto write = [&](const JtkBrep* brep) {
    if (!brep) return;
    JtNode* holder = &to;
    const bool isPlain = brep->placement() == jt::kIdentity && !brep->isHidden();
    if (!isPlain || to.property(brep->key())) {
      // Wireframes are drawn of parts.
      constexpr int kWireframe = 18;
      const jt::Ref<JtGroup> own = brep->segmentType() == kWireframe
                                       ? jt::Ref<JtGroup>(jt::make<VisPartNode>())
                                       : jt::make<JtGroup>();
      if (brep->placement() != jt::kIdentity)
        own->appendAttribute(jt::make<JtXform>(brep->placement()).get());
      own->setIgnored(brep->isHidden());
      to.addChild(own.get());
      holder = own.get();
    }
    holder->addProperty(jt::make<JtStringPropAtom>(brep->key()).get(), brep->atom(), true);
  };
  write(from.brep());
  write(from.wireframeBrep());
  for (int i = 0; i < from.numIndexedBreps(); ++i) write(from.indexedBrep(i));
}

std::uint64_t triangleCount(const JtkPart& part) {
  std::uint64_t count = 0;
  visitShapes(part, 1, [&](const JtShape& shape) {
    if (jt::as<JtSparseShape>(&shape) || !shape.hasMesh()) return;
    const std::int32_t stated = shape.statistics().polygons.max;
    if (stated > 0) {
      count += static_cast<std::uint64_t>(stated);
    } else if (const auto mesh = shape.mesh()) {
      count += mesh->primitiveCount();
      shape.releaseMesh();
    }
  });
  return count;
}

std::uint64_t sizeOf(const JtkPart& part) {
  constexpr std::uint64_t kNode = 512;
  constexpr std::uint64_t kVertex = 32;
  constexpr std::uint64_t kTriangle = 24;
  std::uint64_t size = kNode;
  visitShapes(part, JtkPart::kMostLODs, [&](const JtShape& shape) {
    const jt::ShapeStatistics& statistics = shape.statistics();
    const auto times = [](std::int32_t count, std::uint64_t bytes) {
      return static_cast<std::uint64_t>(std::max(count, 0)) * bytes;
    };
    size +=
        kNode + times(statistics.vertices.max, kVertex) + times(statistics.polygons.max, kTriangle);
  });
  return size;
}

}  // namespace jtk
