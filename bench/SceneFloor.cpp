#include "SceneFloor.h"

#include <fcntl.h>
#include <libdeflate.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <memory>

namespace bench {

namespace {

template <class T>
T at(const char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

struct Bytes {
  std::unique_ptr<char[]> data;
  std::size_t size = 0;
};

Bytes readAndInflate(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY);
  struct stat state {};
  fstat(file, &state);
  const auto size = static_cast<std::size_t>(state.st_size);
  const std::unique_ptr<char[]> packed(new char[size]);
  const ssize_t got = read(file, packed.get(), size);
  close(file);
  if (got != static_cast<ssize_t>(size)) return {};
  const auto toc = static_cast<std::size_t>(at<std::int32_t>(&packed[85]));
  const auto segment = static_cast<std::size_t>(at<std::int32_t>(&packed[toc + 4 + 16]));
  const auto stream = static_cast<std::size_t>(at<std::int32_t>(&packed[segment + 28])) - 1;
  Bytes out{std::unique_ptr<char[]>(new char[16 * stream]), 0};
  libdeflate_decompressor* inflater = libdeflate_alloc_decompressor();
  libdeflate_zlib_decompress(inflater, &packed[segment + 33], stream, out.data.get(), 16 * stream,
                             &out.size);
  libdeflate_free_decompressor(inflater);
  return out;
}

void appendUtf8(std::string& arena, const char* units, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const auto unit = at<std::uint16_t>(units + 2 * i);
    if (unit < 0x80) {
      arena.push_back(static_cast<char>(unit));
    } else {
      arena.push_back(static_cast<char>(0xc0 | (unit >> 6)));
      arena.push_back(static_cast<char>(0x80 | (unit & 0x3f)));
    }
  }
}

constexpr std::int32_t kMarker = 16;

}  // namespace

std::vector<char> inflateScene(const std::string& path) {
  const Bytes bytes = readAndInflate(path);
  return {bytes.data.get(), bytes.data.get() + bytes.size};
}

FloorScene readFloor(const std::string& path) {
  const Bytes bytes = readAndInflate(path);
  FloorScene scene;
  scene.inflatedBytes = bytes.size;
  const char* p = bytes.data.get();
  // Graph elements: nodes (base types 0 to 2) and transforms.
  for (; at<std::int32_t>(p) != kMarker; p += 4 + at<std::int32_t>(p)) {
    const char* body = p + 25;
    const auto id = at<std::int32_t>(p + 21);
    if (p[20] == 3) {
      std::array<double, 16> matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
      const auto mask = at<std::uint16_t>(body + 9);
      const char* value = body + 11;
      for (std::size_t i = 0; i < 16; ++i)
        if (mask & (0x8000U >> i)) {
          matrix[i] = static_cast<double>(at<float>(value));
          value += 4;
        }
      scene.matrices.push_back(matrix);
      continue;
    }
    FloorNode node{id,
                   at<std::uint32_t>(body + 2),
                   static_cast<std::uint32_t>(scene.links.size()),
                   at<std::uint32_t>(body + 6),
                   0,
                   0};
    const char* q = body + 10;
    for (std::uint32_t i = 0; i < node.attributeCount; ++i, q += 4)
      scene.links.push_back(at<std::int32_t>(q));
    node.firstChild = static_cast<std::uint32_t>(scene.links.size());
    node.childCount = at<std::uint32_t>(q + 2);
    q += 6;
    for (std::uint32_t i = 0; i < node.childCount; ++i, q += 4)
      scene.links.push_back(at<std::int32_t>(q));
    scene.nodes.push_back(node);
  }
  p += 20;
  for (; at<std::int32_t>(p) != kMarker; p += 4 + at<std::int32_t>(p)) {
    const auto units = at<std::uint32_t>(p + 33);
    const auto offset = static_cast<std::uint32_t>(scene.arena.size());
    appendUtf8(scene.arena, p + 37, units);
    scene.texts.push_back({at<std::int32_t>(p + 21), offset,
                           static_cast<std::uint32_t>(scene.arena.size()) - offset});
  }
  p += 20;
  const std::size_t words = (bytes.size - static_cast<std::size_t>(p - bytes.data.get()) - 6) / 4;
  scene.table.resize(words);
  std::memcpy(scene.table.data(), p + 6, words * 4);
  return scene;
}

}  // namespace bench
