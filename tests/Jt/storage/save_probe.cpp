// Saves new content, made of the old one and a text, over a path: the victim of SaveFaults.sh.

#include <cstdio>
#include <exception>
#include <string>

#include "JtFormatError.h"
#include "JtStorageManager.h"

namespace {

constexpr int kSaved = 0;
constexpr int kRefused = 1;
constexpr int kCrashed = 3;

std::span<const std::byte> bytesOf(const std::string& text) {
  return std::as_bytes(std::span(text));
}

int save(const char* path, const std::string& text) {
  const auto manager = JtStorageManager::current();
  const JtFSStorageLocation location("", path);
  const auto image = manager->open(location);
  const auto old = image->bytes();
  const std::size_t half = old.size() / 2;
  std::string block;
  while (block.size() < 128 << 10) block += text;
  // Small and large runs in memory, and runs that the system copies from file to file.
  const jt::FilePiece pieces[] = {{bytesOf(text)},
                                  {old.first(half), image.get(), 0},
                                  {bytesOf(block)},
                                  {old.subspan(half), image.get(), half}};
  jt::StorageSaveOptions options;
  options.expected = image->identity();
  for (const auto& warning : manager->save(location, pieces, options).warnings)
    std::printf("warning %s: %s\n", warning.code.c_str(), warning.message.c_str());
  return kSaved;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) {
    std::fprintf(stderr, "usage: save_probe FILE TEXT\n");
    return kCrashed;
  }
  try {
    return save(arguments[1], arguments[2]);
  } catch (const JtFormatError& error) {
    std::printf("error %s: %s\n", error.code().c_str(), error.what());
    return kRefused;
  } catch (const std::exception& error) {
    std::printf("unexpected: %s\n", error.what());
    return kCrashed;
  }
}
