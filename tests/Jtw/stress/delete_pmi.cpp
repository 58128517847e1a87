// Frames of one collection made, and deleted in random order: delete_pmi COUNT

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

#include "ApiDocument.h"
#include "ApiDocumentRef.h"
#include "JtwBlock.h"
#include "JtwFrame.h"
#include "JtwManager.h"
#include "JtwRoot.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  std::vector<long> keys(std::strtoul(argv[1], nullptr, 10));
  std::iota(keys.begin(), keys.end(), 3);
  JtwManager::init();
  const ApiDocumentRef document(std::make_shared<ApiDocument>("unsaved"));
  JtwRoot* const root = JtwManager::the().computeNewDocRoot(document);
  if (!root || !root->setKey(ApiProtoKey(1))) return 1;
  const JtwBlock* const block =
      root->createBlockNode(ApiProtoKey(2), ApiProtoKey(1), RTTran3D::unit);
  bool isDone = block != nullptr;
  for (const long key : keys)
    isDone = isDone && root->createFrameNode(ApiProtoKey(key), ApiProtoKey(2), RTTran3D::unit);
  std::shuffle(keys.begin(), keys.end(), std::mt19937(5));
  for (const long key : keys) isDone = isDone && root->deleteNode(ApiProtoKey(key));
  isDone = isDone && !block->hasPMIs();
  JtwManager::the().releaseAllRoots();
  JtwManager::fini();
  return isDone ? 0 : 1;
}
