#include "JtPropAtom.h"

#include "JtPartition.h"
#include "file/SegmentObjects.h"

JtLateLoadedPropAtom::JtLateLoadedPropAtom(jt::Ref<JtBase> object, std::int32_t segmentType)
    : segmentId_(JtGuid::random()), segmentType_(segmentType), object_(std::move(object)) {}

JtLateLoadedPropAtom::~JtLateLoadedPropAtom() = default;

bool JtLateLoadedPropAtom::isLoaded() const { return static_cast<bool>(object_); }

jt::Ref<JtBase> JtLateLoadedPropAtom::load(const JtPartition* partition, const JtType* wanted) {
  // A segment may hold several objects: the one in memory need not be the one that is asked for.
  if (object_ && (!wanted || JtType::isA(object_.get(), wanted))) return object_;
  const jt::file::SceneSource* source = jt::file::SceneSource::sourceOf(*this);
  // The atom's own file comes first: an id is looked up where it was written.
  const jt::file::Container* containers[] = {source ? &source->container() : nullptr,
                                             partition ? partition->container() : nullptr};
  for (const jt::file::Container* container : containers) {
    if (!container) continue;
    const jt::file::TocEntry* entry = container->find(segmentId_);
    if (!entry) continue;
    jt::Ref<JtBase> object = jt::file::readSegmentObject(*container, *entry, wanted);
    if (!object_) object_ = object;
    return object;
  }
  return {};
}
