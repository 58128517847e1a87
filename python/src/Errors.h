#pragma once

namespace binding {

/// Has what the library throws arrive in Python as jtw.Error, with code, file, segment and offset.
void translateErrors();

}  // namespace binding
