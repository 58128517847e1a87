// Patches between random components.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "../Jt/support/Differences.h"
#include "../Jtw/RandomChange.h"
#include "../Jtw/RegistryFixture.h"
#include "DocumentStore.h"
#include "JtStorageManager.h"
#include "JtwMerge.h"
#include "JtwPatch.h"
#include "MemoryStream.h"

namespace {

class RandomPatch : public RegistryFixture {
 protected:
  RandomPatch() {
    const ApiDocumentRef file = documentAt(folder_.folder("empty.kpak"));
    JtwRoot& root = *registry().computeNewDocRoot(file);
    root.setKey(ApiProtoKey(1));
    EXPECT_TRUE(root.write(false));
    const auto image = JtStorageManager::current()->open(*root.getStorageLocation());
    empty_.assign(image->bytes().begin(), image->bytes().end());
    registry().releaseRoot(file);
  }

  /// A component in a stream, with that name.
  struct Opened {
    ApiDocumentRef document;
    CComPtr<IStream> stream;
    JtwRoot* root = nullptr;
    std::unique_ptr<jtw::Objects> objects;
  };
  Opened openBytes(const char* name, const std::vector<std::byte>& bytes) {
    Opened opened;
    opened.stream = CComPtr<IStream>(MemoryStream::create(bytes).get());
    opened.document =
        host::withStream(documentAt(name), opened.stream, ApiDocument::StreamDuty::should);
    opened.root = open(opened.document);
    EXPECT_TRUE(opened.root && jtw::loadWrappers(*opened.root));
    opened.objects = std::make_unique<jtw::Objects>(*opened.root, name);
    return opened;
  }
  std::vector<std::byte> changed(const std::vector<std::byte>& bytes, std::mt19937& random) {
    const Opened opened = openBytes("changed", bytes);
    std::vector<std::uint32_t> numbers(random() % 300);
    for (std::uint32_t& number : numbers) number = static_cast<std::uint32_t>(random());
    Choices choices(std::move(numbers));
    while (choices.any()) randomChange(*opened.root, choices);
    // Opening takes a transform of the component itself down to what is below it.
    JtNode& component = *opened.root->jtNode();
    while (component.numAttributes() > 0 && jt::as<JtXform>(component.attribute(0)))
      component.removeAttribute(0);
    return saved(opened);
  }
  std::vector<std::byte> saved(const Opened& opened) {
    for (const jtw::TreeEntry& entry : jtw::tree(*opened.root, *opened.root)) {
      if (!entry.node->isOfTypePMI()) entry.node->forgetCached();
      if (entry.node->isCollection()) static_cast<JtwCollection*>(entry.node)->storeFrames();
    }
    EXPECT_TRUE(opened.root->write(false)) << jt::lastError();
    const auto image = JtStorageManager::current()->open(*opened.root->getStorageLocation());
    std::vector<std::byte> bytes(image->bytes().begin(), image->bytes().end());
    registry().releaseRoot(opened.document);
    return bytes;
  }

  std::vector<std::byte> empty_;
};

/// Copies of parts with objects in them, which have no keys.
bool isOfCopy(const jt::Difference& difference) {
  return difference.kind == jt::DifferenceKind::node &&
         difference.path.find("/Part Node") != std::string::npos;
}

std::string textOf(const std::vector<jt::Difference>& differences) {
  std::string text;
  for (const jt::Difference& each : differences)
    text += each.path + " " + jt::differenceName(each.kind) + " " + each.name + "\n";
  return text;
}

std::string placesOf(const jtw::Patch& patch) {
  std::string text;
  for (const jtw::PatchChange& change : patch.changes)
    text += change.at + " " + jtw::patchWhatName(change.what) + " " + change.name + "\n";
  return text;
}

TEST_F(RandomPatch, LeadsFromOneComponentToTheOther) {
  const int pairs = std::getenv("JTW_LONG_TESTS") ? 10'000 : 300;
  std::mt19937 random(7);
  int refused = 0;
  for (int i = 0; i < pairs; ++i) {
    SCOPED_TRACE("pair " + std::to_string(i));
    const auto common = changed(empty_, random);
    const auto bytesA = i % 3 == 0 ? common : changed(common, random);
    const auto bytesB = i % 5 == 0 ? changed(empty_, random) : changed(common, random);
    Opened a = openBytes("a", bytesA);
    const Opened b = openBytes("b", bytesB);
    const jtw::ComponentFacts wanted(*b.objects);
    const jtw::Patch patch = jtw::difference(jtw::ComponentFacts(*a.objects), wanted);
    const auto losses = jtw::lossesOf(*a.objects, *b.root, patch);
    if (!losses.empty() && std::ranges::all_of(losses, isOfCopy)) {
      ++refused;
      registry().releaseRoot(a.document);
    } else {
      EXPECT_EQ(textOf(losses), "");
      EXPECT_TRUE(jtw::applyPatch(*a.objects, patch).misfits.empty());
      const Opened again = openBytes("again", saved(a));
      EXPECT_EQ(placesOf(jtw::difference(jtw::ComponentFacts(*again.objects), wanted)), "");
      EXPECT_TRUE(Differences(*again.root->partition(), *b.root->partition(),
                              {.identityKeys = {jtw::keyProperty()}})
                      .lines()
                      .empty());
      registry().releaseRoot(again.document);
    }
    registry().releaseRoot(b.document);
  }
  EXPECT_LE(refused, pairs / 500);
}

TEST_F(RandomPatch, MergesWithAnyOtherSide) {
  const int triples = std::getenv("JTW_LONG_TESTS") ? 2000 : 50;
  std::mt19937 random(9);
  std::size_t conflicts = 0;
  for (int i = 0; i < triples; ++i) {
    SCOPED_TRACE("triple " + std::to_string(i));
    const auto common = changed(empty_, random);
    const Opened base = openBytes("base", common);
    const Opened theirs = openBytes("theirs", changed(common, random));
    const auto bytes = changed(common, random);
    const jtw::ComponentFacts inBase(*base.objects);
    const jtw::ComponentFacts inTheirs(*theirs.objects);
    for (const jtw::MergeSide side : {jtw::MergeSide::ours, jtw::MergeSide::theirs}) {
      const Opened ours = openBytes("ours", bytes);
      const auto merged = jtw::merge(inBase, jtw::ComponentFacts(*ours.objects), inTheirs, side);
      conflicts += merged.conflicts.size();
      const auto result = jtw::applyPatch(*ours.objects, merged.patch);
      for (const jtw::PatchMisfit& misfit : result.misfits)
        ADD_FAILURE() << merged.patch.changes[misfit.change].at << " " << misfit.reason;
      registry().releaseRoot(ours.document);
    }
    registry().releaseRoot(base.document);
    registry().releaseRoot(theirs.document);
  }
  EXPECT_GT(conflicts, 0U);
}

}  // namespace
