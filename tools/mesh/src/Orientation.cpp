#include "Orientation.h"

#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include "JtParallel.h"

namespace mesh {
namespace {

jt::Vec3f turned(const jt::Vec3f& v, const Turn& turn) {
  jt::Vec3f result{};
  // Adding zero keeps zeros without a sign, which would tell equal values apart.
  for (std::size_t i = 0; i < 3; ++i)
    result[i] = static_cast<float>(turn.sign[i]) * v[turn.from[i]] + 0.0F;
  return result;
}

jt::Matrix4 turned(const jt::Matrix4& m, const Turn& turn) {
  jt::Matrix4 result = m;
  for (std::size_t row = 0; row < 4; ++row)
    for (std::size_t column = 0; column < 4; ++column) {
      const std::size_t fromRow = row < 3 ? turn.from[row] : 3;
      const std::size_t fromColumn = column < 3 ? turn.from[column] : 3;
      const int sign = (row < 3 ? turn.sign[row] : 1) * (column < 3 ? turn.sign[column] : 1);
      result[row * 4 + column] = sign * m[fromRow * 4 + fromColumn] + 0.0;
    }
  return result;
}

int numberOf(const aiScene& scene, const char* key, int fallback) {
  int number = fallback;
  if (scene.mMetaData) scene.mMetaData->Get(key, number);
  return number;
}

/// From the axes that point up and to the right; where these make no sense, from the first alone.
Turn fbxTurn(const aiScene& scene) {
  constexpr int kY = 1;
  const int up = numberOf(scene, "UpAxis", kY);
  const int right = numberOf(scene, "CoordAxis", 0);
  if (up < 0 || up > 2) return Turn::toZ(UpAxis::y);
  if (right < 0 || right > 2 || right == up) return Turn::toZ(static_cast<UpAxis>(up));
  Turn turn;
  turn.from = {static_cast<std::size_t>(right), static_cast<std::size_t>(3 - up - right),
               static_cast<std::size_t>(up)};
  turn.sign[0] = numberOf(scene, "CoordAxisSign", 1) < 0 ? -1 : 1;
  turn.sign[2] = numberOf(scene, "UpAxisSign", 1) < 0 ? -1 : 1;
  // The third axis is what makes it a rotation, whatever the file says of it.
  const bool isCyclic = turn.from[1] == (turn.from[0] + 1) % 3;
  turn.sign[1] = turn.sign[0] * turn.sign[2] * (isCyclic ? 1 : -1);
  return turn;
}

/// Some readers of the import library turn what is up along another axis to y, in the root alone.
/// The axis of the file, when the root has such a turn, which is taken away.
std::optional<UpAxis> takeBackTurn(Scene& scene) {
  constexpr std::pair<UpAxis, Turn> kReaders[] = {{UpAxis::z, {{0, 2, 1}, {1, 1, -1}}},
                                                  {UpAxis::x, {{1, 0, 2}, {-1, 1, 1}}}};
  constexpr double kRounding = 1e-6;
  jt::Matrix4& m = scene.nodes[0].transform;
  const double scale = std::hypot(m[0], m[1], m[2]);
  for (const auto& [axis, made] : kReaders) {
    const auto entry = [&made = made](std::size_t row, std::size_t column) {
      return made.from[column] == row ? made.sign[column] : 0;
    };
    bool isMade = scale > 0;
    for (std::size_t i = 0; i < 9 && isMade; ++i)
      isMade = std::abs(m[i / 3 * 4 + i % 3] - scale * entry(i / 3, i % 3)) <= kRounding * scale;
    if (!isMade) continue;
    const Turn back = made.inverse();
    const std::array<double, 3> offset{m[12], m[13], m[14]};
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t k = 0; k < 3; ++k) m[i * 4 + k] = i == k ? scale : 0;
      m[12 + i] = back.sign[i] * offset[back.from[i]] + 0.0;
    }
    return axis;
  }
  return std::nullopt;
}

}  // namespace

Turn Turn::toZ(UpAxis up) {
  switch (up) {
    case UpAxis::x:
      return {{1, 2, 0}, {-1, -1, 1}};
    case UpAxis::y:
      return {{0, 2, 1}, {1, -1, 1}};
    case UpAxis::z:
      break;
  }
  return {};
}

Turn Turn::inverse() const {
  Turn result;
  for (std::size_t i = 0; i < 3; ++i) {
    result.from[from[i]] = i;
    result.sign[from[i]] = sign[i];
  }
  return result;
}

void turn(Scene& scene, const Turn& turn) {
  if (turn.from == Turn().from && turn.sign == Turn().sign) return;
  jt::inParallel(0, scene.meshes.size(), [&](std::size_t i) {
    auto mesh = std::make_shared<jt::Mesh>(*scene.meshes[i]);
    for (jt::Vec3f& position : mesh->positions) position = turned(position, turn);
    for (jt::Vec3f& normal : mesh->normals) normal = turned(normal, turn);
    scene.meshes[i] = std::move(mesh);
  });
  for (Node& node : scene.nodes) node.transform = turned(node.transform, turn);
}

void turnUp(Scene& scene, const aiScene& source, const std::string& extension,
            std::optional<UpAxis> up) {
  const auto isOneOf = [&extension](std::initializer_list<std::string_view> known) {
    return std::ranges::find(known, extension) != known.end();
  };
  if (extension == "fbx") return turn(scene, up ? Turn::toZ(*up) : fbxTurn(source));
  // These know no other axis.
  if (isOneOf({"gltf", "glb", "vrm", "x3d", "x3db", "wrl"}))
    return turn(scene, Turn::toZ(up.value_or(UpAxis::y)));
  // Of Collada, everything comes with +y up.
  const bool isCollada = isOneOf({"dae", "zae"});
  const auto stated = takeBackTurn(scene).value_or(isCollada ? UpAxis::y : UpAxis::z);
  turn(scene, Turn::toZ(up.value_or(isCollada ? stated : UpAxis::z)));
}

}  // namespace mesh
