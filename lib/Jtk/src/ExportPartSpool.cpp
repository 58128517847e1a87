#include <unordered_map>
#include <utility>
#include <vector>

#include "ExportNodes.h"
#include "ExportParts.h"
#include "JtFormatError.h"
#include "JtSpool.h"
#include "JtValidation.h"
#include "LostBreps.h"
#include "VisPartNode.h"

namespace jtk {
namespace {

class PartSpool final : public ExportParts {
 public:
  PartSpool(ExportRecord& record, const jt::Ref<JtFSStorageLocation>& rootFile)
      : ExportParts(record, rootFile), spool_(*rootFile) {}

  jt::Ref<JtNode> write(JtkPart& part) override;
  /// In one file for all: the system maps some tens of thousands.
  void flush() override;
  void forget(const JtNode* source) override { bySource_.erase(source); }
  std::uint64_t partsInRootFile(std::uint64_t parts) const noexcept override { return parts; }

 private:
  /// Geometry on its way through the spool.
  struct Content {
    jt::Ref<VisPartNode> shell;           ///< with the geometry as it is now
    std::vector<jt::Ref<JtNode>> shapes;  ///< once it is stored
    jt::PropertyList properties;          ///< likewise: precise geometry, and what it measures
    std::vector<std::pair<jt::Ref<VisPartNode>, JtString>> receivers;  ///< parts that wait for it
    std::vector<std::pair<const char*, std::string>> leftOut;  ///< what, and why; once it is stored
    const JtNode* source = nullptr;
    std::uint64_t triangles = 0;
    bool isStored = false;
  };

  void addContent(JtkPart& part, Content& content);
  jt::SaveReport encode(JtPartition& content) const;
  bool hasForm(Content& content);
  void store(const std::vector<std::shared_ptr<Content>>& contents);
  void take(Content& content, const JtNode& stored, const DroppedSegments& dropped);
  void hand(Content& content);
  void deliver(const Content& content, VisPartNode& part, const JtString& name);

