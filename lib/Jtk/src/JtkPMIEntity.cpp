#include "JtkPMIEntity.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "PMIKinds.h"

namespace {

constexpr const char* kNameAttribute = "Description";
constexpr std::int32_t kFirstPending = -2;  // ids from here downwards are those of pending texts

std::size_t pendingIndex(std::int32_t id) { return static_cast<std::size_t>(kFirstPending - id); }

/// Bytes, so that a number that is not a number equals itself.
template <class T>
bool sameBytes(std::span<const T> a, std::span<const T> b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size_bytes()) == 0);
}

auto findAttribute(const std::vector<jt::PMIProperty>& all, const JtString& name) {
  return std::ranges::find_if(
      all, [&name](const jt::PMIProperty& each) { return each.key.text == name; });
}

const JtString* attributeOf(const jt::PMIGenericEntity& entity, const JtString& name) {
  const auto found = findAttribute(entity.properties, name);
  return found == entity.properties.end() ? nullptr : &found->value.text;
}

void setAttribute(jt::PMIGenericEntity& entity, const JtString& name, const JtString& value) {
  const auto found = findAttribute(entity.properties, name);
  if (found == entity.properties.end())
    entity.properties.push_back({{name}, {value}});
  else
    entity.properties[static_cast<std::size_t>(found - entity.properties.begin())].value.text =
        value;
}

}  // namespace

// --- JtkPMIEntity

JtkPMIEntity::JtkPMIEntity(TypeID type, jt::PMIGenericEntity made)
    : type_(type), own_(std::make_unique<jt::PMIGenericEntity>(std::move(made))) {}

JtkPMIEntity::JtkPMIEntity(TypeID type, const PMIDataManager& manager, int position) : type_(type) {
  settle(manager, position);
}

JtkPMIEntity::~JtkPMIEntity() = default;
JtkPMIGenericEntity::~JtkPMIGenericEntity() = default;
JtkPMIVisualEntity::~JtkPMIVisualEntity() = default;

JtString JtkPMIEntity::name() const {
  const JtString* name = attributeOf(data(), JtString(kNameAttribute));
  return name ? *name : JtString();
}

void JtkPMIEntity::setName(const JtString& name) {
  const JtString key(kNameAttribute);
  const JtString* present = attributeOf(data(), key);
  if (!present || *present != name) setAttribute(edit(), key, name);
}

jt::PMIGenericEntity& JtkPMIEntity::edit() {
  if (!own_) own_ = std::make_unique<jt::PMIGenericEntity>(*stored_);
  return *own_;
}

std::int32_t JtkPMIEntity::pendingId(const JtString& text) {
  pending_.push_back(text);
  return kFirstPending - static_cast<std::int32_t>(pending_.size() - 1);
}

JtString JtkPMIEntity::textOf(std::int32_t id) const {
  if (id <= kFirstPending) return pending_[pendingIndex(id)];
  const JtString* text = manager_ ? manager_->string(id) : nullptr;
  return text ? *text : JtString();
}

jt::PMIGenericEntity JtkPMIEntity::resolved(PMIDataManager& manager) const {
  jt::PMIGenericEntity entity = data();
  const auto resolve = [&](std::int32_t& id) {
    if (id <= kFirstPending) id = manager.stringId(pending_[pendingIndex(id)]);
  };
  resolve(entity.typeNameId);
  resolve(entity.parentTypeNameId);
  for (jt::PMIText& text : entity.texts) resolve(text.stringId);
  return entity;
}

void JtkPMIEntity::settle(const PMIDataManager& manager, int position) {
  manager_ = jt::Ref<const PMIDataManager>(&manager);
  position_ = position;
  stored_ = &manager.pmiDataGenericArray()[static_cast<std::size_t>(position)];
  own_.reset();
  pending_.clear();
}

// --- JtkPMIGenericEntity

int JtkPMIGenericEntity::addAttrProperty(const JtString& name, const JtString& value) {
  const JtString* present = attrProperty(name);
  if (!present || *present != value) setAttribute(edit(), name, value);
  return 1;
}

