#pragma once

#include <optional>
#include <string>
#include <vector>

#include "JsonWriter.h"
#include "JtLosses.h"
#include "JtPartition.h"
#include "Output.h"

namespace tool {

class Arguments;
class Session;

/// The option --version: the JT version to write. Throws Failure "usage".
std::optional<jt::FileVersion> versionOption(const Arguments& arguments);
/// Saves a partition (null location: its own place). Throws Failure.
/// @param name what the output is called in messages
jt::SaveReport savePartition(JtPartition& partition, JtStorageLocation* location,
                             const jt::SaveOptions& options, const std::string& name);

/// Writes the members "saved" and "alsoSaved" of a result.
void writeSaved(JsonWriter& json, const jt::SaveReport& report);
void writeSaved(Session& session, const jt::SaveReport& report);
/// What a save leaves out, with the nodes that it belongs to. @param top what was saved
std::vector<jt::Loss> listLosses(const JtPartition& top, const jt::SaveReport& report);
/// Writes the member "losses" of a result.
void writeLosses(JsonWriter& json, const std::vector<jt::Loss>& losses);
void showLosses(Output& out, const std::vector<jt::Loss>& losses, bool dryRun);
/// Tells in text what a save did, or would do; the warnings go to standard error in any case.
void showSaved(Output& out, const jt::SaveReport& report, bool dryRun);
void showSaved(Session& session, const jt::SaveReport& report, bool dryRun);
/// To be called right after a save: its warnings go to standard error, and a later failure says
/// that the save is done.
void showSaveWarnings(Session& session, const jt::SaveReport& report);

/// The word for an action: what is new counts as rewritten.
const char* actionName(jt::SegmentAction::Kind kind);

}  // namespace tool
