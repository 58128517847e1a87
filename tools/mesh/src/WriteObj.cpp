// Wavefront OBJ and its material list.

#include <charconv>
#include <cmath>

#include "Writers.h"

namespace mesh {
namespace {

void add(std::string& out, auto number) {
  char digits[40];
  out.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

void addLine(std::string& out, std::string_view word, const auto& numbers) {
  out += word;
  for (const auto number : numbers) {
    out += ' ';
    add(out, number);
  }
  out += '\n';
}

/// Names end at the line's end, and some readers end them at a blank.
std::string wordOf(std::string_view name, std::string_view fallback) {
  std::string word(name.empty() ? fallback : name);
  for (char& letter : word)
    if (static_cast<unsigned char>(letter) <= ' ') letter = '_';
  return word;
}

std::string materialName(const Scene& scene, std::size_t index) {
  // Names need not be unique in the scene, and must be here.
  return wordOf(scene.materials[index].name, "material") + "." + std::to_string(index);
}

/// Where the numbers of a mesh begin in the file: all are counted from 1 through the whole file.
struct Base {
  std::size_t position = 1;
  std::size_t texture = 1;
  std::size_t normal = 1;
};

const jt::Mesh::TextureChannel* textureOf(const jt::Mesh& mesh) {
  const bool has = !mesh.textures.empty() && mesh.textures[0].components >= 2;
  return has ? &mesh.textures[0] : nullptr;
}

void addCorner(std::string& out, const Placed& placed, const Base& base, std::size_t corner) {
  const jt::Mesh& mesh = *placed.mesh;
  out += ' ';
  add(out, base.position + mesh.corners[corner]);
  const bool hasTexture = textureOf(mesh) != nullptr;
  if (!hasTexture && placed.normals.empty()) return;
  out += '/';
  if (hasTexture) add(out, base.texture + mesh.records[corner]);
  if (placed.normals.empty()) return;
  out += '/';
  add(out, base.normal + mesh.records[corner]);
}

void addPrimitives(std::string& out, const Placed& placed, const Base& base) {
  const jt::Mesh& mesh = *placed.mesh;
  if (mesh.kind == jt::Mesh::Kind::triangles) {
    for (std::size_t i = 0; i + 2 < mesh.corners.size(); i += 3) {
      out += 'f';
      addCorner(out, placed, base, i);
      addCorner(out, placed, base, placed.isMirrored ? i + 2 : i + 1);
      addCorner(out, placed, base, placed.isMirrored ? i + 1 : i + 2);
      out += '\n';
    }
    return;
  }
  for (std::size_t i = 0; i + 1 < mesh.starts.size(); ++i) {
    out += mesh.kind == jt::Mesh::Kind::polylines ? 'l' : 'p';
    for (std::size_t corner = mesh.starts[i]; corner < mesh.starts[i + 1]; ++corner) {
      out += ' ';
      add(out, base.position + mesh.corners[corner]);
    }
    out += '\n';
  }
}

void addMesh(std::string& out, const Placed& placed, Base& base) {
  for (const jt::Vec3f& position : placed.positions) addLine(out, "v", position);
  const jt::Mesh::TextureChannel* texture = textureOf(*placed.mesh);
  if (texture)
    for (std::size_t i = 0; i < placed.mesh->recordCount(); ++i) {
      const float* values = &texture->values[i * static_cast<std::size_t>(texture->components)];
      addLine(out, "vt", std::array{values[0], values[1]});
    }
  for (const jt::Vec3f& normal : placed.normals) addLine(out, "vn", normal);
  addPrimitives(out, placed, base);
  base.position += placed.positions.size();
  base.texture += texture ? placed.mesh->recordCount() : 0;
  base.normal += placed.normals.size();
}

std::array<float, 3> opaque(const jt::Rgba& color) { return {color[0], color[1], color[2]}; }

}  // namespace

std::string objOf(const Scene& scene, std::string_view library) {
  std::string out = "# lengths in millimetres\n";
  if (!library.empty()) out += "mtllib " + std::string(library) + "\n";
  Base base;
  const Node* last = nullptr;
  forEachPlaced(scene, [&](const Placed& placed) {
    if (placed.node != last) out += "o " + wordOf(placed.node->name, "object") + "\n";
    last = placed.node;
    if (placed.surface->material && !library.empty())
      out += "usemtl " + materialName(scene, *placed.surface->material) + "\n";
    addMesh(out, placed, base);
  });
  return out;
}

std::string mtlOf(const Scene& scene) {
  std::string out;
  for (std::size_t i = 0; i < scene.materials.size(); ++i) {
    const Material& material = scene.materials[i];
    out += "newmtl " + materialName(scene, i) + "\n";
    addLine(out, "Ka", opaque(material.ambient));
    addLine(out, "Kd", opaque(material.diffuse));
    addLine(out, "Ks", opaque(material.specular));
    addLine(out, "Ke", opaque(material.emission));
    addLine(out, "Ns", std::array{material.shininess});
    addLine(out, "d", std::array{material.diffuse[3]});
  }
  return out;
}

}  // namespace mesh
