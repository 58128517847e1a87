#include <algorithm>
#include <string>
#include <vector>

#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "InputFile.h"
#include "JtwPatch.h"
#include "PatchDocument.h"
#include "Session.h"

namespace tool {
namespace {

/// What a change is about, in words.
std::string changeText(const jtw::Patch& patch, const jtw::PatchMisfit& misfit) {
  const jtw::PatchChange& change = patch.changes[misfit.change];
  std::string text = "changes[" + std::to_string(misfit.change) + "] (" + change.at + ", " +
                     jtw::patchWhatName(change.what);
  if (!change.name.empty()) text += " " + change.name;
  return text + "): " + misfit.reason;
}

std::string misfitsText(const jtw::Patch& patch, const std::vector<jtw::PatchMisfit>& misfits) {
  constexpr std::size_t kMost = 20;
  std::string text;
  for (std::size_t i = 0; i < std::min(kMost, misfits.size()); ++i)
    text += (text.empty() ? "" : "; ") + changeText(patch, misfits[i]);
  if (misfits.size() > kMost) text += "; and " + std::to_string(misfits.size() - kMost) + " more";
  return text;
}

}  // namespace

ExitCode runApply(Session& session) {
  const std::string& file = session.argument(1);
  const std::string name = file == "-" ? "standard input" : file;
  const std::vector<std::byte> bytes = readBytes(file);
  const jtw::Patch patch =
      readPatch({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, name);
  const bool force = session.arguments().has("force-matching");
  Component component(session, session.argument(0), !session.arguments().has("dry-run"));
  const jtw::ApplyResult result = jtw::applyPatch(component.objects(), patch, force);
  if (!result.misfits.empty() && !force)
    throw Failure(ExitCode::refused, "patch_does_not_fit", misfitsText(patch, result.misfits),
                  {.file = component.document()});
  std::string line = "applied " + counted(result.applied, "change");
  if (!result.misfits.empty()) line += ", left out " + std::to_string(result.misfits.size());
  if (!session.wantsJson())
    for (const jtw::PatchMisfit& misfit : result.misfits)
      session.warn("left out: " + changeText(patch, misfit));
  return saveAndReport(session, component, line, [&](JsonWriter& json) {
    json.member("applied", result.applied);
    json.key("leftOut");
    json.beginArray();
    for (const jtw::PatchMisfit& misfit : result.misfits) {
      const jtw::PatchChange& change = patch.changes[misfit.change];
      json.beginObject(JsonWriter::Layout::line);
      json.member("change", misfit.change);
      json.key("at");
      writePatchPlace(json, change.at);
      json.member("what", jtw::patchWhatName(change.what));
      json.textOrNull("name", change.name);
      json.member("reason", misfit.reason);
      json.end();
    }
    json.end();
  });
}

}  // namespace tool
