#include "file/pmi/PMIGeneric.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <string_view>

#include "file/pmi/PMIElement.h"
#include "file/pmi/PMITags.h"

namespace jt::file {

namespace {

using Vector = std::array<double, 3>;

Vector vectorAt(const float* numbers) { return {numbers[0], numbers[1], numbers[2]}; }
Vector difference(const Vector& a, const Vector& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
double length(const Vector& v) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); }
Vector cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
Vector scaled(const Vector& v, double factor) {
  return {v[0] * factor, v[1] * factor, v[2] * factor};
}
Vector unit(const Vector& v, const Vector& otherwise) {
  const double size = length(v);
  return size > 0 && std::isfinite(size) ? scaled(v, 1 / size) : otherwise;
}

/// The plane that coordinates of the typed layout lie in.
class Plane {
 public:
  /// Without a frame, and with one of zeros, it is the x-y plane.
  explicit Plane(const PMIBase& base) {
    const auto isZero = [](float number) { return number == 0; };
    if (base.frameFlag == 0 || std::ranges::all_of(base.frame, isZero)) return;
    origin_ = vectorAt(base.frame.data());
    x_ = unit(difference(vectorAt(&base.frame[3]), origin_), x_);
    y_ = unit(difference(vectorAt(&base.frame[6]), origin_), y_);
  }

  /// Points x, y as points x, y, z.
  std::vector<float> lifted(const std::vector<float>& flat) const {
    std::vector<float> points;
    points.reserve(flat.size() / 2 * 3);
    for (std::size_t i = 0; i + 1 < flat.size(); i += 2)
      for (std::size_t c = 0; c < 3; ++c)
        points.push_back(
            static_cast<float>(origin_[c] + double{flat[i]} * x_[c] + double{flat[i + 1]} * y_[c]));
    return points;
  }

 private:
  Vector origin_{0, 0, 0};
  Vector x_{1, 0, 0};
  Vector y_{0, 1, 0};
};

void addProperty(PMIGenericEntity& entity, const char* key, JtString value) {
  entity.properties.push_back({{JtString(key)}, {std::move(value)}});
}

JtString textOf(const PMIData& data, std::int32_t id) {
  if (id < 0 || static_cast<std::size_t>(id) >= data.strings.size()) return {};
  return data.strings[static_cast<std::size_t>(id)];
}

/// Three numbers, exactly.
JtString numbersText(const float* numbers) {
  std::string text;
  for (int i = 0; i < 3; ++i) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), numbers[i]).ptr;
    text += i > 0 ? " " : "";
    text.append(digits.data(), end);
  }
  return JtString(text);
}

PMIGenericEntity flatForm(const PMI2DEntity& entity) {
  PMIGenericEntity generic;
  generic.base = entity.base;
  generic.texts = entity.texts;
  generic.lines = entity.lines;
  generic.lines.vertices = Plane(entity.base).lifted(entity.lines.vertices);
  if (entity.urlFlag != 0)
    addProperty(generic, "URLFlag", JtString(std::to_string(entity.urlFlag)));
  return generic;
}

/// Vectors of spot welds and measurement points; the first is the point.
void addVectors(PMIGenericEntity& generic, const PMI3DEntity& entity,
                const std::array<const char*, 4>& keys) {
  if (std::ranges::all_of(entity.vectors, [](float number) { return number == 0; })) return;
  for (std::size_t i = 0; i < keys.size(); ++i)
    addProperty(generic, keys[i], numbersText(&entity.vectors[3 * i]));
  if (generic.base.frameFlag != 0) return;
  generic.base.frameFlag = 1;  // so that the entity has a place
  for (std::size_t i = 0; i < generic.base.frame.size(); ++i)
    generic.base.frame[i] = entity.vectors[i % 3];
  generic.base.frame[3] += 1;
  generic.base.frame[7] += 1;
}

