#pragma once

#include <optional>
#include <string>

#include "Component.h"
#include "DmKrUtilsUpdateJtMaterials.h"
#include "Failure.h"
#include "JsonWriter.h"
#include "Output.h"

namespace tool {

/// What became of one document in a material update.
struct MaterialUpdate {
  enum class Outcome : char { updated, alreadyUpdated, native, failed };

  Outcome outcome = Outcome::failed;
  std::string code;                ///< as the library reported it; empty when the file was updated
  std::string file;                ///< the JT file; empty when there is none
  std::optional<Failure> failure;  ///< set when it failed
  DmKrUtilsUpdateJtMaterials::Result conversion;
  std::optional<jt::SaveReport> saved;
};

/// The word for it: "updated", "already-updated", "native", "failed".
const char* outcomeName(MaterialUpdate::Outcome outcome);

/// Updates the JT file of one document. Does not throw a Failure: one that is met is in the result.
/// @pre the library is started and has its read limits
MaterialUpdate updateMaterials(const DocumentName& document, bool dryRun);

/// Writes the members of the result, for a document as the command line named it.
void writeMaterialUpdate(JsonWriter& json, const std::string& document,
                         const MaterialUpdate& update);
/// Reports the result in one line.
void showMaterialUpdate(Output& out, const Style& style, const std::string& document,
                        const MaterialUpdate& update);

}  // namespace tool
