#include "JtwNodeEdits.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "AnnotationEdits.h"
#include "ApiSysStringConvertors.h"
#include "JtwAttachments.h"
#include "JtwCollection.h"
#include "JtwEditError.h"
#include "JtwLeaf.h"
#include "JtwNearestName.h"
#include "JtwObjects.h"
#include "JtwPMIAnnotation.h"
#include "JtwValueText.h"

namespace jtw {
namespace {

using Change = std::function<void()>;

/// The object that is changed, and what a check may want to know.
struct Target {
  const Objects& objects;
  JtwNode& node;

  bool isFrame() const { return node.type() == JtwNode::JT_FRAME_NODE; }
  JtwPMIAnnotation* annotation() const {
    const bool isOne = node.type() == JtwNode::JT_PMI_ANNOTATION_NODE;
    return isOne ? static_cast<JtwPMIAnnotation*>(&node) : nullptr;
  }
  [[noreturn]] void refuse(const std::string& what) const {
    failRefused(objects.document(), "not_supported",
                "the " + std::string(kindName(node)) + " " + what);
  }
};

/// The frame list of a file has no place for it.
void refuseFrame(const Target& target, const char* what) {
  if (target.isFrame()) target.refuse(std::string("cannot keep a ") + what);
}

Change changeName(const Target& target, const std::string& value) {
  const std::wstring name = ApiSysStringConvertors::RWCStringToUnicode(parseText("name", value));
  return [&node = target.node, name] { node.setName(name); };
}

Change changeColor(const Target& target, const std::string& value) {
  if (target.annotation()) return prepareAnnotationChange(*target.annotation(), "color", value);
  const ApiGraColor color = parseColor("color", value);
  return [&node = target.node, color] { node.setColor(color, false, true); };
}

Change changeUnit(const Target& target, const std::string& value) {
  const float ratio = parseUnit("unit", value);
  if (target.node.isOfTypePMI()) target.refuse("has no unit of its own");
  return [&node = target.node, ratio] { node.setMeasurementUnitRatio(ratio); };
}

Change changeAttributes(const Target& target, const std::string& value) {
  parseText("attributes", value);
  return [&node = target.node, value] { node.setAttributes(value); };
}

/// The model takes an empty id for no change.
const std::string& parseId(const char* name, const std::string& value) {
  if (value.empty()) failUsage(std::string(name) + " cannot be empty");
  return parseText(name, value);
}

Change changeUniqueId(const Target& target, const std::string& value) {
  parseId("uniqueId", value);
  return [&node = target.node, value] { node.setGlobalUniqueId(ApiGlobalUniqueId(value)); };
}

Change changeRelStringId(const Target& target, const std::string& value) {
  parseId("relStringId", value);
  refuseFrame(target, "relStringId");
  return [&node = target.node, value] { node.setRelStringId(value); };
}

Change changeDisplayed(const Target& target, const std::string& value) {
  const bool on = parseTruth("displayed", value);
  if (target.node.isCollection()) target.refuse("has no display state; what is in it has");
  return [&node = static_cast<JtwLeaf&>(target.node), on] { node.setDisplayState(on); };
}

Change changePreserved(const Target& target, const std::string& value) {
  const bool on = parseTruth("preserved", value);
  refuseFrame(target, "mark as preserved");
  const auto type = target.node.type();
  if (type != JtwNode::JT_ENTITY_NODE && type != JtwNode::JT_BLOCK_NODE && !target.annotation())
    target.refuse("cannot be preserved; an entity, a block or an annotation can");
  return [&node = target.node, on] { jtw::setPreserved(node, on); };
}

/// Where the type of an attachment begins: behind an address that may have a colon of its own.
std::size_t typeColon(const std::string& value) {
  if (!value.empty() && (value.front() == '#' || value.front() == '/')) {
    const std::size_t colon = value.rfind(':');
    const bool isFrameKey = value.front() == '#' && value.find(':') == colon;
    return isFrameKey ? std::string::npos : colon;
  }
  return value.find(':');
}

Change changeAttachment(const Target& target, const std::string& value) {
  ApiProtoKey key;
  std::int32_t type = ATTACHMENT_DEFAULT;
  if (value != "none") {
    const std::size_t colon = typeColon(value);
    if (colon != std::string::npos) {
      const char* const last = value.data() + value.size();
      const auto [end, error] = std::from_chars(value.data() + colon + 1, last, type);
      if (error != std::errc() || end != last)
        failUsage("the type of the attachment is '" + value.substr(colon + 1) +
                  "', not a whole number");
    }
    const ObjectAddress address(value.substr(0, colon));
    key = target.objects.object(address).key();
    if (key.isNull())
      failRefused(target.objects.document(), "not_supported",
                  "object " + address.text() + " has no key, so nothing can be attached to it");
    const ApiProtoKey own = target.node.key();
    // Nothing can be attached to an object without key.
    if (!own.isNull())
      Attachments(target.objects, {{own.getAsLong(), key}}).check(own, "the object");
  }
  return [&node = target.node, key, type] {
    node.setAttachmentParent(key, static_cast<AttachmentType>(type));
  };
}

Change changeLocation(const Target& target, const std::string& value) {
  const RTTran3D listed = parseLocation("loc", value);
  if (target.node.type() == JtwNode::JT_ROOT_NODE)
    target.refuse("is placed by whoever uses it, not in its own file");
  return [&objects = target.objects, &node = target.node, listed] {
    // The model places relative to the component parent, which may lie above the listed one.
    JtwNode* shown = objects.parentOf(node);
    JtwNode* parent = node.parentNode();
    RTTran3D location = listed;
    if (shown && shown != parent) {
      location = shown->absLoc() * listed;
      if (parent) location = parent->absLoc().inverse() * location;
    }
    if (!isStorable(location))
      failRefused(objects.document(), "not_supported",
                  "the place cannot be expressed in the object's parent");
    if (auto* annotation = Target{objects, node}.annotation())
      placeAnnotation(*annotation, location);
    else
      jtw::setPlacement(node, location);
  };
}

template <const char* name>
Change changeAnnotation(const Target& target, const std::string& value) {
  JtwPMIAnnotation* annotation = target.annotation();
  if (!annotation) target.refuse(std::string("has no ") + name + "; annotations have");
  return prepareAnnotationChange(*annotation, name, value);
}
constexpr char kText[] = "text";
constexpr char kSize[] = "size";
constexpr char kLayer[] = "layer";
constexpr char kBackgroundColor[] = "backgroundColor";
constexpr char kGeomColor[] = "geomColor";
constexpr char kPlane[] = "plane";

struct Preparation {
  const char* name;
  Change (*prepare)(const Target&, const std::string& value);
};

/// In the order in which they are applied: a location is read in the new unit.
constexpr std::array<Preparation, 16> kSettings{{
    {"name", changeName},
    {"unit", changeUnit},
    {kText, changeAnnotation<kText>},
    {kSize, changeAnnotation<kSize>},
    {kPlane, changeAnnotation<kPlane>},
    {kLayer, changeAnnotation<kLayer>},
    {kBackgroundColor, changeAnnotation<kBackgroundColor>},
    {kGeomColor, changeAnnotation<kGeomColor>},
    {"loc", changeLocation},
    {"color", changeColor},
    {"attributes", changeAttributes},
    {"uniqueId", changeUniqueId},
    {"relStringId", changeRelStringId},
    {"displayed", changeDisplayed},
    {"preserved", changePreserved},
    {"attachment", changeAttachment},
}};

std::size_t findSetting(const std::string& name) {
  std::vector<const char*> names;
  for (std::size_t i = 0; i < kSettings.size(); ++i) {
    if (kSettings[i].name == name) return i;
    names.push_back(kSettings[i].name);
  }
  failUsage("there is no value '" + name + "' to set" + suggestion(name, names));
}

}  // namespace

std::vector<Setting> parseSettings(std::span<const std::string> words) {
  std::vector<Setting> settings;
  settings.reserve(words.size());
  for (const std::string& word : words) {
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos) failUsage("'" + word + "' is not of the form NAME=VALUE");
    settings.push_back({word.substr(0, equals), word.substr(equals + 1)});
  }
  return settings;
}

NodeEdits::NodeEdits(Objects& objects, JtwNode& node, std::span<const Setting> settings)
    : objects_(objects), node_(node) {
  const Target target{objects, node_};
  std::array<Change, kSettings.size()> prepared;
  for (const Setting& setting : settings) {
    const std::size_t place = findSetting(setting.name);
    if (prepared[place]) failUsage("'" + setting.name + "' is given twice");
    prepared[place] = kSettings[place].prepare(target, setting.value);
    renames_ = renames_ || setting.name == "name";
  }
  for (Change& change : prepared)
    if (change) changes_.push_back(std::move(change));
}

void NodeEdits::apply() {
  if (renames_) objects_.forgetNames();
  for (const Change& change : changes_) change();
  if (!node_.isOfTypePMI()) {
    node_.forgetCached();
  } else if (node_.type() == JtwNode::JT_PMI_ANNOTATION_NODE) {
    if (!changes_.empty()) static_cast<JtwPMI&>(node_).renew();
  } else {
    objects_.framesChanged(static_cast<JtwPMI&>(node_).collection());
  }
}

}  // namespace jtw
