#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "Command.h"
#include "Component.h"
#include "InputFile.h"
#include "JtwPatch.h"
#include "PatchDocument.h"
#include "Session.h"

namespace tool {
namespace {

/// The first of the differences that a patch cannot hold.
std::string lossText(const std::vector<jt::Difference>& losses) {
  constexpr std::size_t kMost = 10;
  std::string text = "a patch cannot hold this:";
  for (std::size_t i = 0; i < std::min(kMost, losses.size()); ++i) {
    text += (i == 0 ? " " : "; ") + losses[i].path + " " + jt::differenceName(losses[i].kind);
    if (!losses[i].name.empty()) text += " " + losses[i].name;
  }
  return losses.size() <= kMost ? text : text + "; and more";
}

}  // namespace

ExitCode runDiffPatch(Session& session) {
  const std::string* given = session.arguments().value("output");
  const std::string file = given ? *given : "-";
  for (const char* name : {"select", "segments", "picture", "tolerance"})
    if (session.arguments().has(name))
      failUsage("--patch is of whole components, and exact; leave --" + std::string(name) + " out");
  Component a(session, session.argument(0), false);
  const Component b(session, session.argument(1), false);
  jtw::Patch patch =
      jtw::difference(jtw::ComponentFacts(a.objects()), jtw::ComponentFacts(b.objects()));
  patch.base = a.document();
  if (const auto losses = jtw::lossesOf(a.objects(), b.root(), patch); !losses.empty())
    throw Failure(ExitCode::no, "not_in_patch", lossText(losses), {.file = b.document()});
  claimOutput(session, file, false);
  const std::string text = patchText(patch);
  writeBytes(file, std::as_bytes(std::span(text)));
  if (file == "-") return ExitCode::done;
  session.noteWritten(file);
  if (!session.wantsJson()) {
    session.report().line("wrote " + counted(patch.changes.size(), "change") + " to " +
                          printable(file));
    return ExitCode::done;
  }
  session.beginResult();
  session.json().member("patch", file);
  session.json().member("changes", patch.changes.size());
  session.endResult();
  return ExitCode::done;
}

}  // namespace tool