PMIGenericEntity solidForm(const PMIData& data, const PMI3DEntity& entity, PMIKind kind) {
  PMIGenericEntity generic;
  generic.base = entity.base;
  generic.lines.indices = entity.indices;
  generic.lines.vertices =
      entity.dimensionality == 2 ? Plane(entity.base).lifted(entity.vertices) : entity.vertices;
  if (JtString name = textOf(data, entity.stringId); !name.isEmpty())
    addProperty(generic, "Description", std::move(name));
  if (kind == PMIKind::spotWeld)
    addVectors(generic, entity, {"WeldPoint", "ApproachVector", "ClampingVector", "NormalVector"});
  if (kind == PMIKind::measurementPoint)
    addVectors(generic, entity,
               {"Location", "MeasurementDirection", "CoordinateDirection", "NormalDirection"});
  return generic;
}

/// The frame as it is, its name, and its axes as lines.
PMIGenericEntity systemForm(const PMIData& data, const PMICoordinateSystem& system) {
  PMIGenericEntity generic;
  generic.base.frameFlag = 1;
  generic.base.frame = system.frame;
  if (JtString name = textOf(data, system.nameId); !name.isEmpty())
    addProperty(generic, "Description", std::move(name));
  const Vector origin = vectorAt(system.frame.data());
  const Vector x = difference(vectorAt(&system.frame[3]), origin);
  const Vector z = unit(cross(x, difference(vectorAt(&system.frame[6]), origin)), {0, 0, 0});
  if (!(length(z) > 0)) return generic;  // the points lie on a line
  generic.lines.indices = {0, 2, 4, 6};
  const auto line = [&](const float* end) {
    generic.lines.vertices.insert(generic.lines.vertices.end(), system.frame.begin(),
                                  system.frame.begin() + 3);
    generic.lines.vertices.insert(generic.lines.vertices.end(), end, end + 3);
  };
  std::array<float, 3> top;
  for (std::size_t c = 0; c < 3; ++c) top[c] = static_cast<float>(origin[c] + z[c] * length(x));
  line(&system.frame[3]);
  line(&system.frame[6]);
  line(top.data());
  return generic;
}

/// What reference geometry is shows in its second index, the number of its points.
void setReferenceType(PMIGenericEntity& entity) {
  constexpr std::uint16_t kReferencePoint = 0x0110;
  constexpr std::uint16_t kReferenceAxis = 0x0111;
  constexpr std::uint16_t kReferencePlane = 0x0112;
  const std::int32_t points = entity.lines.indices.size() > 1 ? entity.lines.indices[1] : 0;
  if (points < 1) return;
  entity.parentType = entity.type;
  entity.type = points == 1 ? kReferencePoint : points == 2 ? kReferenceAxis : kReferencePlane;
}

/// Ids of the names of types, which are added to the text table unless they are there.
class TypeNameIds {
 public:
  explicit TypeNameIds(std::vector<JtString>& strings) : strings_(strings) {}
  std::int32_t operator()(std::string_view name) {
    const auto [known, isNew] = ids_.try_emplace(name);
    if (!isNew) return known->second;
    const JtString wanted(name);
    const auto found = std::ranges::find(strings_, wanted);
    known->second = static_cast<std::int32_t>(found - strings_.begin());
    if (found == strings_.end()) strings_.push_back(wanted);
    return known->second;
  }

 private:
  std::vector<JtString>& strings_;
  std::map<std::string_view, std::int32_t> ids_;
};

std::int32_t greatestLabel(const PMIData& data) {
  std::int32_t greatest = 0;
  const auto look = [&](const auto& entities) {
    for (const auto& entity : entities) greatest = std::max(greatest, entity.base.userLabel);
  };
  for (const auto& kind : data.flat) look(kind);
  for (const auto& kind : data.solid) look(kind);
  look(data.genericEntities);
  return greatest;
}

