#include "JtWireframe.h"

#include <algorithm>
#include <unordered_set>

#include "JtBaseDataStream.h"
#include "JtFormatError.h"
#include "file/segments/WireframeElement.h"
#include "scene/Recording.h"

namespace jt {

/// For a journal: edges are only ever added.
static std::uint64_t fingerprintOf(const WireframeData& data) noexcept { return data.edges.size(); }

}  // namespace jt

jt::Ref<JtBase> JtWireframeRep::clone() const { return jt::Ref<JtBase>(new JtWireframeRep(*this)); }

bool JtWireframeRep::serialize(JtBaseDataStream& stream) const {
  try {
    jt::file::ByteSink body;
    jt::file::writeWireframe(body, data_, {10, 5, false});
    return stream.writeRaw(body.bytes());
  } catch (const JtFormatError&) {
    return false;
  }
}

std::vector<std::int32_t> JtWireframeRep::edgeIds() const {
  std::vector<std::int32_t> ids;
  ids.reserve(data_.edges.size());
  std::unordered_set<std::int32_t> seen;
  for (const jt::WireEdge& edge : data_.edges) {
    ids.push_back(edge.tag);
    seen.insert(edge.tag);
  }
  if (seen.size() < ids.size())
    for (std::size_t i = 0; i < ids.size(); ++i) ids[i] = static_cast<std::int32_t>(i);
  return ids;
}

std::optional<std::int64_t> JtWireframeRep::cadTag(int edge) const {
  const auto& tags = data_.cadTags.tags;
  if (!tags) return {};
  return (*tags)[static_cast<std::size_t>(edge)].number;
}

std::int32_t JtWireframeRep::addEdge(jt::WireCurve curve) {
  const std::size_t points = curve.points.size();
  if (curve.degree < 1 || points <= static_cast<std::size_t>(curve.degree) ||
      curve.knots.size() != points + static_cast<std::size_t>(curve.degree) + 1 ||
      (!curve.weights.empty() && curve.weights.size() != points))
    throw JtFormatError("bad_value", "the points, weights and knots of a curve do not fit");
  if (!data_.trailingBytes.empty() || (data_.cadTags.flag != 0 && !data_.cadTags.tags))
    throw JtFormatError("not_editable",
                        "the wireframe has bytes that are not understood; no edge can be added");
  jt::scene::recordChange(*this, data_, modified_);
  std::int32_t tag = data_.nextTag;
  for (const jt::WireEdge& edge : data_.edges) tag = std::max(tag, edge.tag + 1);
  data_.edges.push_back({static_cast<std::int32_t>(data_.curves.size()), tag});
  data_.curves.push_back(std::move(curve));
  data_.nextTag = tag + 1;
  if (data_.cadTags.tags) {
    std::int64_t highest = 0;
    for (const jt::PMICadTag& each : *data_.cadTags.tags) highest = std::max(highest, each.number);
    data_.cadTags.tags->push_back({highest + 1, highest + 1 > 0x7fffffff});
  }
  modified_ = true;
  return tag;
}
