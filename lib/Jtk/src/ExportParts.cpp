#include "ExportParts.h"

#include "ExportNodes.h"
#include "JtLastError.h"

namespace jtk {

void ExportParts::checkGeometry(JtkPart& part, const JtStorageLocation& place) {
  const JtNode* source = part.geometrySource();
  const JtString& name = sceneNameOf(part);
  ExportSources& sources = record_.sources();
  if (!part.missingShapes().empty())
    record_.leaveOut(source, name, "geometry", part.missingShapes());
  for (const auto list : {JtkPart::ShapeList::SURFACES, JtkPart::ShapeList::LINES})
    for (int lod = part.numLODs(list); lod-- > 0;)
      for (int i = part.numShapes(lod, list); i-- > 0;) {
        const JtShape& shape = *part.shape(lod, i, list);
        sources.noteFile(shape);
        record_.bringTextures(shape, source, name, place);
        const bool isDecoded = shape.takes() || jt::as<JtPrimitiveSet>(&shape);
        if (!isDecoded || !shape.hasMesh()) continue;
        if (shape.mesh()) {
          shape.releaseMesh();
          continue;
        }
        if (jt::isReadFailure(jt::lastErrorCode())) ExportSources::fail(jt::lastError());
        record_.leaveOut(source, name, "geometry", jt::lastError());
        part.removeShape(lod, i, list);
      }
  if (!settings().isExact) return;
  if (part.brep()) sources.noteFile(*part.brep()->atom());
  if (part.wireframeBrep()) sources.noteFile(*part.wireframeBrep()->atom());
  for (int i = 0; i < part.numIndexedBreps(); ++i)
    if (const JtkBrep* brep = part.indexedBrep(i)) sources.noteFile(*brep->atom());
}

}  // namespace jtk
