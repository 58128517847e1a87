// Runs a fuzz target once on every file of the folders and files given: the seeds, or one finding.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

void replay(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  std::printf("%s: %zu bytes\n", path.c_str(), bytes.size());
  std::fflush(stdout);  // the last line names the input that crashed
  // A copy of exactly this size: a sanitizer sees one byte too far.
  const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
  int inputs = 0;
  for (int i = 1; i < argc; ++i) {
    if (!fs::is_directory(argv[i])) {
      replay(argv[i]);
      ++inputs;
      continue;
    }
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(argv[i])) {
      if (!entry.is_regular_file()) continue;
      replay(entry.path());
      ++inputs;
    }
  }
  if (inputs == 0) std::fprintf(stderr, "no inputs\n");
  return inputs > 0 ? 0 : 1;
}
