#include "ExportRecord.h"

#include <algorithm>

#include "JtSaturating.h"
#include "JtTexture.h"

namespace jtk {

jt::SaveOptions ExportSettings::saveOptions() const {
  jt::SaveOptions options;
  options.version = version;
  options.dryRun = dryRun;
  options.shapeEncoding = encoding;
  options.partFiles = false;
  return options;
}

jt::Ref<JtPartition> ExportSettings::newPartition() const {
  auto partition = jt::make<JtPartition>(nullptr, true);
  partition->setVersion(version);
  return partition;
}

ExportRecord::ExportRecord(const ExportSettings& settings, JtkHierarchy& root)
    : settings_(settings), places_(root), images_(settings.dryRun) {
  report_.parts = places_.parts();
  report_.instances = places_.instances();
}

void ExportRecord::countTriangles(const JtkPart& part, std::uint64_t triangles) {
  report_.triangles =
      jt::saturatingSum(report_.triangles, jt::saturatingProduct(triangles, places_.pathsTo(part)));
}

void ExportRecord::leaveOut(const JtNode* source, const JtString& part, const char* what,
                            const std::string& reason) {
  if (source && !reported_.emplace(source, part.units(), what, reason).second) return;
  report_.leftOut.push_back({part, what, reason});
}

void ExportRecord::bringTextures(const JtNode& node, const JtNode* source, const JtString& name,
                                 const JtStorageLocation& place) {
  for (int i = 0; i < node.numAttributes(); ++i) {
    const JtAttribute& attribute = *node.attribute(i);
    if (const std::string reason = images_.bring(attribute, place); !reason.empty())
      leaveOut(source, name, "texture image",
               "it is the file \"" +
                   static_cast<const JtTextureImage&>(attribute).fileName().stringToMbs() +
                   "\": " + reason);
  }
}

void ExportRecord::noteWarnings(const jt::SaveReport& saved) {
  for (const jt::Diagnostic& warning : saved.warnings) {
    const bool isKnown = std::ranges::any_of(warnings_, [&](const jt::Diagnostic& other) {
      return other.code == warning.code && other.message == warning.message;
    });
    if (!isKnown) warnings_.push_back(warning);
  }
}

void ExportRecord::forget(const JtNode* source) {
  const auto first = reported_.lower_bound({source, {}, {}, {}});
  auto end = first;
  while (end != reported_.end() && std::get<0>(*end) == source) ++end;
  reported_.erase(first, end);
}

}  // namespace jtk
