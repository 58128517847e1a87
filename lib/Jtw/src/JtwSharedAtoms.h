#pragma once

namespace jtw {

/// Makes the key atoms that are missing, in the order of the table.
void makeSharedAtoms();
/// Drops the library's references; properties keep the atoms that they use.
void releaseSharedAtoms();

}  // namespace jtw
