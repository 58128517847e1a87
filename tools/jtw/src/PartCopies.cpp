#include "PartCopies.h"

#include <algorithm>
#include <filesystem>
#include <list>
#include <map>
#include <set>
#include <unordered_set>

#include "Failure.h"
#include "InputFile.h"
#include "JtByteText.h"
#include "JtStackNodeIter.h"
#include "JtTemporaryPath.h"
#include "SaveResult.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

/// The same text for all names of a file, whether it is there or not.
fs::path identity(const fs::path& path) {
  std::error_code error;
  return fs::weakly_canonical(fs::absolute(path, error), error);
}

fs::path wholePath(const std::string& file) {
  std::error_code error;
  return fs::absolute(file, error).lexically_normal();
}

/// The partitions of the graph's own file that represent part files.
std::vector<JtPartition*> holdersIn(JtPartition& graph) {
  std::vector<JtPartition*> holders;
  std::unordered_set<const JtNode*> shared;
  const auto iterator = jt::make<JtStackNodeIter>();
  iterator->setPreVisit([&](JtNode* node) {
    if (node->numParents() > 1 && !shared.insert(node).second)
      return JtStackNodeIter::Next::skipChildren;
    auto* partition = jt::as<JtPartition>(node);
    if (!partition || partition == &graph || partition->fileName().isEmpty())
      return JtStackNodeIter::Next::descend;
    holders.push_back(partition);
    return JtStackNodeIter::Next::skipChildren;
  });
  iterator->run(&graph);
  return holders;
}

/// The part files of an assembly, on their way to the places beside a copy. What was written is
/// taken back unless keep() is called.
class PartCopies {
 public:
  PartCopies(JtPartition& top, const std::vector<jt::PartFile>& parts, const CopyNames& names);
  ~PartCopies();
  PartCopies(const PartCopies&) = delete;
  PartCopies& operator=(const PartCopies&) = delete;

  /// Makes a graph refer to the copies.
  void redirect(JtPartition& graph) const;
  /// True when files are in the places of the copies.
  bool replacesAny() const;
  /// Writes the part files that could be read. Throws Failure.
  std::vector<jt::SaveReport> save(const jt::SaveOptions& options);
  void keep() noexcept {
    for (jt::TemporaryPath& path : made_) path.keep();
  }

 private:
  struct Copy {
    JtPartition* part;
    fs::path target;
  };
  void makeFolders(const fs::path& folder);

  fs::path base_;  // the folder of the copy
  std::vector<Copy> copies_;
  std::map<std::string, std::string>
      newNames_;                       // of files, by the names in the assembly's own file
  std::list<jt::TemporaryPath> made_;  // files and folders that were not there, in order
};

PartCopies::PartCopies(JtPartition& top, const std::vector<jt::PartFile>& parts,
                       const CopyNames& names) {
  const auto& [input, output, changes] = names;
  const fs::path from = wholePath(input).parent_path();
  const fs::path folder = fs::path(output).parent_path();
  base_ = folder.empty() ? "." : folder;
  if (!changes && identity(from) == identity(wholePath(output).parent_path()))
    return;  // they are where they have to be
  std::set<fs::path> taken{identity(input), identity(output)};
  for (const jt::PartFile& part : parts) taken.insert(identity(part.file));
  const auto relative = [&from](const std::string& file) {
    return wholePath(file).lexically_relative(from);
  };
  const auto place = [&](const fs::path& below) {
    copies_.clear();
    for (const jt::PartFile& part : parts)
      if (part.partition) copies_.push_back({part.partition, folder / below / relative(part.file)});
    return std::ranges::none_of(
        copies_, [&](const Copy& copy) { return taken.contains(identity(copy.target)); });
  };
  if (place({})) return;
  const std::string name = fs::path(output).stem().string();
  fs::path below = name;
  for (int i = 2; !place(below); ++i) below = name + "-" + std::to_string(i);
  for (const JtPartition* holder : holdersIn(top))
    if (const JtPartition* opened = holder->externalPartition())
      newNames_[jt::bytesOfText(holder->fileName())] =
          (below / relative(jt::bytesOfText(opened->storageLocation()->displayName()))).string();
}

PartCopies::~PartCopies() {
  while (!made_.empty()) made_.pop_back();  // what a folder holds goes before it
}

void PartCopies::redirect(JtPartition& graph) const {
  if (newNames_.empty()) return;
  for (JtPartition* holder : holdersIn(graph))
    if (const auto name = newNames_.find(jt::bytesOfText(holder->fileName()));
        name != newNames_.end())
      holder->setFileName(jt::textOfBytes(name->second));
}

void PartCopies::makeFolders(const fs::path& folder) {
  std::error_code error;
  if (folder.empty() || fs::is_directory(folder, error)) return;
  makeFolders(folder.parent_path());
  if (!fs::create_directory(folder, error) && !fs::is_directory(folder))
    throw Failure(ExitCode::output, "unwritable", "the folder cannot be made: " + error.message(),
                  {.file = folder.string()});
  made_.emplace_back(folder.string(), jt::TemporaryPath::Kind::folder);
}

bool PartCopies::replacesAny() const {
  std::error_code error;
  return std::ranges::any_of(copies_,
                             [&](const Copy& copy) { return fs::exists(copy.target, error); });
}

std::vector<jt::SaveReport> PartCopies::save(const jt::SaveOptions& options) {
  jt::SaveOptions ofPart = options;
  ofPart.partFiles = false;
  std::vector<jt::SaveReport> reports;
  for (const Copy& copy : copies_) {
    std::error_code error;
    const bool isNew = !options.dryRun && !fs::exists(copy.target, error);
    // The folder of the copy itself has to be there, as for every file that is written.
    if (!options.dryRun && fs::is_directory(base_, error)) makeFolders(copy.target.parent_path());
    const auto location = jt::make<JtFSStorageLocation>(copy.target.string());
    // Before it is made: afterwards nothing may fail until it is in the list.
    if (isNew) made_.emplace_back(copy.target.string());
    reports.push_back(savePartition(*copy.part, location.get(), ofPart, copy.target.string()));
  }
  return reports;
}

}  // namespace

jt::SaveReport saveCopy(JtPartition& graph, JtPartition& assembly,
                        const std::vector<jt::PartFile>& parts, const CopyNames& names,
                        const jt::SaveOptions& options) {
  const jt::Ref<JtStorageLocation> location = outputLocation(names.output);
  PartCopies copies(assembly, parts, names);
  copies.redirect(graph);
  jt::SaveOptions ofTop = options;
  ofTop.partFiles = false;
  if (copies.replacesAny() && !options.dryRun) {
    // A replaced file does not come back: what cannot be encoded is found before the first one is.
    jt::SaveOptions trial = ofTop;
    trial.dryRun = true;
    copies.save(trial);
    savePartition(graph, location.get(), trial, names.output);
  }
  std::vector<jt::SaveReport> saved = copies.save(options);
  jt::SaveReport report = savePartition(graph, location.get(), ofTop, names.output);
  copies.keep();
  if (names.output == "-") report.file = names.output;
  report.alsoSaved = std::move(saved);
  return report;
}

}  // namespace tool
