// Random scenes: saved, opened again, edited and saved again, they mean the same.

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "support/MemoryStorage.h"
#include "support/RandomScene.h"
#include "support/SceneText.h"

namespace {

TEST(RandomScene, MeansTheSameAfterEverySave) {
  const bool holds = rc::check([] {
    // Long lists: a scene takes many decisions.
    const auto numbers = *rc::gen::resize(
        300, rc::gen::container<std::vector<std::uint32_t>>(rc::gen::arbitrary<std::uint32_t>()));
    for (const jt::FileVersion version : {jt::FileVersion{9, 5}, {10, 0}}) {
      const bool full = version.major == 10;
      MemoryStorage storage;
      Choices choices(numbers);
      const auto root = jt::make<JtPartition>();
      root->setVersion(version);
      {
        Author author(*root, choices);
        const std::size_t nodes = choices.of(20);
        for (std::size_t i = 0; i < nodes; ++i) author.addNode();
      }
      root->growBounds();  // as the save does
      const auto opened = storage.open(storage.saved(*root));
      RC_ASSERT(SceneText::of(*opened, full) == SceneText::of(*root, full));
      RC_ASSERT(opened->notes().empty());
      RC_ASSERT(!opened->isContentModified());
      {
        Author author(*opened, choices);
        while (choices.any()) author.edit();
      }
      opened->growBounds();
      const auto edited = storage.open(storage.saved(*opened));
      RC_ASSERT(SceneText::of(*edited, full) == SceneText::of(*opened, full));
      RC_ASSERT(edited->notes().empty());
      jt::SaveOptions other;
      other.version = full ? jt::FileVersion{9, 5} : jt::FileVersion{10, 0};
      const auto converted = storage.open(storage.saved(*edited, other));
      RC_ASSERT(SceneText::of(*converted, false) == SceneText::of(*opened, false));
    }
  });
  EXPECT_TRUE(holds);
}

}  // namespace
