#include <algorithm>
#include <unordered_map>

#include "Jt.h"
#include "JtAssembly.h"
#include "JtLosses.h"
#include "JtNodePath.h"
#include "file/save/SceneWriter.h"

namespace jt {
namespace {

LosingNode describe(const JtNode& node, const char* keyProperty, NodePaths& paths) {
  const auto* key =
      keyProperty ? as<JtInt32PropAtom>(node.property(JtString(keyProperty))) : nullptr;
  return {node.objectId(), key ? std::optional<std::int32_t>(key->value()) : std::nullopt,
          Jt::name(&node).stringToMbs(), paths.path(node)};
}

void addDropped(const SaveReport& report, std::vector<Loss>& losses) {
  for (const SegmentAction& action : report.segments)
    if (action.kind == SegmentAction::Kind::dropped)
      losses.push_back({action.id, action.type, action.reason, {}});
  for (const SaveReport& part : report.alsoSaved) addDropped(part, losses);
}

}  // namespace

std::vector<Loss> lossesOf(const JtPartition& top, const SaveReport& report,
                           const char* keyProperty) {
  std::vector<Loss> losses;
  addDropped(report, losses);
  if (losses.empty()) return losses;
  std::unordered_map<JtGuid, std::vector<std::size_t>> bySegment;
  for (std::size_t i = 0; i < losses.size(); ++i) bySegment[losses[i].segment].push_back(i);
  std::vector<const JtPartition*> files{&top};
  for (const PartFile& part : partFilesOf(top))
    if (part.partition) files.push_back(part.partition);
  NodePaths paths(keyProperty ? keyProperty : "");
  for (const JtPartition* file : files)
    for (const JtNode* node : file::SceneWriter::nodesOf(*file)) {
      JtPropAtom* key = nullptr;
      JtPropAtom* value = nullptr;
      for (int i = 0; node->getProperty(i, key, value); ++i) {
        const auto* late = as<JtLateLoadedPropAtom>(value);
        const auto found = late ? bySegment.find(late->segmentId()) : bySegment.end();
        if (found == bySegment.end()) continue;
        for (const std::size_t loss : found->second)
          losses[loss].nodes.push_back(describe(*node, keyProperty, paths));
      }
    }
  std::erase_if(losses, [](const Loss& loss) {
    return loss.nodes.empty() && file::isShapeSegment(loss.type);
  });
  return losses;
}

}  // namespace jt
