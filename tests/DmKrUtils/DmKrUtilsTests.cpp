#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "../Host/TempFolder.h"
#include "DmKrUtilsComputeHierarchyComplexity.h"
#include "DmKrUtilsFileStream.h"
#include "DmKrUtilsGeomUtilities.h"
#include "DmKrUtilsInterface.h"
#include "DmKrUtilsStreamStorageLocation.h"
#include "DmKrUtilsStreamStorageManager.h"
#include "JtFormatError.h"
#include "JtGroup.h"
#include "JtMaterial.h"
#include "MemoryStream.h"

namespace {

std::vector<std::byte> bytesOf(std::string_view text) {
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

/// A stream in memory that lets so many bytes be written and then fails for a while, or keeps
/// something else than it was given.
class FaultyStream final : public CountedStream {
 public:
  explicit FaultyStream(std::string_view content)
      : inner_(MemoryStream::create(bytesOf(content))) {}

  IStreamResult Read(void* buffer, std::size_t size, std::size_t& done) override {
    largestRead = std::max(largestRead, size);
    return inner_->Read(buffer, size, done);
  }
  IStreamResult Write(const void* buffer, std::size_t size, std::size_t& done) override {
    done = 0;
    if (failures > 0 && size > room) {
      --failures;
      inner_->Write(buffer, room, done);
      room /= 2;
      return IStreamResult::mediumFull;
    }
    if (garble > 0) {
      --garble;
      return inner_->Write("#", 1, done);  // says one byte, whatever it was
    }
    return inner_->Write(buffer, size, done);
  }
  IStreamResult Seek(std::int64_t move, IStreamOrigin origin, std::uint64_t* place) override {
    return inner_->Seek(move, origin, place);
  }
  IStreamResult Stat(IStreamStat& stat) const override {
    const IStreamResult result = inner_->Stat(stat);
    if (reported > 0) stat.size = reported;
    return result;
  }
  IStreamResult SetSize(std::uint64_t size) override { return inner_->SetSize(size); }
  IStreamResult Commit() override { return IStreamResult::ok; }

  std::string content() const {
    const auto& bytes = inner_->bytes();
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
  }

  int failures = 0;
  std::size_t room = 0;
  int garble = 0;
  std::uint64_t reported = 0;  // the size that it reports; 0: the true one
  std::size_t largestRead = 0;

 private:
  ~FaultyStream() override = default;
  CComPtr<MemoryStream> inner_;
};

TEST(StreamStorage, ASaveReplacesAllOrNothing) {
  struct Case {
    int failures;
    int garble;
    const char* code;  // "": the save works
    const char* content;
  };
  const Case cases[] = {
      {0, 0, "", "new"},
      {1, 0, "no_space", "the old one"},
      {0, 1, "verify_failed", "the old one"},
      {2, 0, "no_space", "tew old one"},  // cannot be put back either: the message says so
  };
  for (const Case& expected : cases) {
    const CComPtr<FaultyStream> stream(new FaultyStream("the old one"));
    stream->failures = expected.failures;
    stream->room = expected.failures == 2 ? 3 : 1;
    stream->garble = expected.garble;
    const auto location = jt::make<DmKrUtilsStreamStorageLocation>();
    location->setStreamObject(jt::make<DmKrUtilsStreamObject>(stream).get());
    const auto manager = DmKrUtilsStreamStorageManager::createInstance();
    const auto opened = manager->open(*location);

    const auto content = bytesOf(expected.failures == 2 ? "news" : "new");
    const std::vector<jt::FilePiece> pieces{
        {.bytes = content, .source = nullptr, .sourceOffset = 0}};
    std::string code;
    std::string message;
    try {
      manager->save(*location, pieces, {});
    } catch (const JtFormatError& error) {
      code = error.code();
      message = error.message();
    }
    EXPECT_EQ(code, expected.code);
    EXPECT_EQ(message.find("could not be put back") != std::string::npos, expected.failures == 2);
    EXPECT_EQ(stream->content(), expected.content);
    EXPECT_EQ(opened->bytes().size(), 11U) << "what was opened stays";
  }
}

using Mode = DmKrUtilsFileStream::Mode;

/// What somebody reads who holds the stream.
std::string textOf(IStream& stream) {
  std::string text(64, '\0');
  std::size_t done = 0;
  stream.Seek(0, IStreamOrigin::begin);
  EXPECT_EQ(stream.Read(text.data(), text.size(), done), IStreamResult::ok);
  return text.substr(0, done);
}

/// Makes the stream hold the text, uncommitted.
void write(IStream& stream, const std::string& text) {
  std::size_t done = 0;
  EXPECT_EQ(stream.Seek(0, IStreamOrigin::begin), IStreamResult::ok);
  EXPECT_EQ(stream.Write(text.data(), text.size(), done), IStreamResult::ok);
  EXPECT_EQ(stream.SetSize(text.size()), IStreamResult::ok);
}

TEST(TransactedFile, IsChangedByACommitAlone) {
  const TempFolder temp;
  const std::string path = temp.file("a.jt", "the old one");
  const auto stream = DmKrUtilsFileStream::open(path, Mode::readWrite);
  write(*stream, "half");
  EXPECT_EQ(textOf(*stream), "half");
  EXPECT_EQ(contentOf(path), "the old one");
  EXPECT_EQ(stream->Revert(), IStreamResult::ok);
  EXPECT_EQ(textOf(*stream), "the old one");
  for (const char* text : {"first", "2nd"}) {
    write(*stream, text);
    EXPECT_EQ(stream->Commit(), IStreamResult::ok);
    EXPECT_EQ(contentOf(path), text);
  }
  write(*stream, "third");
  EXPECT_EQ(stream->Revert(), IStreamResult::ok);
  EXPECT_EQ(textOf(*stream), "2nd") << "as the last commit left it";
  IStreamStat stat;
  EXPECT_EQ(stream->Stat(stat), IStreamResult::ok);
  EXPECT_EQ(stat.name, path);
  EXPECT_EQ(stat.size, 3U);

  // Somebody else saved the file: it is his now.
  temp.file("a.jt", "of another program");
  write(*stream, "fourth");
  EXPECT_EQ(stream->Commit(), IStreamResult::notCurrent);
  ASSERT_TRUE(stream->failure());
  EXPECT_EQ(stream->failure()->code(), "changed_on_disk");
  EXPECT_EQ(contentOf(path), "of another program");

  std::size_t done = 99;
  const auto reader = DmKrUtilsFileStream::open(path, Mode::readOnly);
  EXPECT_EQ(reader->Write("x", 1, done), IStreamResult::accessDenied);
  EXPECT_EQ(done, 0U);
  EXPECT_THROW(DmKrUtilsFileStream::open(temp.at("none"), Mode::readWrite), JtFormatError);

  const auto first = DmKrUtilsFileStream::open(temp.at("new"), Mode::createNew);
  const auto second = DmKrUtilsFileStream::open(temp.at("new"), Mode::createNew);
  write(*first, "made");
  EXPECT_EQ(contentOf(temp.at("new")), "");
  EXPECT_EQ(first->Commit(), IStreamResult::ok);
  write(*second, "made twice");
  EXPECT_EQ(second->Commit(), IStreamResult::notCurrent);
  EXPECT_EQ(contentOf(temp.at("new")), "made");
}

TEST(TransactedFile, ASaveReportsAsASaveOfAFileDoes) {
  const TempFolder temp;
  const std::string path = temp.file("a.jt", "the old one");
  std::filesystem::create_hard_link(path, temp.at("other"));
  const auto location = jt::make<DmKrUtilsStreamStorageLocation>();
  location->setStreamObject(
      jt::make<DmKrUtilsStreamObject>(DmKrUtilsFileStream::open(path, Mode::readWrite)).get());
  const auto manager = DmKrUtilsStreamStorageManager::createInstance();
  const auto content = bytesOf("new");
  const jt::FilePiece piece{.bytes = content};
  const auto result = manager->save(*location, {&piece, 1}, {});
  ASSERT_EQ(result.warnings.size(), 1U);
  EXPECT_EQ(result.warnings[0].code, "links_broken");
  EXPECT_EQ(contentOf(path), "new");
  temp.file("a.jt", "of another program");
  try {
    manager->save(*location, {&piece, 1}, {});
    FAIL() << "it was replaced";
  } catch (const JtFormatError& error) {
    EXPECT_EQ(error.code(), "changed_on_disk");
    EXPECT_EQ(error.where().file, path);
  }
  EXPECT_EQ(contentOf(path), "of another program");
}

TEST(StreamStorage, TheSizeThatAStreamReportsIsNoReasonForMemory) {
  const CComPtr<FaultyStream> stream(new FaultyStream(std::string(300'000, 'x')));
  const auto location = jt::make<DmKrUtilsStreamStorageLocation>();
  location->setStreamObject(jt::make<DmKrUtilsStreamObject>(stream).get());
  const auto manager = DmKrUtilsStreamStorageManager::createInstance();
  const auto code = [&] {
    try {
      return std::to_string(manager->open(*location)->bytes().size());
    } catch (const JtFormatError& error) {
      return error.code();
    }
  };
  EXPECT_EQ(code(), "300000");
  stream->reported = 3ULL << 30;
  EXPECT_EQ(code(), "unreadable") << "it ends early";
  EXPECT_LT(stream->largestRead, 600'000U);
  stream->reported = std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(code(), "too_large");
  const jt::FilePiece piece{.bytes = std::as_bytes(std::span("new"))};
  EXPECT_THROW(manager->save(*location, {&piece, 1}, {}), JtFormatError);
  EXPECT_EQ(stream->content(), std::string(300'000, 'x'));
  stream->reported = 0;
  manager->setMaxStreamBytes(299'999);
  EXPECT_EQ(code(), "too_large");
  manager->setMaxStreamBytes(300'000);
  EXPECT_EQ(code(), "300000");
}

TEST(StreamStorage, ALocationWithoutStreamIsNotFound) {
  const auto manager = DmKrUtilsStreamStorageManager::createInstance();
  const DmKrUtilsStreamStorageLocation* const empty = new DmKrUtilsStreamStorageLocation;
  const jt::Ref<const DmKrUtilsStreamStorageLocation> owner(empty);
  EXPECT_THROW(manager->open(*empty), JtFormatError);
  EXPECT_FALSE(manager->resolve(*empty, JtString("part.jt")));
}

TEST(Complexity, CountsPathsWithLinearWork) {
  const auto top = jt::make<JtGroup>();
  JtGroup* level = top.get();
  const auto doubleUp = [&level](int levels) {
    for (int i = 0; i < levels; ++i) {
      const auto next = jt::make<JtGroup>();
      level->addChild(next.get());
      level->addChild(next.get());
      level = next.get();
    }
  };
  doubleUp(10);  // 1 + 2 + 4 + ... + 1024
  EXPECT_EQ(DmKrUtilsComputeHierarchyComplexity(top.get(), 2046).complexity(), 2047U);
  EXPECT_TRUE(DmKrUtilsComputeHierarchyComplexity(top.get(), 2046).IsComplexityHigherThanLimit());
  EXPECT_FALSE(DmKrUtilsComputeHierarchyComplexity(top.get(), 2047).IsComplexityHigherThanLimit());
  doubleUp(90);
  EXPECT_EQ(DmKrUtilsComputeHierarchyComplexity(top.get(), 0).complexity(),
            std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(DmKrUtilsComputeHierarchyComplexity(nullptr, 0).complexity(), 0U);
}

TEST(CleanUp, RemovesOnlyWhatHasNoEffect) {
  const auto flagged = [](jt::Ref<JtAttribute> attribute, JtAttributeState state) {
    attribute->setState(state, true);
    return attribute;
  };
  const auto material = [](float red, bool isFinal = false) {
    auto made = jt::make<JtMaterial>();
    made->setDiffuseColor(red, 0, 0);
    made->setFinal(isFinal);
    return jt::Ref<JtAttribute>(made);
  };
  const auto xform = [](double x) {
    jt::Matrix4 matrix = jt::kIdentity;
    matrix[12] = x;
    return jt::Ref<JtAttribute>(jt::make<JtXform>(matrix));
  };
  using State = JtAttributeState;
  struct Case {
    const char* what;
    std::vector<jt::Ref<JtAttribute>> attributes;
    int kept;
  };
  const Case cases[] = {
      {"identity", {xform(0), xform(1)}, 1},
      {"forced identity", {flagged(xform(0), State::force)}, 1},
      {"the same transform twice moves twice", {xform(1), xform(1)}, 2},
      {"ignored", {flagged(xform(1), State::ignore), flagged(material(1), State::ignore)}, 0},
      {"repeated material", {material(1), xform(1), material(1)}, 2},
      {"another material", {material(1), material(0)}, 2},
      {"back to the first", {material(1), material(0), material(1)}, 3},
      {"final material", {material(1, true), material(1)}, 2},
      {"repeats an ignored one", {flagged(material(1), State::ignore), material(1)}, 1},
  };
  for (const Case& expected : cases) {
    const auto top = jt::make<JtGroup>();
    const auto node = jt::make<JtGroup>();
    top->addChild(node.get());
    top->addChild(node.get());
    for (const auto& attribute : expected.attributes) node->appendAttribute(attribute.get());
    const int removed = DmKrUtilsInterface::cleanupUnusedAttributes(top.get());
    EXPECT_EQ(node->numAttributes(), expected.kept) << expected.what;
    EXPECT_EQ(removed, static_cast<int>(expected.attributes.size()) - expected.kept);
  }
}

TEST(Matrices, ChangeBetweenRowAndColumnVectors) {
  const RTTran3D placed = RTTran3D::fromPlacement(1, 2, 3, 10, 20, 30);
  const jt::Matrix4 matrix = DmKrUtilsGeomUtilities::toJtMatrix(placed);
  EXPECT_EQ(matrix[12], 1);
  EXPECT_EQ(matrix[14], 3);
  EXPECT_EQ(DmKrUtilsGeomUtilities::toTran3D(matrix), placed);
  const RTTran3D other = RTTran3D::fromPlacement(0, 5, 0, 0, 90, 0);
  // A child placed by `other` below a parent placed by `placed`: the order turns round.
  const auto product = DmKrUtilsGeomUtilities::toTran3D(
      jt::multiply(DmKrUtilsGeomUtilities::toJtMatrix(other), matrix));
  for (std::size_t i = 0; i < 16; ++i)
    EXPECT_NEAR(product.values()[i], (placed * other).values()[i], 1e-12);
}

}  // namespace
