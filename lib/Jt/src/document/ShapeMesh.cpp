// The geometry of shapes: found in a segment of the shape's file, or set and still to be stored.

#include <new>

#include "JtFormatError.h"
#include "JtPartition.h"
#include "JtSourceFile.h"
#include "file/graph/SceneSource.h"
#include "file/shapes/ShapeGeometry.h"
#include "file/shapes/ShapeSegment.h"
#include "scene/Recording.h"

namespace {

const JtString& geometryKey() {
  static const JtString key("JT_LLPROP_SHAPEIMPL");
  return key;
}

/// The atom that names a shape's geometry, under whatever key, or null.
const JtLateLoadedPropAtom* geometryAtom(const JtShape& shape, JtPropAtom** key = nullptr) {
  JtPropAtom* name = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; shape.getProperty(i, name, value); ++i) {
    const auto* late = jt::as<JtLateLoadedPropAtom>(value);
    if (!late || !jt::file::isShapeSegment(late->segmentType())) continue;
    if (key) *key = name;
    return late;
  }
  return nullptr;
}

/// Where an atom's segment lies.
struct Stored {
  jt::file::SceneSource* source = nullptr;
  const jt::file::TocEntry* entry = nullptr;
};

Stored storedOf(const JtLateLoadedPropAtom& atom) {
  jt::file::SceneSource* source = jt::file::SceneSource::sourceOf(atom);
  if (!source) return {};
  return {source, source->container().find(atom.segmentId())};
}

/// The geometry of a shape: what is held, else what `decode` makes of the stored segment.
template <class Decode>
std::shared_ptr<const jt::Mesh> meshOf(const JtShape& shape, const Decode& decode) {
  jt::setLastError({});
  try {
    const JtLateLoadedPropAtom* atom = geometryAtom(shape);
    if (!atom) return {};
    if (const auto* held = jt::as<jt::file::ShapeGeometry>(atom->loaded())) return held->mesh();
    const Stored stored = storedOf(*atom);
    if (!stored.entry)
      throw JtFormatError(
          "dangling_segment",
          "a shape names segment " + atom->segmentId().text() + ", which is not in the file",
          stored.source ? stored.source->position(0) : jt::FilePosition{});
    return decode(stored);
  } catch (const JtFormatError& error) {
    jt::setLastError(error, {});
  } catch (const std::bad_alloc&) {
    jt::setLastError("a shape needs more memory than there is", "out_of_memory");
  }
  return {};
}

}  // namespace

std::shared_ptr<const jt::Mesh> JtShape::mesh() const {
  return meshOf(*this,
                [](const Stored& stored) { return stored.source->shapes().mesh(*stored.entry); });
}

std::shared_ptr<const jt::Mesh> JtPrimitiveSet::tessellate(float tolerance) const {
  return meshOf(*this, [tolerance](const Stored& stored) {
    return std::make_shared<const jt::Mesh>(
        readShapeSegment(stored.source->container(), *stored.entry,
                         stored.source->shapes().variants(), tolerance)
            .mesh);
  });
}

bool JtShape::hasMesh() const { return geometryAtom(*this) != nullptr; }

void JtShape::releaseMesh() const {
  const JtLateLoadedPropAtom* atom = geometryAtom(*this);
  if (!atom) return;
  const Stored stored = storedOf(*atom);
  if (stored.entry) stored.source->shapes().release(*stored.entry);
}

void JtShape::dropSegments() {
  JtPropAtom* key = nullptr;
  while (geometryAtom(*this, &key)) {
    const jt::Ref<JtPropAtom> held(key);
    if (!deleteProperty(key)) break;
  }
}

void JtShape::setMesh(std::shared_ptr<const jt::Mesh> mesh) {
  if (isCarried())
    throw JtFormatError("bad_mesh", "a shape that could not be read cannot be given geometry");
  if (!mesh) {
    dropSegments();
    setStatistics({});
    return;
  }
  if (const std::string flaw = mesh->flaw(); !flaw.empty()) throw JtFormatError("bad_mesh", flaw);
  if (takes() != mesh->kind)
    throw JtFormatError("bad_mesh", std::string("a shape of type ") + typeID()->name() +
                                        " cannot hold a mesh of this kind");
  dropSegments();
  setStatistics(jt::file::statisticsOf(*mesh));
  change(size_);
  size_ = 0;
  followMesh(*mesh);
  const auto geometry = jt::make<jt::file::ShapeGeometry>(std::move(mesh));
  constexpr std::int32_t kShapeSegment = 7;  // a save sets the level that follows from the place
  const auto atom = jt::make<JtLateLoadedPropAtom>(geometry, kShapeSegment);
  const auto key = jt::make<JtStringPropAtom>(geometryKey());
  addProperty(key.get(), atom.get(), true);
}

void JtVertexShape::followMesh(const jt::Mesh& mesh) {
  setVertexBindings(jt::codec::bindingsOf(mesh).bits);
}

jt::Ref<JtShape> jt::makeShape(std::shared_ptr<const Mesh> mesh) {
  if (!mesh) throw JtFormatError("bad_mesh", "a shape needs a mesh");
  Ref<JtShape> shape;
  switch (mesh->kind) {
    case Mesh::Kind::triangles:
      shape = make<JtTriStripSet>();
      break;
    case Mesh::Kind::polylines:
      shape = make<JtPolylineSet>();
      break;
    case Mesh::Kind::points:
      shape = make<JtPointSet>();
      break;
  }
  shape->setMesh(std::move(mesh));
  return shape;
}
