#include <map>
#include <utility>

#include "ExportNodes.h"
#include "ExportParts.h"
#include "JtByteText.h"
#include "JtFormatError.h"
#include "JtInstance.h"
#include "JtPartFolder.h"
#include "JtValidation.h"
#include "LostBreps.h"
#include "VisPartNode.h"

namespace jtk {
namespace {

class PartFiles final : public ExportParts {
 public:
  PartFiles(ExportRecord& record, const jt::Ref<JtFSStorageLocation>& rootFile)
      : ExportParts(record, rootFile), folder_(*rootFile) {}

  jt::Ref<JtNode> write(JtkPart& part) override;
  void forget(const JtNode* source) override;
  void commit() noexcept override { folder_.commit(); }
  std::uint64_t partsInRootFile(std::uint64_t /*parts*/) const noexcept override { return 0; }

 private:
  struct File {
    std::string reference;
    std::optional<jt::Box> bounds;
    std::size_t index;  ///< in the report
    std::uint64_t triangles;
  };
  /// Source, and the texts that a file has of a part.
  using Key = std::pair<const JtNode*, std::u16string>;

  static Key keyOf(const JtkPart& part);
  File encode(JtkPart& part);
  jt::SaveReport save(const JtkPart& part, JtPartition& content, VisPartNode& node,
                      JtStorageLocation& place);

  jt::PartFolder folder_;
  std::map<Key, File> known_;
};

/// What parts share that share a file; with a null source for one that shares it with none.
PartFiles::Key PartFiles::keyOf(const JtkPart& part) {
  Key key{part.geometrySource(), std::u16string(sceneNameOf(part).units())};
  for (int i = 0; i < part.numProperties(); ++i) {
    const JtkProperty& property = *part.property(i);
    (key.second += u'\0') += property.key().units();
    (key.second += u'\0') += property.stringValue().units();
    if (property.valueType() != JtkProperty::ValueType::STRING) key.first = nullptr;
  }
  if (part.numChildren() > 0 || part.isHidden()) key.first = nullptr;
  return key;
}

/// What differs between places of the file is on an instance above it.
jt::Ref<JtNode> PartFiles::write(JtkPart& part) {
  const Key key = keyOf(part);
  const auto known = key.first ? known_.find(key) : known_.end();
  const bool isNew = known == known_.end();
  const File file = isNew ? encode(part) : known->second;
  if (isNew && key.first) {
    known_[key] = file;
    record_.sources().hold(const_cast<JtNode&>(*key.first));
  }
  ++record_.report().files[file.index].parts;
  record_.countTriangles(part, file.triangles);
  auto reference = jt::make<JtPartition>();
  reference->setFileName(jt::textOfBytes(file.reference));
  if (file.bounds) reference->setBounds(*file.bounds);
  if (part.numAttributes() == 0 && isNew) return jt::Ref<JtNode>(reference);
  auto instance = jt::make<JtInstance>();
  writeAttributes(part, *instance);
  record_.bringTextures(*instance, part.geometrySource(), sceneNameOf(part), *rootFile_);
  instance->setChild(reference.get());
  return jt::Ref<JtNode>(instance);
}

PartFiles::File PartFiles::encode(JtkPart& part) {
  const auto place = folder_.add(sceneNameOf(part), settings().dryRun);
  checkGeometry(part, *place);
  const std::uint64_t triangles = triangleCount(part);
  const auto content = settings().newPartition();
  const auto node = jt::make<VisPartNode>();
  writeValues(part, *node);
  jt::removeValidation(*node);
  record_.sources().noteFiles(*node);
  writeShapes(part, *node);
  if (settings().validation) jt::storeValidation(*node);
  if (settings().isExact) writeBreps(part, *node);
  content->addChild(node.get());
  content->growBounds();
  jt::SaveReport saved = save(part, *content, *node, *place);
  for (const auto& reason : lostBreps(*node, droppedSegments(saved)))
    record_.leaveOut(part.geometrySource(), sceneNameOf(part), "exact geometry", reason);
  ExportReport& report = record_.report();
  ExportedFile& file = report.files.emplace_back();
  file.file = saved.file;
  if (!settings().dryRun) file.bytes = saved.bytes;
  record_.countBytes(file.bytes.value_or(0));
  report.alsoSaved.push_back(std::move(saved));
  record_.sources().releasePages();
  return {folder_.reference(), content->bounds(), report.files.size() - 1, triangles};
}

/// Saves a part, without geometry where that cannot be encoded.
jt::SaveReport PartFiles::save(const JtkPart& part, JtPartition& content, VisPartNode& node,
                               JtStorageLocation& place) {
  try {
    return content.save(&place, settings().saveOptions());
  } catch (const JtFormatError& error) {
    if (record_.sources().isFinal(error)) throw;
    record_.leaveOut(part.geometrySource(), sceneNameOf(part), "geometry", error.what());
  }
  while (node.removeChild(0)) {
  }
  return content.save(&place, settings().saveOptions());
}

void PartFiles::forget(const JtNode* source) {
  const auto first = known_.lower_bound({source, {}});
  auto end = first;
  while (end != known_.end() && end->first.first == source) ++end;
  known_.erase(first, end);
}

}  // namespace

std::unique_ptr<ExportParts> makePartFiles(ExportRecord& record,
                                           const jt::Ref<JtFSStorageLocation>& rootFile) {
  return std::make_unique<PartFiles>(record, rootFile);
}

}  // namespace jtk
