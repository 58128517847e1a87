#include <algorithm>
#include <string>
#include <vector>

#include "ApiSysStringConvertors.h"
#include "Assembly.h"
#include "Command.h"
#include "Component.h"
#include "JtkwPMITypeMaps.h"
#include "JtwFrame.h"
#include "JtwPMIAnnotation.h"
#include "JtwPMIs.h"
#include "NodeView.h"
#include "Session.h"
#include "VisMetaDataNode.h"

namespace tool {
namespace {

using Graphics = ApiGraphicsPMIAnnotationData;

struct View {
  int id;
  std::string name;
};

/// PMI that is no object of the host.
struct Other {
  jtw::OtherPMI pmi;
  ApiProtoKey owner;
};

/// What is listed.
struct Listing {
  std::vector<JtwPMIAnnotation*> annotations;
  std::vector<JtwFrame*> coordinateSystems;
  std::vector<Other> others;
  std::vector<View> views;
  std::size_t foreign = 0;  ///< PMI that are not the host's, listed or not
};

void addViews(JtwNode& node, std::vector<View>& views) {
  auto* holder = jt::as<VisMetaDataNode>(node.jtNode());
  const PMIDataManager* pmi = holder ? holder->pmi() : nullptr;
  if (!pmi) return;
  for (std::size_t i = 0; i < pmi->data().modelViews.size(); ++i) {
    const PMITypedID id = PMIDataManager::constructPMITypedID(static_cast<int>(PMIKind::modelView),
                                                              static_cast<int>(i));
    views.push_back({pmi->data().modelViews[i].viewId, pmi->pmiEntity(id).name().stringToMbs()});
  }
}

void addOthers(JtwNode& carrier, JtwCollection& collection, std::vector<Other>& others) {
  for (jtw::OtherPMI& pmi : jtw::otherPMIs(carrier, collection))
    others.push_back({std::move(pmi), collection.key()});
}

JtwCollection& collectionOf(const Component& component, std::size_t index) {
  JtwNode* node = &component.objects().node(index);
  if (node->isCollection() == 0) node = component.objects().listedParent(index);
  return node && node->isCollection() != 0 ? static_cast<JtwCollection&>(*node) : component.root();
}

Listing list(const Component& component, std::size_t first, std::size_t end, bool withForeign) {
  Listing listing;
  for (std::size_t i = first; i < end; ++i) {
    JtwNode& node = component.objects().node(i);
    if (node.type() == JtwNode::JT_PMI_ANNOTATION_NODE) {
      const bool isForeign = node.key().isNull();
      if (isForeign) ++listing.foreign;
      if (!isForeign || withForeign)
        listing.annotations.push_back(static_cast<JtwPMIAnnotation*>(&node));
    } else if (node.type() == JtwNode::JT_FRAME_NODE) {
      auto& frame = static_cast<JtwFrame&>(node);
      if (frame.id() >= 0) listing.coordinateSystems.push_back(&frame);
    } else {
      addViews(node, listing.views);
      addOthers(node, collectionOf(component, i), listing.others);
    }
  }
  listing.foreign += listing.others.size();
  if (!withForeign) listing.others.clear();
  return listing;
}

std::optional<long> keyOrNull(const ApiProtoKey& key) { return keyNumber(key); }

std::optional<int> idOrNull(const JtwPMI& pmi) {
  return pmi.id() < 0 ? std::nullopt : std::optional<int>(pmi.id());
}

void writeVector(JsonWriter& json, const char* name, RTVec3D v, bool isDirection) {
  if (isDirection) v.normalize();
  json.numbers(name, std::array{v.x, v.y, v.z});
}

void writeFrame(JsonWriter& json, const RTVec3D& origin, const RTVec3D& x, const RTVec3D& y) {
  json.key("frame");
  json.beginObject();
  writeVector(json, "origin", origin, false);
  writeVector(json, "x", x, true);
  writeVector(json, "y", y, true);
  json.end();
}

void writeColors(JsonWriter& json, const Graphics& graphics) {
  const auto write = [&](const char* name, const ApiGraColor& color, short flag) {
    const bool isSet = graphics.isInstanceInfo(flag) || graphics.isPrototypeInfo(flag);
    json.textOrNull(name, isSet ? colorText(color) : "");
  };
  json.key("colors");
  json.beginObject(JsonWriter::Layout::line);
  write("text", graphics.textForegroundColor, Graphics::FOREGROUND_COLOR);
  write("background", graphics.textBackgroundColor, Graphics::BACKGROUND_COLOR);
  write("geometry", graphics.geomColor, Graphics::GEOM_COLOR);
  json.end();
}

void writeAnnotation(JsonWriter& json, JtwPMIAnnotation& annotation) {
  const ApiWmPMIAnnotationData& data = annotation.annotationData();
  const Graphics& graphics = data.graphics;
  json.beginObject();
  json.member("key", keyOrNull(annotation.key()));
  json.member("id", idOrNull(annotation));
  json.member("type", static_cast<int>(data.annotationType));
  json.textOrNull("typeName", JtkwPMITypeMaps::the().getPMITypeName(data.annotationType));
  json.textOrNull("name", nameOf(annotation));
  json.member("owner", keyOrNull(annotation.parent()));
  json.key("text");
  json.beginArray(JsonWriter::Layout::line);
  for (const std::string& line : data.textLines) json.value(line);
  json.end();
  json.member("textHeight", graphics.textHeight > 0 ? std::optional<float>(graphics.textHeight)
                                                    : std::optional<float>());
  writeFrame(json, annotation.relLoc().getTranslation(), graphics.displayPlaneXAxis,
             graphics.displayPlaneYAxis);
  json.member("layer", data.layer < 0 ? std::nullopt : std::optional<int>(data.layer));
  writeColors(json, graphics);
  json.member("polylines", graphics.geomPolylineSet.size() + graphics.textPolylineSet.size());
  json.member("foreign", annotation.key().isNull());
  json.end();
}

void writeListing(Session& session, const Component& component, const Listing& listing) {
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("document", component.document());
  json.key("annotations");
  json.beginArray();
  for (JtwPMIAnnotation* annotation : listing.annotations) writeAnnotation(json, *annotation);
  json.end();
  json.key("coordinateSystems");
  json.beginArray();
  for (JtwFrame* frame : listing.coordinateSystems) {
    json.beginObject();
    json.member("key", keyOrNull(frame->key()));
    json.member("id", idOrNull(*frame));
    json.textOrNull("name", nameOf(*frame));
    const RTTran3D place = frame->relLoc();
    writeFrame(json, place.getTranslation(), place.xAxis(), place.yAxis());
    json.member("foreign", false);
    json.end();
  }
  for (const Other& other : listing.others) {
    if (!other.pmi.isCoordinateSystem) continue;
    json.beginObject();
    json.key("key");
    json.null();
    json.member("id", other.pmi.id);
    json.textOrNull("name", other.pmi.name);
    const RTTran3D& place = other.pmi.location;
    writeFrame(json, place.getTranslation(), place.xAxis(), place.yAxis());
    json.member("foreign", true);
    json.end();
  }
  json.end();
  json.key("others");
  json.beginArray();
  for (const Other& other : listing.others) {
    if (other.pmi.isCoordinateSystem) continue;
    json.beginObject(JsonWriter::Layout::line);
    json.member("id", other.pmi.id);
    json.member("code", static_cast<int>(other.pmi.code));
    json.textOrNull("typeName", other.pmi.typeName);
    json.textOrNull("name", other.pmi.name);
    json.member("owner", keyOrNull(other.owner));
    json.end();
  }
  json.end();
  json.key("views");
  json.beginArray();
  for (const View& view : listing.views) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("id", view.id);
    json.textOrNull("name", view.name);
    json.end();
  }
  json.end();
  writeFiles(session.json(), component.partFiles());
  session.endResult();
}

std::string lineOf(JtwPMIAnnotation& annotation) {
  const ApiWmPMIAnnotationData& data = annotation.annotationData();
  const RTVec3D place = annotation.relLoc().getTranslation();
  std::string line = objectText(annotation) + "  ";
  line += JtkwPMITypeMaps::the().getPMITypeName(data.annotationType) + "  " + nameOf(annotation);
  for (const std::string& text : data.textLines) line += "  \"" + text + "\"";
  line += "  at " + numberText(place.x) + ", " + numberText(place.y) + ", " + numberText(place.z);
  if (!annotation.parent().isNull())
    line += "  under " + std::to_string(annotation.parent().getAsLong());
  if (data.layer >= 0) line += "  layer " + std::to_string(data.layer);
  if (data.graphics.isInstanceInfo(Graphics::FOREGROUND_COLOR))
    line += "  " + colorText(data.graphics.textForegroundColor);
  return line;
}

void showListing(Session& session, const Listing& listing, bool withForeign) {
  Output& out = session.out();
  for (JtwPMIAnnotation* annotation : listing.annotations) out.line(printable(lineOf(*annotation)));
  for (JtwFrame* frame : listing.coordinateSystems)
    out.line(printable(objectText(*frame) + "  Coordinate System  " + nameOf(*frame)));
  for (const Other& other : listing.others) {
    const std::string typeName =
        other.pmi.typeName.empty() ? "type " + std::to_string(other.pmi.code) : other.pmi.typeName;
    out.line(printable("-  " + typeName + "  " + other.pmi.name));
  }
  for (const View& view : listing.views) out.line(printable("view  " + view.name));
  if (!withForeign && listing.foreign > 0)
    out.line(counted(listing.foreign, "annotation") + " of other producers; --all lists them");
}

}  // namespace

ExitCode runPmi(Session& session) {
  const auto& words = session.arguments().positional();
  const Component component(session, words[0], false);
  const std::size_t first = words.size() > 1 ? component.find(jtw::ObjectAddress(words[1])) : 0;
  const bool withForeign = session.arguments().has("all");
  const Listing listing =
      list(component, first, component.objects().endOfSubtree(first), withForeign);
  if (session.wantsJson())
    writeListing(session, component, listing);
  else
    showListing(session, listing, withForeign);
  return exitCodeOf(component.partFiles());
}

}  // namespace tool
