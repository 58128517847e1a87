#include "ExportSources.h"

#include <algorithm>
#include <string_view>

#include "JtLastError.h"

namespace jtk {
namespace {

/// True for failures of the place that is written to, which no other content can avoid.
bool isOutputFailure(const std::string& code) {
  constexpr std::string_view kCodes[] = {"no_space", "unwritable",      "write_failed", "read_only",
                                         "exists",   "changed_on_disk", "verify_failed"};
  return std::ranges::find(kCodes, code) != std::end(kCodes);
}

}  // namespace

void ExportSources::noteFile(const JtSceneObject& object) {
  const jt::FileImage* file = jt::fileOf(object);
  if (file && files_.try_emplace(file, file).second) names_.insert(file->name());
}

void ExportSources::noteFiles(const JtNode& node) {
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; node.getProperty(i, key, value); ++i) noteFile(*value);
}

void ExportSources::releasePages() {
  for (const auto& [file, held] : files_) file->releasePages();
  files_.clear();
}

bool ExportSources::isFinal(const JtFormatError& error) const {
  if (!jt::isReadFailure(error.code())) return isOutputFailure(error.code());
  if (names_.contains(error.where().file)) fail(error.what());
  return true;
}

void ExportSources::fail(const std::string& reason) {
  throw JtFormatError("source_unreadable", reason);
}

bool ExportSources::isUnused(const JtNode* source) const {
  const auto held = held_.find(source);
  return held == held_.end() || held->second->refCount() <= 2;
}

}  // namespace jtk
