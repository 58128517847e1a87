// What overhead.py measures beside Python: the same work in C++.
//
//   python_native DOCUMENT WALKS    prints the seconds of opening, of a walk, and of reading the
//   meshes

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "DocumentStore.h"
#include "JtDrawing.h"
#include "JtMesh.h"
#include "JtwManager.h"
#include "JtwObjects.h"
#include "JtwOpening.h"
#include "JtwRoot.h"
#include "JtwTree.h"

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Key, kind and name of every object.
std::size_t walk(const jtw::Objects& objects) {
  std::size_t size = 0;
  for (const jtw::TreeEntry& entry : objects.entries())
    size += static_cast<std::size_t>(entry.node->key().getAsLong()) +
            std::string(jtw::kindName(*entry.node)).size() + jtw::nameOf(*entry.node).size();
  return size;
}

std::size_t readMeshes(const jtw::Objects& objects) {
  std::size_t positions = 0;
  for (const jtw::TreeEntry& entry : objects.entries()) {
    JtNode* const node = entry.node->jtNode();
    if (entry.node->type() != JtwNode::JT_ENTITY_NODE || !node) continue;
    jt::visitDrawnShapes(*node, {}, [&](const jt::DrawnShape& drawn) {
      if (const auto mesh = drawn.shape->mesh()) positions += mesh->positions.size();
      return true;
    });
  }
  return positions;
}

int run(const char* path, int walks) {
  auto start = Clock::now();
  const host::OpenedDocument opened = host::openDocument(path);
  jtw::OpenError error;
  JtwRoot* root = jtw::openComponent(opened.document, error);
  if (!root || !jtw::loadWrappers(*root)) return 1;
  const jtw::Objects objects(*root, path);
  objects.entries();
  std::printf("open %.6f\n", secondsSince(start));
  start = Clock::now();
  std::size_t size = 0;
  for (int i = 0; i < walks; ++i) size += walk(objects);
  std::printf("walk %.6f %zu\n", secondsSince(start) / walks, size / static_cast<unsigned>(walks));
  start = Clock::now();
  const std::size_t positions = readMeshes(objects);
  std::printf("meshes %.6f %zu\n", secondsSince(start), positions);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  JtPartition::_autoLoadShapes = false;
  JtwManager::init();
  const int exit = run(argv[1], std::atoi(argv[2]));
  JtwManager::fini();
  return exit;
}