/// Names the entities that are to become generic under the kind of generic entities. Ends that name
/// generic entities by a position where there are none would name one of the new ones: removed.
void redirectEnds(PMIData& data) {
  const PMIEnds ends(data);
  const auto redirect = [&](std::uint32_t& end, std::int32_t owner) {
    const std::optional<PMITypedID> id = ends.resolve(end, owner);
    if (!id || !findFixedKind(id->kind())) return;
    end = PMITypedID::kIndirect | typedID(PMIKind::genericEntity, end & PMITypedID::kMaxIndex).word;
  };
  const auto leadsNowhere = [&](std::uint32_t end, std::int32_t owner) {
    const bool isDirect = (end & PMITypedID::kIndirect) == 0;
    return owner == -1 && isDirect && PMITypedID{end}.kind() == PMIKind::genericEntity &&
           !ends.resolve(end, owner);
  };
  std::erase_if(data.associations, [&](const PMIAssociation& link) {
    return leadsNowhere(link.source, link.sourceOwner) ||
           leadsNowhere(link.destination, link.destinationOwner);
  });
  for (PMIAssociation& link : data.associations) {
    redirect(link.source, link.sourceOwner);
    redirect(link.destination, link.destinationOwner);
  }
}

}  // namespace

PMITypeNames genericTypeNames(const PMIGenericEntity& entity, const PMIFixedKind& kind) {
  if (entity.type == kind.type) return {kind.typeName, kind.parentName};
  constexpr const char* kReferences[] = {"Reference Point", "Reference Axis", "Reference Plane"};
  return {kReferences[entity.type & 3U], kind.typeName};
}

PMIGenericEntity genericForm(const PMIData& data, PMIKind kind, std::size_t index) {
  const PMIFixedKind& fixed = *findFixedKind(kind);
  const PMIKindList list = entitiesOf(data, kind);
  PMIGenericEntity entity = list.flat    ? flatForm((*list.flat)[index])
                            : list.solid ? solidForm(data, (*list.solid)[index], kind)
                                         : systemForm(data, data.coordinateSystems[index]);
  entity.type = fixed.type;
  entity.parentType = fixed.parentType;
  if (kind == PMIKind::referenceGeometry) setReferenceType(entity);
  return entity;
}

void makeGeneric(PMIData& data) {
  if (!hasTypedPMI(data)) return;
  redirectEnds(data);
  const PMITagPlaces places(data);
  const bool hasTags = data.cadTags.flag == 1;
  std::vector<PMIGenericEntity> made;
  std::vector<std::int32_t> indices;
  const auto take = [&](std::size_t from, std::size_t count) {
    if (!hasTags) return;
    const auto first = data.cadTags.indices.begin() + static_cast<std::ptrdiff_t>(from);
    indices.insert(indices.end(), first, first + static_cast<std::ptrdiff_t>(count));
  };
  take(*places.first(PMIKind::modelView), data.modelViews.size() + data.designGroups.size());
  take(*places.first(PMIKind::genericEntity), data.genericEntities.size());
  const auto label = static_cast<std::uint32_t>(greatestLabel(data));
  TypeNameIds nameIds(data.strings);
  for (const PMIFixedKind& fixed : pmiFixedKinds()) {
    const std::size_t count = countOf(data, fixed.kind);
    take(*places.first(fixed.kind), count);
    for (std::size_t i = 0; i < count; ++i) {
      PMIGenericEntity& entity = made.emplace_back(genericForm(data, fixed.kind, i));
      const PMITypeNames names = genericTypeNames(entity, fixed);
      entity.typeNameId = nameIds(names.type);
      entity.parentTypeNameId = nameIds(names.parent);
      if (fixed.kind == PMIKind::coordinateSystem)  // which have no label of their own
        entity.base.userLabel = static_cast<std::int32_t>(label + i + 1);
    }
  }
  data.cadTags.indices = std::move(indices);
  data.genericEntities.insert(data.genericEntities.end(), std::make_move_iterator(made.begin()),
                              std::make_move_iterator(made.end()));
  if (data.hasAreaForEachEntity) data.polygons.vertexCounts.resize(data.genericEntities.size());
  for (auto& kind : data.flat) kind.clear();
  for (auto& kind : data.solid) kind.clear();
  data.coordinateSystems.clear();
  raisePMIVersion(data);
}

}  // namespace jt::file
