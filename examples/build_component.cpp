// Makes a component document: a block, an entity with a mesh in it, and a frame.
//
//   build_component stand.kpak

#include <ApiSysFilePath.h>
#include <DocumentStore.h>
#include <JtLastError.h>
#include <JtShape.h>
#include <JtwBlock.h>
#include <JtwManager.h>
#include <JtwNewComponent.h>
#include <JtwTree.h>

#include <cstdio>
#include <filesystem>
#include <memory>

namespace {

RTTran3D at(double x, double y, double z) { return RTTran3D::fromTranslation(RTVec3D(x, y, z)); }

/// A pyramid over a rectangle, in millimetres, open below.
std::shared_ptr<const jt::Mesh> pyramid(float width, float depth, float height) {
  auto mesh = std::make_shared<jt::Mesh>();
  mesh->positions = {
      {0, 0, 0}, {width, 0, 0}, {width, depth, 0}, {0, depth, 0}, {width / 2, depth / 2, height}};
  mesh->corners = {0, 1, 4, 1, 2, 4, 2, 3, 4, 3, 0, 4};
  return mesh;
}

bool build(JtwRoot& root) {
  root.setKey(ApiProtoKey(1));
  root.setName(L"Stand");
  root.setMeasurementUnitRatio(1);
  // Places are in millimetres, whatever the unit of the parent is.
  JtwNode* arm =
      jtw::createNode(root, JtwNode::JT_BLOCK_NODE, ApiProtoKey(2), ApiProtoKey(1), at(100, 0, 50));
  JtwNode* cover =
      jtw::createNode(root, JtwNode::JT_ENTITY_NODE, ApiProtoKey(3), ApiProtoKey(2), at(0, 20, 0));
  JtwNode* tip =
      jtw::createNode(root, JtwNode::JT_FRAME_NODE, ApiProtoKey(4), ApiProtoKey(2), at(0, 0, 80));
  auto* part = cover ? jt::as<JtGroup>(cover->jtNode()) : nullptr;
  if (!arm || !part || !tip) return false;
  arm->setName(L"Arm");
  cover->setName(L"Cover");
  tip->setName(L"Tip");
  part->addChild(jt::makeShape(pyramid(30, 40, 60)).get());
  cover->setColor(ApiGraColor(190, 50, 25), true, true);
  // A collection stores its frames when it is asked to.
  return static_cast<JtwBlock*>(arm)->storeFrames() && jtw::completeNewComponent(root);
}

int run(const char* path) {
  if (ApiSysFilePath(path).exists()) {
    std::fprintf(stderr, "%s is there already\n", path);
    return 1;
  }
  const host::OpenedDocument opened = host::openDocument(path);
  JtwRoot* root = JtwManager::the().computeNewDocRoot(opened.document);
  if (!root || !build(*root)) {
    std::fprintf(stderr, "the component cannot be made\n");
    return 1;
  }
  // A component folder is made by the host; the library writes the JT file in it.
  if (ApiSysFilePath(path).extension() == "kpak") std::filesystem::create_directory(path);
  const auto report = root->writeReported(false);
  if (!report) {
    std::fprintf(stderr, "%s\n", jt::lastError().c_str());
    return 1;
  }
  std::printf("saved %s: %llu bytes, %zu segments\n", report->file.c_str(),
              static_cast<unsigned long long>(report->bytes), report->segments.size());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: build_component DOCUMENT\n");
    return 2;
  }
  JtwManager::init();
  const int exit = run(argv[1]);
  JtwManager::fini();
  return exit;
}
