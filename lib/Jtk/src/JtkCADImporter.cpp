#include "JtkCADImporter.h"

#include "SceneImport.h"

JtkCADImporter::JtkCADImporter() = default;
JtkCADImporter::~JtkCADImporter() = default;

int JtkCADImporter::setLoadOption(int option) {
  if (option != TESSELLATION && option != EXACT && option != STRUCTURE) return 0;
  load_ = option;
  return 1;
}

int JtkCADImporter::setOption(Option option, int value) {
  if (option != FIRST_RESERVED && option != SECOND_RESERVED) return 0;
  reserved_[option - 1] = value;
  return 1;
}

int JtkCADImporter::importWFRep(VisPartNode* part, jt::Ref<JtkBrep>& brep) const {
  if (!part || part->ensureWFRep() != 1) return 0;
  const JtString key("JT_LLPROP_WFREP");
  auto* atom = jt::as<JtLateLoadedPropAtom>(part->property(key));
  if (!atom) return 0;
  const auto made = jt::make<JtkBrep>(key, atom);
  for (const std::int32_t id : part->wfRep()->edgeIds()) made->addWire(jt::make<JtkWire>(id).get());
  brep = made;
  return 1;
}

jt::Ref<JtkHierarchy> JtkCADImporter::importHierarchy(JtNode* node) const {
  return JtkSceneImport(*this).run(node);
}
