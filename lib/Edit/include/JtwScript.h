#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "JtwExport.h"
#include "JtwNodeEdits.h"
#include "JtwObjects.h"

namespace jtw {

/// One step of a script: an edit with its arguments.
///
/// | verb | arguments |
/// |---|---|
/// | `set` | `key` or `select`; settings, see NodeEdits |
/// | `add` | `kind`, `key`, `parent`, `type`, `leader`, `as`; settings |
/// | `rm` | `key` or `select` |
/// | `mv` | `key` or `select`, `parent`, `keep-place` |
/// | `clone` | `key`, `new-key`, `without-geometry`, `as`; settings |
///
/// `key` and `parent` are addresses (of `add`, `key` is that of the new object), `select` is an
/// expression. `as` gives the new object a label: `@LABEL` is its address in the steps that follow.
struct ScriptStep {
  std::string verb;
  std::vector<Setting> arguments;
};

/// What a script did.
struct ScriptResult {
  std::size_t steps = 0;
  std::vector<long> changed;   ///< keys of what was set, moved or copied, in the order of the steps
  std::vector<long> added;     ///< keys of new objects
  std::vector<long> removed;   ///< keys of objects that are gone
  std::vector<long> detached;  ///< keys of what was attached to them
};

/// What is called behind each step; may be empty. @param done how many steps are made
using ScriptProgress = std::function<void(std::size_t done)>;

/// Makes the steps of a script as one transaction: all, or none when one cannot be made. Nothing is
/// saved. Frames and annotations are written to their JT nodes. Throws EditError; the message
/// begins with the step, "steps[3] (mv): ...", and the component is as it was. All wrappers of the
/// component are new then: see JtwTransaction.
JTW_API ScriptResult runScript(Objects& objects, std::span<const ScriptStep> steps,
                               const ScriptProgress& progress = {});

/// The verbs that scripts know, for messages and documents.
JTW_API std::span<const char* const> scriptVerbs() noexcept;

}  // namespace jtw
