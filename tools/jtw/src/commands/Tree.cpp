#include <algorithm>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "Assembly.h"
#include "Command.h"
#include "Component.h"
#include "JtwSelection.h"
#include "JtwTree.h"
#include "NodeView.h"
#include "Session.h"

namespace tool {
namespace {

/// For every entry, whether nothing else follows under the same parent.
std::vector<bool> lastOnes(const std::vector<ListedObject>& entries) {
  std::vector<bool> isLast(entries.size());
  std::vector<bool> seen;  // by depth: something of that depth follows, under the same parent
  for (std::size_t i = entries.size(); i-- > 0;) {
    const auto depth = static_cast<std::size_t>(entries[i].depth);
    isLast[i] = depth >= seen.size() || !seen[depth];
    seen.resize(depth + 1);
    seen[depth] = true;
  }
  return isLast;
}

/// "  -> 5" or "  -> 5:2" with the type; empty for an object that is attached to nothing.
std::string attachmentText(JtwNode& node) {
  ApiProtoKey parent;
  AttachmentType type = ATTACHMENT_DEFAULT;
  node.getAttachmentParent(parent, type);
  if (parent.isNull()) return {};
  const std::string text = "  -> " + std::to_string(parent.getAsLong());
  return type == ATTACHMENT_DEFAULT ? text : text + ":" + std::to_string(static_cast<int>(type));
}

/// The branches in front of an entry. Deep down the depth represents them: lines would be made of
/// nothing else.
class Branches {
 public:
  std::string enter(std::size_t depth, bool isLast) {
    const std::string own = isLast ? "└─ " : "├─ ";
    if (depth == 0) return start(depth, "", {});
    if (depth > kDeepest) return "[" + std::to_string(depth) + "] " + own;
    return start(depth, isLast ? "   " : "│  ", own);
  }

 private:
  static constexpr std::size_t kDeepest = 40;

  std::string start(std::size_t depth, const char* below, const std::string& own) {
    lengths_.resize(depth + 1);
    branches_.resize(lengths_[depth]);
    std::string line = branches_ + own;
    branches_ += below;
    lengths_.push_back(branches_.size());
    return line;
  }

  std::string branches_;                 // of what the current entry is under
  std::vector<std::size_t> lengths_{0};  // of `branches_`, by depth
};

void showTree(Session& session, const std::vector<ListedObject>& entries) {
  const Style& style = session.style();
  const std::vector<bool> isLast = lastOnes(entries);
  Branches branches;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    JtwNode& node = *entries[i].node;
    const auto depth = static_cast<std::size_t>(entries[i].depth - entries.front().depth);
    std::string line = branches.enter(depth, isLast[i]);
    line +=
        style.paint(Ink::yellow, entries[i].address.empty() ? "-" : entries[i].address) + "  " +
        style.paint(Ink::dim, kindName(node)) + "  " +
        style.paint(Ink::bold, printable(entries[i].name.empty() ? nameOf(node) : entries[i].name));
    if (const char* unit = unitOf(node)) line += std::string("  ") + unit;
    bool isDefault = true;
    const ApiGraColor color = jtw::colorOf(node, isDefault);
    if (!isDefault) line += "  " + style.paint(Ink::cyan, colorText(color));
    if (!entries[i].sameAs.empty()) line += "  = " + entries[i].sameAs;
    session.out().line(line + attachmentText(node));
  }
}

}  // namespace

namespace {

/// What of a listing is shown.
class TreeFilter {
 public:
  explicit TreeFilter(const Arguments& arguments) : depth_(arguments.positiveNumber("depth")) {
    if (const std::string* under = arguments.value("under")) under_.emplace(*under);
    if (const std::string* expression = arguments.value("select"))
      selections_.emplace_back(*expression);
    if (const std::string* kind = arguments.value("kind"))
      selections_.emplace_back("kind=" + *kind);
  }

  std::vector<ListedObject> apply(const jtw::Objects& objects,
                                  std::vector<ListedObject> places) const {
    if (under_) places = below(places, objects.node(objects.find(*under_)));
    if (!selections_.empty()) places = selected(places, objects);
    if (depth_)
      std::erase_if(places, [this, top = places.front().depth](const ListedObject& place) {
        return static_cast<std::uint64_t>(place.depth - top) > *depth_;
      });
    return places;
  }

 private:
  /// The first place of an object and what is listed below it.
  static std::vector<ListedObject> below(const std::vector<ListedObject>& places,
                                         const JtwNode& node) {
    const auto first = std::ranges::find(places, &node, &ListedObject::node);
    const auto end = std::find_if(first + 1, places.end(), [&](const ListedObject& place) {
      return place.depth <= first->depth;
    });
    return {first, end};
  }

  /// The places of objects that all expressions hold for, and what they are listed under.
  std::vector<ListedObject> selected(const std::vector<ListedObject>& places,
                                     const jtw::Objects& objects) const {
    std::unordered_map<const JtwNode*, std::size_t> held;  // by how many expressions
    for (const jtw::Selection& selection : selections_)
      for (const std::size_t index : selection.of(objects)) ++held[&objects.node(index)];
    std::vector<ListedObject> kept;
    int below = places.front().depth;  // what is above that depth holds something that is kept
    for (auto place = places.rbegin(); place != places.rend(); ++place) {
      const auto found = held.find(place->node);
      const bool isWanted = found != held.end() && found->second == selections_.size();
      if (!isWanted && place->depth >= below && &*place != &places.front()) continue;
      below = place->depth;
      kept.push_back(*place);
    }
    std::ranges::reverse(kept);
    return kept;
  }

  std::optional<std::uint64_t> depth_;
  std::optional<jtw::ObjectAddress> under_;
  std::vector<jtw::Selection> selections_;
};

}  // namespace

ExitCode runTree(Session& session) {
  const TreeFilter filter(session.arguments());
  const Component component(session, session.argument(0), false);
  const jtw::Reading reading(component.root());
  const std::vector<ListedObject> places =
      filter.apply(component.objects(), component.objects().allPlaces());
  const std::vector<jt::PartFile> parts = component.partFiles();
  if (!session.wantsJson()) {
    showTree(session, places);
    return exitCodeOf(parts);
  }
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("document", component.document());
  json.member("structure", component.structure());
  json.key("root");
  json.beginObject();
  writeNodeMembers(json, places[0]);
  writeChildren(json, places);
  json.end();
  writeFiles(json, parts);
  session.endResult();
  return exitCodeOf(parts);
}

}  // namespace tool
