#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <limits>
#include <string>

#include "FileStream.h"
#include "MemoryStream.h"
#include "TempFolder.h"

namespace {

constexpr auto kOk = IStreamResult::ok;

CComPtr<IStream> openFile(const std::string& path, IStreamResult expected = kOk) {
  IStreamResult result = IStreamResult::ioError;
  const CComPtr<FileStream> stream = FileStream::open(ApiSysFilePath(path), result);
  EXPECT_EQ(result, expected) << path;
  EXPECT_EQ(static_cast<bool>(stream), expected == kOk) << path;
  return stream;
}

std::string readAll(IStream& stream) {
  std::string text(64, '\0');
  std::size_t done = 99;
  EXPECT_EQ(stream.Seek(0, IStreamOrigin::begin), kOk);
  EXPECT_EQ(stream.Read(text.data(), text.size(), done), kOk);
  text.resize(done);
  return text;
}

void write(IStream& stream, const std::string& text, IStreamResult expected = kOk) {
  std::size_t done = 99;
  EXPECT_EQ(stream.Write(text.data(), text.size(), done), expected);
  EXPECT_EQ(done, expected == kOk ? text.size() : 0);
}

/// A stream that counts the references taken of it and has nothing else.
struct Counted {
  std::uint32_t AddRef() { return ++count; }
  std::uint32_t Release() { return --count; }
  std::uint32_t count = 0;
};

}  // namespace

TEST(MemoryStream, BytesGoWhereThePositionIs) {
  const CComPtr<IStream> stream = MemoryStream::create();
  std::uint64_t position = 99;
  write(*stream, "0123456789");
  EXPECT_EQ(stream->Seek(-7, IStreamOrigin::current, &position), kOk);
  EXPECT_EQ(position, 3);
  write(*stream, "abc");
  EXPECT_EQ(stream->Seek(2, IStreamOrigin::end, &position), kOk);
  EXPECT_EQ(position, 12);
  write(*stream, "Z");
  EXPECT_EQ(readAll(*stream), std::string("012abc6789\0\0Z", 13));
  EXPECT_EQ(stream->SetSize(4), kOk);
  EXPECT_EQ(readAll(*stream), "012a");
  EXPECT_EQ(stream->SetSize(6), kOk);
  EXPECT_EQ(readAll(*stream), std::string("012a\0\0", 6));
  IStreamStat stat;
  EXPECT_EQ(stream->Stat(stat), kOk);
  EXPECT_EQ(stat.size, 6);
  EXPECT_EQ(stream->Commit(), kOk);
}

TEST(MemoryStream, ImpossibleRequestsAreAnsweredNotDone) {
  const CComPtr<IStream> stream = MemoryStream::create();
  write(*stream, "abc");
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
  std::uint64_t position = 99;
  EXPECT_EQ(stream->Seek(-4, IStreamOrigin::end, &position), IStreamResult::invalidArgument);
  EXPECT_EQ(position, 3);
  EXPECT_EQ(stream->Seek(kLeast, IStreamOrigin::current), IStreamResult::invalidArgument);

  char byte = 0;
  std::size_t done = 99;
  EXPECT_EQ(stream->Read(nullptr, 1, done), IStreamResult::invalidArgument);
  EXPECT_EQ(done, 0);
  EXPECT_EQ(stream->Write(nullptr, 1, done), IStreamResult::invalidArgument);
  EXPECT_EQ(stream->Seek(kMost, IStreamOrigin::begin), kOk);
  EXPECT_EQ(stream->Read(&byte, 1, done), kOk);
  EXPECT_EQ(done, 0);
  write(*stream, "x", IStreamResult::mediumFull);
  EXPECT_EQ(stream->Seek(kMost, IStreamOrigin::current), kOk);
  EXPECT_EQ(stream->Seek(2, IStreamOrigin::current), IStreamResult::invalidArgument);
  EXPECT_EQ(stream->Read(&byte, 1, done), kOk);
  EXPECT_NE(stream->SetSize(std::numeric_limits<std::uint64_t>::max()), kOk);
  EXPECT_EQ(readAll(*stream), "abc");
}

TEST(FileStream, IsReadAndNothingElse) {
  const TempFolder temp;
  const std::string path = temp.file("a", "0123");
  const CComPtr<IStream> stream = openFile(temp.at(".\\a"));
  EXPECT_EQ(readAll(*stream), "0123");
  char byte = 0;
  std::size_t done = 99;
  std::uint64_t position = 99;
  EXPECT_EQ(stream->Seek(-1, IStreamOrigin::end, &position), kOk);
  EXPECT_EQ(stream->Read(&byte, 1, done), kOk);
  EXPECT_EQ(position + static_cast<unsigned char>(byte), 3U + '3');
  EXPECT_EQ(stream->Seek(std::numeric_limits<std::int64_t>::max(), IStreamOrigin::begin), kOk);
  EXPECT_EQ(stream->Read(&byte, 1, done), kOk);
  EXPECT_EQ(done, 0U);
  write(*stream, "x", IStreamResult::accessDenied);
  EXPECT_EQ(stream->SetSize(0), IStreamResult::accessDenied);
  IStreamStat stat;
  EXPECT_EQ(stream->Stat(stat), kOk);
  EXPECT_EQ(stat.size, 4U);
  EXPECT_GT(stat.lastWriteTime, 1'600'000'000'000'000'000);

  openFile(temp.at("gone"), IStreamResult::notFound);
  openFile(temp.path(), IStreamResult::notRegular);
  ASSERT_EQ(::mkfifo(temp.at("pipe").c_str(), 0600), 0);
  openFile(temp.at("pipe"), IStreamResult::notRegular);
}

TEST(CComPtr, EveryCopyIsOneReference) {
  Counted object;
  {
    CComPtr<Counted> first(&object);
    CComPtr<Counted> second = first;
    EXPECT_EQ(object.count, 2);
    CComPtr<Counted>& same = second;
    second = same;
    const CComPtr<Counted> moved = std::move(first);
    EXPECT_EQ(object.count, 2);
    second = nullptr;
    EXPECT_EQ(object.count, 1);
    second.Attach(CComPtr<Counted>(moved).Detach());
    EXPECT_EQ(object.count, 2);
  }
  EXPECT_EQ(object.count, 0);
}
