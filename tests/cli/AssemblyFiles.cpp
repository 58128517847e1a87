#include "AssemblyFiles.h"

#include "Jt.h"
#include "JtInstance.h"
#include "JtMesh.h"
#include "JtPartition.h"
#include "JtXform.h"
#include "VisPartNode.h"

namespace cli {
namespace {

void rename(JtNode& node, const std::string& name) {
  const auto key = jt::make<JtStringPropAtom>(JtString(Jt::jtPropName));
  node.addProperty(key.get(), jt::make<JtStringPropAtom>(JtString(name)).get(), true);
}

/// Shows `child` below `parent`, moved.
void place(JtGroup& parent, JtNode& child, const std::string& name, double x, double y) {
  const auto instance = jt::make<JtInstance>();
  rename(*instance, name);
  const jt::Matrix4 moved{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, 3, 1};
  instance->appendAttribute(jt::make<JtXform>(moved).get());
  instance->setChild(&child);
  parent.addChild(instance.get());
}

jt::Ref<JtPartition> reference(const std::string& file) {
  const auto partition = jt::make<JtPartition>();
  partition->setFileName(JtString(file));
  partition->setBounds({{0, 0, 0}, {2, 1, 3}});
  return partition;
}

void save(JtPartition& partition, const std::filesystem::path& path) {
  const auto location = jt::make<JtFSStorageLocation>(JtString(), JtString(path.string()));
  partition.save(location.get());
}

void writePart(const std::filesystem::path& path, const std::string& name, std::size_t number) {
  auto mesh = std::make_shared<jt::Mesh>();
  const auto height = static_cast<float>(number + 1);
  mesh->positions = {{0, 0, 0}, {2, 0, 0}, {0, 1, height}, {2, 1, 3}};
  mesh->corners = {0, 1, 2, 1, 3, 2};
  const auto shape = jt::make<JtTriStripSet>();
  shape->setMesh(mesh);
  const auto part = jt::make<VisPartNode>();
  rename(*part, name);
  part->addChild(shape.get());
  const auto top = jt::make<JtPartition>();
  top->addChild(part.get());
  save(*top, path);
}

}  // namespace

void AssemblyFiles::write(const std::filesystem::path& folder) const {
  const auto hall = jt::make<JtPartition>();
  const auto hallNode = jt::make<VisMetaDataNode>();
  rename(*hallNode, "Hall");
  hall->addChild(hallNode.get());
  for (std::size_t c = 0; c < cells; ++c) {
    std::filesystem::create_directories((folder / cell(c)).parent_path());
    const auto top = jt::make<JtPartition>();
    const auto node = jt::make<VisMetaDataNode>();
    rename(*node, "Cell " + std::to_string(c));
    top->addChild(node.get());
    for (std::size_t p = 0; p < partsPerCell; ++p) {
      const std::string name = "Part " + std::to_string(c) + "-" + std::to_string(p);
      writePart(folder / part(c, p), name, p);
      const auto file = reference("part" + std::to_string(p) + ".jt");
      place(*node, *file, name, 10 * static_cast<double>(p), 1);
      if (p == 0) place(*node, *file, name + " again", -10, 2);
    }
    save(*top, folder / cell(c));
    const auto file = reference(cell(c));
    place(*hallNode, *file, "Cell " + std::to_string(c), 5, 100 * static_cast<double>(c));
    if (c == 0) place(*hallNode, *file, "Cell 0 again", 5, -100);
  }
  save(*hall, folder / "hall.jt");
}

}  // namespace cli
