#include "JtPropAtom.h"

#include "JtPartition.h"
#include "document/LoadMutex.h"
#include "file/graph/SceneSource.h"
#include "file/segments/SegmentObjects.h"

JtLateLoadedPropAtom::JtLateLoadedPropAtom(jt::Ref<JtBase> object, std::int32_t segmentType)
    : segmentId_(JtGuid::random()), segmentType_(segmentType), object_(std::move(object)) {}

JtLateLoadedPropAtom::~JtLateLoadedPropAtom() = default;

bool JtLateLoadedPropAtom::isLoaded() const { return loaded() != nullptr; }

const JtBase* JtLateLoadedPropAtom::loaded() const noexcept {
  const std::lock_guard lock(jt::loadMutexOf(this));
  return object_.get();
}

jt::Ref<JtBase> JtLateLoadedPropAtom::keep(const jt::Ref<JtBase>& object, const JtType* wanted,
                                           std::shared_ptr<const void> memory) {
  const std::lock_guard lock(jt::loadMutexOf(this));
  if (!object_) {
    object_ = object;
    memory_ = std::move(memory);
  }
  return object_ && (!wanted || JtType::isA(object_.get(), wanted)) ? object_ : object;
}

jt::Ref<JtBase> JtLateLoadedPropAtom::load(const JtPartition* partition, const JtType* wanted) {
  // A segment may hold several objects: the one in memory need not be the one that is asked for.
  if (jt::Ref<JtBase> held = keep({}, wanted)) return held;
  const jt::file::SceneSource* source = jt::file::SceneSource::sourceOf(*this);
  // The atom's own file comes first: an id is looked up where it was written.
  const jt::file::Container* containers[] = {source ? &source->container() : nullptr,
                                             partition ? partition->container() : nullptr};
  for (const jt::file::Container* container : containers) {
    if (!container) continue;
    const jt::file::TocEntry* entry = container->find(segmentId_);
    if (!entry) continue;
    const auto memory = std::make_shared<jt::MemoryShare>(container->share());
    return keep(jt::file::readSegmentObject(*container, *entry, wanted, memory.get()), wanted,
                memory);
  }
  return {};
}
