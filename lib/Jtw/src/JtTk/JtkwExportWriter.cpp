#include "JtkwExportWriter.h"

#include <string>

#include "ApiErrStream.h"
#include "Jt.h"
#include "JtkCADExporter.h"
#include "JtkPart.h"
#include "JtkProperty.h"
#include "JtkXTEntityFactory.h"
#include "JtkwNodeAddresses.h"
#include "JtwProperties.h"

namespace {

constexpr int kGoOn = 2;
using ShapeList = JtkPart::ShapeList;
constexpr ShapeList kLists[] = {ShapeList::SURFACES, ShapeList::LINES};

/// Visits all shapes of a list, the last one first.
template <class Visit>
void visitBackwards(JtkPart& part, ShapeList list, const Visit& visit) {
  for (int lod = part.numLODs(list); lod-- > 0;)
    for (int i = part.numShapes(lod, list); i-- > 0;) visit(lod, i);
}

void moveContents(JtkPart& from, JtkPart& to, bool exact) {
  if (exact) {
    if (from.brep()) to.setBrep(from.takeBrep().get());
    if (from.wireframeBrep()) to.setWireframeBrep(from.takeWireframeBrep().get());
    for (int i = 0; i < from.numIndexedBreps(); ++i)
      if (from.indexedBrep(i)) to.setIndexedBrep(i, from.takeIndexedBrep(i).get());
  }
  to.setRangeLimits(from.rangeLimits());
  to.setMissingShapes(from.missingShapes());
  for (const ShapeList list : kLists)
    visitBackwards(from, list, [&](int lod, int i) {
      to.addShape(from.takeShape(lod, i, list).get(), lod, list);
    });
}

void reportNoPart(const JtkPart& part) {
  apiErr << ApiErrCode("JTEXPORT_JtkPART_EXPORT_FAILED")
         << ApiErrPosition(__FILE__, "JtkwExportWriter::partPreCB", __LINE__)
         << part.name().stringToMbs() << endErr;
}

}  // namespace

int JtkwImporter::propertiesCB(JtkProperty* property, JtkHierarchy* /*hierarchy*/) {
  return property && property->key().units().starts_with(u"Kr") ? SKIP : KEEP;
}

std::unique_ptr<JtkwImporter> JtkwExportWriter::importer_;
unsigned JtkwExportWriter::nextPart_ = 1;

JtkwExportWriter::Session::Session(bool exact) : isFirst_(!importer_) {
  if (!isFirst_) return;
  importer_ = std::make_unique<JtkwImporter>();
  importer_->setLoadOption(exact ? JtkCADImporter::EXACT : JtkCADImporter::TESSELLATION);
  importer_->setOption(JtkCADImporter::FIRST_RESERVED, 0);
  importer_->setOption(JtkCADImporter::SECOND_RESERVED, 0);
}

JtkwExportWriter::Session::~Session() {
  if (isFirst_) importer_ = nullptr;
}

int JtkwExportWriter::partPreCB(JtkPart* part, JtkCADExporter* exporter) {
  jt::Ref<JtNode> node;
  if (jtw::takeNodeAddress(*part, node) && node) {
    const bool exact = exporter->geometryOption() == JtkCADExporter::EXACT_GEOMETRY;
    fill(*part, *node, exact);
  }
  part->setUnits(jtk::MILLIMETERS);
  JtkXTEntityFactory::setUnits(jtk::MILLIMETERS);
  return kGoOn;
}

void JtkwExportWriter::fill(JtkPart& part, JtNode& node, bool exact) {
  const std::string name = "e" + std::to_string(nextPart_++) + ".part;;:";
  jtw::setString(&node, Jt::jtPropName, JtString(name), true);
  const jt::Ref<JtkHierarchy> imported = importer_ ? importer_->importHierarchy(&node) : nullptr;
  if (!imported) {
    node.ref();  // as the toolkit's hosts know it: a node that gives nothing is not released
    return;
  }
  if (!imported->isOfType(JtkEntity::PART)) {
    reportNoPart(part);
    return;
  }
  moveContents(static_cast<JtkPart&>(*imported), part, exact);
  part.setGeometrySource(&node);
}

int JtkwExportWriter::partPostCB(JtkPart* part, JtkCADExporter* exporter) {
  if (exporter->geometryOption() == JtkCADExporter::EXACT_GEOMETRY) {
    part->setBrep(nullptr);
    part->setWireframeBrep(nullptr);
    part->clearIndexedBreps();
  }
  for (const ShapeList list : kLists)
    visitBackwards(*part, list, [&](int lod, int i) { part->removeShape(lod, i, list); });
  return kGoOn;
}
