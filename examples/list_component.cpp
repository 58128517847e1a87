// Opens a component and lists its objects; says why, when it cannot.
//
//   list_component stand.kpak

#include <ApiSysStringConvertors.h>
#include <DocumentStore.h>
#include <JtwManager.h>
#include <JtwOpening.h>
#include <JtwTree.h>

#include <cstdio>
#include <string>

namespace {

int fail(const jtw::OpenError& error) {
  std::string place = error.where.file;
  if (!error.where.segment.empty()) place += ", segment " + error.where.segment;
  if (error.where.offset) place += ", offset " + std::to_string(*error.where.offset);
  std::fprintf(stderr, "%s: %s (%s)\n", place.c_str(), error.message.c_str(), error.code.c_str());
  return 1;
}

int run(const char* path) {
  const host::OpenedDocument opened = host::openDocument(path);
  if (!opened.error.empty()) {
    std::fprintf(stderr, "%s\n", opened.error.c_str());
    return 1;
  }
  jtw::OpenError error;
  JtwRoot* root = jtw::openComponent(opened.document, error);
  if (!root) return fail(error);
  if (!jtw::loadWrappers(*root)) return 1;
  for (const jtw::TreeEntry& entry : jtw::tree(*root, *root)) {
    const std::string name = ApiSysStringConvertors::UnicodeToRWCString(entry.node->name());
    const RTVec3D place = entry.node->absLoc().getTranslation();
    std::printf("%*s%ld %s at %g %g %g mm\n", 2 * entry.depth, "", entry.node->key().getAsLong(),
                name.c_str(), place.x, place.y, place.z);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: list_component DOCUMENT\n");
    return 2;
  }
  JtwManager::init();
  const int exit = run(argv[1]);
  JtwManager::fini();
  return exit;
}
