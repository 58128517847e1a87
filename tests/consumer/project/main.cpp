// A host in ten lines: makes a new component document and writes its JT file.

#include <DocumentStore.h>
#include <JtwManager.h>
#include <JtwRoot.h>

#include <filesystem>

int main() {
  std::filesystem::create_directory("gear.kpak");
  JtwManager::init();
  const host::OpenedDocument gear = host::openDocument("gear.kpak");
  JtwRoot* root = JtwManager::the().computeNewDocRoot(gear.document);
  const bool written = root != nullptr && root->write(false);
  JtwManager::fini();
  return written ? 0 : 1;
}