const JtString* JtkPMIGenericEntity::attrProperty(const JtString& name) const {
  return attributeOf(data(), name);
}

int JtkPMIGenericEntity::removeAttrProperty(const JtString& name) {
  if (!attrProperty(name)) return 0;
  std::erase_if(edit().properties,
                [&name](const jt::PMIProperty& each) { return each.key.text == name; });
  return 1;
}

void JtkPMIGenericEntity::setEntityCode(std::uint16_t code) {
  const std::uint16_t parent = jtk::parentCodeOf(code);
  if (data().type == code && data().parentType == parent) return;
  const bool changesParent = data().parentType != parent;
  jt::PMIGenericEntity& entity = edit();
  entity.type = code;
  entity.parentType = parent;
  if (changesParent) entity.parentTypeNameId = pendingId(JtString(jtk::groupNameOf(parent)));
}

void JtkPMIGenericEntity::setTypeName(const JtString& name) {
  if (typeName() != name) edit().typeNameId = pendingId(name);
}

// --- JtkPMIVisualEntity

void JtkPMIVisualEntity::nameKind(const JtString& typeName, const JtString& groupName) {
  edit().typeNameId = pendingId(typeName);
  edit().parentTypeNameId = pendingId(groupName);
}

void JtkPMIVisualEntity::setVisualFrame(const Point& origin, const Point& pointX,
                                        const Point& pointY) {
  std::array<float, 9> frame{};
  auto* out = frame.data();
  for (const Point& point : {origin, pointX, pointY}) out = std::ranges::copy(point, out).out;
  const jt::PMIBase& base = data().base;
  if (base.frameFlag != 0 && sameBytes<float>(base.frame, frame)) return;
  edit().base.frameFlag = 1;
  edit().base.frame = frame;
}

void JtkPMIVisualEntity::setVisualTextHeight(float height) {
  if (!sameBytes<float>({&data().base.textHeight, 1}, {&height, 1}))
    edit().base.textHeight = height;
}

void JtkPMIVisualEntity::setFlatToScreen(bool on) {
  constexpr std::uint16_t kFlat = 0x0001;
  if (((data().userFlags & kFlat) != 0) == on) return;
  edit().userFlags ^= kFlat;
}

int JtkPMIVisualEntity::setVisualPolylines(std::span<const Point> vertices,
                                           std::span<const std::int32_t> indices,
                                           std::span<const std::int16_t> types) {
  const std::size_t count = indices.empty() ? 0 : indices.size() - 1;
  const bool fits = indices.empty()
                        ? vertices.empty()
                        : indices.front() == 0 && std::ranges::is_sorted(indices) &&
                              static_cast<std::size_t>(indices.back()) == vertices.size();
  if (!fits || (!types.empty() && types.size() != count)) return 0;
  const jt::PMIPolylines& present = data().lines;
  const std::span<const float> flat(vertices.empty() ? nullptr : vertices.front().data(),
                                    vertices.size() * 3);
  if (sameBytes<float>(present.vertices, flat) &&
      sameBytes<std::int32_t>(present.indices, indices) &&
      sameBytes<std::int16_t>(present.types, types))
    return 1;
  jt::PMIPolylines& lines = edit().lines;
  if (lines.widths.size() != count) lines.widths.clear();
  lines.vertices.assign(flat.begin(), flat.end());
  lines.indices.assign(indices.begin(), indices.end());
  lines.types.assign(types.begin(), types.end());
  return 1;
}

int JtkPMIVisualEntity::unsetVisualTextData(int index) {
  if (index < 0 || index >= numVisualTextData()) return 0;
  auto& texts = edit().texts;
  texts.erase(texts.begin() + index);
  return 1;
}

void JtkPMIVisualEntity::addVisualTextData(const JtString& text, jt::PMIText layout) {
  layout.stringId = pendingId(text);
  edit().texts.push_back(std::move(layout));
}
