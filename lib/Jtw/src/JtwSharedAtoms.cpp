#include "JtwSharedAtoms.h"

namespace jtw {

namespace {

// The one piece of state that all components share: made by JtwNode::init(), gone after fini().
std::array<jt::Ref<JtPropAtom>, kKeyNames.size()>& sharedAtoms() {
  static std::array<jt::Ref<JtPropAtom>, kKeyNames.size()> atoms;
  return atoms;
}

}  // namespace

void makeSharedAtoms() {
  auto& atoms = sharedAtoms();
  for (std::size_t i = 0; i < atoms.size(); ++i)
    if (!atoms[i]) atoms[i] = jt::make<JtStringPropAtom>(JtString(kKeyNames[i]));
}

void releaseSharedAtoms() {
  for (auto& atom : sharedAtoms()) atom = nullptr;
}

JtPropAtom* keyAtom(Key key) {
  auto& atom = sharedAtoms()[static_cast<std::size_t>(key)];
  if (!atom) makeSharedAtoms();
  return atom.get();
}

}  // namespace jtw
