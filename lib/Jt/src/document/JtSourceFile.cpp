#include "JtSourceFile.h"

#include "file/graph/SceneSource.h"
#include "file/segments/XtBrep.h"

namespace jt {

const FileImage* fileOf(const JtSceneObject& object) noexcept {
  const file::SceneSource* source = file::SceneSource::sourceOf(object);
  return source ? &source->container().image() : nullptr;
}

std::vector<Ref<JtLateLoadedPropAtom>> bodyPoolsOf(const JtLateLoadedPropAtom& xt) {
  file::SceneSource* source = file::SceneSource::sourceOf(xt);
  const file::TocEntry* entry = source ? source->container().find(xt.segmentId()) : nullptr;
  if (!entry || !file::namesPooledBodies(source->container(), *entry)) return {};
  std::vector<Ref<JtLateLoadedPropAtom>> pools;
  for (const std::uint32_t element : source->poolAtoms())
    pools.emplace_back(as<JtLateLoadedPropAtom>(source->atom(element).get()));
  return pools;
}

}  // namespace jt
