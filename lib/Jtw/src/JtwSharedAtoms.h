#pragma once

#include "JtPropAtom.h"
#include "JtwPropertyNames.h"

namespace jtw {

/// The shared key atom of a property; never null. Made by JtwNode::init(), or here when that has
/// not run. Not owned by the caller; valid until JtwNode::fini().
JtPropAtom* keyAtom(Key key);

/// Makes the key atoms that are missing, in the order of the table.
void makeSharedAtoms();
/// Drops the library's references; properties keep the atoms that they use.
void releaseSharedAtoms();

}  // namespace jtw
