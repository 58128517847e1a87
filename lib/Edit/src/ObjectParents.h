#pragma once

#include <string>

#include "JtwObjects.h"

namespace jtw {

/// Hangs an object under another one, which is none of those below it, and notes the frame list
/// that it leaves. False when the model refuses.
bool reparent(Objects& objects, JtwNode& node, JtwNode& parent);

/// Removes an object with everything below it; attachments to it stay. @param name for messages
/// Throws EditError "not_supported".
void removeObject(Objects& objects, JtwNode& node, const std::string& name);

}  // namespace jtw
