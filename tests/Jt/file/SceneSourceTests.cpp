// The elements of a scene graph: found by id, and read again after their bytes were given back.

#include <gtest/gtest.h>

#include <limits>

#include "JtXform.h"
#include "VisMetaDataNode.h"
#include "file/graph/SceneSource.h"
#include "support/MemoryStorage.h"

namespace {

using jt::file::ObjectIds;
using jt::file::SceneSource;

TEST(SceneSource, FindsElementsByAnyIds) {
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  struct Case {
    std::vector<std::int32_t> ids;
    std::vector<std::uint32_t> noted;  // elements that find() does not lead back to
  };
  const Case cases[] = {
      {{}, {}},
      {{5, 6, 7}, {}},
      {{5, 6, 9, 7}, {}},
      {{kMost}, {}},
      {{7, kMost, 8}, {}},
      {{kMost - 1, kMost, std::numeric_limits<std::int32_t>::min()}, {2}},
      {{3, 4, 3, 9}, {2}},
      {{0, 1, 2}, {0}},
      {{-2, -1, 0, 1}, {0, 1, 2}},
      {{2'000'000, 1, 2'000'000, -4}, {2, 3}},
  };
  for (const Case& each : cases) {
    ObjectIds ids;
    for (const std::int32_t id : each.ids) ids.push_back(id);
    std::vector<std::uint32_t> noted;
    ids.index([&](std::uint32_t element, bool isPositive) {
      noted.push_back(element);
      EXPECT_EQ(isPositive, each.ids[element] > 0);
    });
    EXPECT_EQ(noted, each.noted);
    ASSERT_EQ(ids.size(), each.ids.size());
    std::int32_t greatest = 0;
    for (std::uint32_t element = 0; element < ids.size(); ++element) {
      const std::int32_t id = each.ids[element];
      EXPECT_EQ(ids[element], id);
      greatest = std::max(greatest, id);
      const auto first =
          static_cast<std::uint32_t>(std::ranges::find(each.ids, id) - each.ids.begin());
      EXPECT_EQ(ids.find(id), id > 0 ? first : ObjectIds::kNone) << id;
    }
    EXPECT_EQ(ids.max(), greatest);
    for (const std::int32_t id : {-1, 0, 10, 1'999'999, kMost}) {
      const bool isThere = std::ranges::find(each.ids, id) != each.ids.end();
      EXPECT_TRUE(isThere || ids.find(id) == ObjectIds::kNone) << id;
    }
  }
}

/// Nodes enough for more than two large pages, all with transforms of their own.
jt::Ref<JtPartition> largeScene(int nodes, jt::FileVersion version) {
  auto root = jt::make<JtPartition>();
  root->setVersion(version);
  for (int i = 0; i < nodes; ++i) {
    const auto node = jt::make<VisMetaDataNode>();
    const double x = i;
    const jt::Matrix4 matrix{0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, x, x / 2, x / 4, 1};
    node->appendAttribute(jt::make<JtXform>(matrix).get());
    root->addChild(node.get());
  }
  return root;
}

TEST(SceneSource, BytesThatWereGivenBackComeAgain) {
  constexpr int kNodes = 60'000;
  for (const jt::FileVersion version : {jt::FileVersion{9, 5}, jt::FileVersion{10, 0}}) {
    MemoryStorage storage;
    const auto root = storage.open(storage.saved(*largeScene(kNodes, version)));
    const auto whole = SceneSource::open(
        jt::file::Container::open(JtStorageManager::current()->open(*root->storageLocation()), {}));
    root->child(kNodes / 3)->setIgnored(true);
    const auto again = storage.open(storage.saved(*root));
    const SceneSource& given = *SceneSource::sourceOf(*root);
    const SceneSource& saved = *SceneSource::sourceOf(*again);
    ASSERT_EQ(given.elementCount(), whole->elementCount());
    ASSERT_EQ(saved.elementCount(), whole->elementCount());
    int changed = 0;
    for (std::uint32_t element = 0; element < whole->elementCount(); ++element) {
      const auto bytes = whole->elementBytes(element);
      ASSERT_TRUE(std::ranges::equal(given.elementBytes(element), bytes)) << element;
      if (!std::ranges::equal(saved.elementBytes(element), bytes)) ++changed;
    }
    EXPECT_EQ(changed, 1);
  }
}

}  // namespace
