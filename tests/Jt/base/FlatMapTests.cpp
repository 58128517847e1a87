// The flat hash map, beside the standard library's.

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "JtFlatMap.h"

namespace {

/// Many keys share a place, also at the end of the table.
struct CoarseHash {
  std::size_t operator()(int key) const noexcept { return static_cast<std::size_t>(key % 7); }
};

TEST(FlatMap, HoldsWhatAMapHolds) {
  jt::FlatMap<int, int, CoarseHash> flat;
  std::map<int, int> map;
  std::mt19937 random(7);
  for (int step = 0; step < 20000; ++step) {
    const int key = static_cast<int>(random() % 300) + 1;
    switch (random() % 8) {
      case 0:
      case 1:
      case 2:
        flat[key] = step;
        map[key] = step;
        break;
      case 3:
        EXPECT_EQ(flat.insert(key, -step), map.emplace(key, -step).second);
        break;
      case 4:
      case 5:
      case 6:
        EXPECT_EQ(flat.erase(key), map.erase(key) == 1);
        break;
      default:
        if (step % 50 == 0) {
          flat.clear();
          map.clear();
        }
        flat.eraseIf([&](int /*key*/, int value) { return value % 11 == 3; });
        std::erase_if(map, [](const auto& entry) { return entry.second % 11 == 3; });
    }
    const int asked = static_cast<int>(random() % 300) + 1;
    const int* value = flat.find(asked);
    ASSERT_EQ(value ? *value : 0, map.contains(asked) ? map[asked] : 0) << step;
  }
  std::map<int, int> listed;
  flat.forEach([&](int key, int value) { listed.emplace(key, value); });
  EXPECT_EQ(listed, map);
  EXPECT_EQ(flat.size(), map.size());
  EXPECT_EQ(flat.find(0), nullptr);
}

}  // namespace