  jt::Spool spool_;
  std::vector<std::shared_ptr<Content>> pending_;
  std::uint64_t pendingBytes_ = 0;
  std::uint64_t storedBytes_ = 0;  ///< estimated as pendingBytes_ is
  std::unordered_map<const JtNode*, std::shared_ptr<Content>> bySource_;
};

/// True for a node that held precise geometry, which was left out.
bool isEmptied(const JtNode& node) {
  return jt::as<JtGroup>(&node) && node.numChildren() == 0 && node.numProperties() == 0;
}

jt::Ref<JtNode> PartSpool::write(JtkPart& part) {
  auto node = jt::make<VisPartNode>();
  writeValues(part, *node);
  jt::removeValidation(*node);
  record_.sources().noteFiles(*node);
  writeAttributes(part, *node);
  const JtString& name = sceneNameOf(part);
  record_.bringTextures(*node, part.geometrySource(), name, *rootFile_);
  std::shared_ptr<Content>* known = nullptr;
  if (auto* source = const_cast<JtNode*>(part.geometrySource())) {
    const auto [entry, isNew] = bySource_.try_emplace(source);
    if (isNew) record_.sources().hold(*source);
    known = &entry->second;
    if (*known) {
      record_.countTriangles(part, (*known)->triangles);
      if ((*known)->isStored)
        deliver(**known, *node, name);
      else
        (*known)->receivers.emplace_back(node, name);
      return jt::Ref<JtNode>(node);
    }
  }
  const auto content = std::make_shared<Content>();
  if (known) *known = content;
  content->receivers.emplace_back(node, name);
  addContent(part, *content);
  pending_.push_back(content);
  pendingBytes_ += sizeOf(part);
  if (pendingBytes_ >= spoolGroupSize(storedBytes_)) flush();
  return jt::Ref<JtNode>(node);
}

void PartSpool::addContent(JtkPart& part, Content& content) {
  checkGeometry(part, *rootFile_);
  content.source = part.geometrySource();
  content.triangles = triangleCount(part);
  record_.countTriangles(part, content.triangles);
  content.shell = jt::make<VisPartNode>();
  writeShapes(part, *content.shell);
  if (settings().validation) jt::storeValidation(*content.shell);
  if (settings().isExact) writeBreps(part, *content.shell);
}

void PartSpool::flush() {
  auto contents = std::move(pending_);
  pending_.clear();
  storedBytes_ += std::exchange(pendingBytes_, 0);
  if (contents.empty()) return;
  try {
    store(contents);
  } catch (const JtFormatError& error) {
    if (record_.sources().isFinal(error)) throw;
    std::erase_if(contents, [&](const auto& content) { return !hasForm(*content); });
    if (!contents.empty()) store(contents);
  }
  record_.sources().releasePages();
}

/// Encodes without storing anything.
jt::SaveReport PartSpool::encode(JtPartition& content) const {
  jt::SaveOptions options = settings().saveOptions();
  options.dryRun = true;
  return content.save(jt::make<JtFSStorageLocation>("spool.jt").get(), options);
}

/// False for geometry that cannot be encoded: it is left out.
bool PartSpool::hasForm(Content& content) {
  const auto alone = settings().newPartition();
  alone->addChild(content.shell.get());
  try {
    encode(*alone);
    return true;
  } catch (const JtFormatError& error) {
    if (record_.sources().isFinal(error)) throw;
    content.leftOut.emplace_back("geometry", error.what());
    hand(content);
    return false;
  }
}

void PartSpool::store(const std::vector<std::shared_ptr<Content>>& contents) {
  const auto volume = settings().newPartition();
  for (const auto& content : contents) volume->addChild(content->shell.get());
  jt::SaveReport saved;
  jt::Ref<JtPartition> stored = volume;
  if (settings().dryRun) {
    saved = encode(*volume);
  } else {
    stored = spool_.store(*volume, settings().saveOptions(), saved);
    record_.countBytes(saved.bytes);
  }
  record_.noteWarnings(saved);
  const auto dropped = droppedSegments(saved);
  for (std::size_t i = 0; i < contents.size(); ++i) {
    const JtNode* shell = stored->child(static_cast<int>(i));
    if (!shell) throw JtFormatError("verify_failed", "the spool lost a part");
    take(*contents[i], *shell, dropped);
    hand(*contents[i]);
  }
}

/// Takes over what was stored of a content.
void PartSpool::take(Content& content, const JtNode& stored, const DroppedSegments& dropped) {
  for (const auto& reason : lostBreps(*content.shell, dropped))
    content.leftOut.emplace_back("exact geometry", reason);
  for (int i = 0; i < stored.numChildren(); ++i)
    if (!isEmptied(*stored.child(i))) content.shapes.emplace_back(stored.child(i));
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; stored.getProperty(i, key, value); ++i)
    content.properties.push_back({jt::Ref<JtPropAtom>(key), jt::Ref<JtPropAtom>(value)});
}

/// Gives stored geometry to the parts that wait for it.
void PartSpool::hand(Content& content) {
  content.isStored = true;
  content.shell = nullptr;
  for (const auto& [part, name] : content.receivers) deliver(content, *part, name);
  content.receivers.clear();
}

void PartSpool::deliver(const Content& content, VisPartNode& part, const JtString& name) {
  for (const auto& shape : content.shapes) part.addChild(shape.get());
  for (const jt::Property& property : content.properties)
    part.JtNode::addProperty(property.key.get(), property.value.get(), true);
  for (const auto& [what, reason] : content.leftOut)
    record_.leaveOut(content.source, name, what, reason);
}

}  // namespace

std::unique_ptr<ExportParts> makePartSpool(ExportRecord& record,
                                           const jt::Ref<JtFSStorageLocation>& rootFile) {
  return std::make_unique<PartSpool>(record, rootFile);
}

}  // namespace jtk
