// Writes a file that asks for much: hostile_files KIND VERSION COUNT FILE

#include <cstdio>
#include <cstdlib>

#include "support/HostileFiles.h"

int main(int argc, char** argv) {
  if (argc == 5)
    if (const auto version = jt::FileVersion::parse(argv[2]))
      for (const hostile::Kind& kind : hostile::kKinds) {
        if (kind.name != std::string_view(argv[1])) continue;
        const Bytes file =
            kind.make({version->major, version->minor, false}, std::strtoull(argv[3], nullptr, 10));
        std::ofstream out(argv[4], std::ios::binary);
        out.write(reinterpret_cast<const char*>(file.data()),
                  static_cast<std::streamsize>(file.size()));
        return out.flush() ? 0 : 1;
      }
  std::fputs("hostile_files KIND VERSION COUNT FILE; kinds:", stderr);
  for (const hostile::Kind& kind : hostile::kKinds) std::fprintf(stderr, " %s", kind.name);
  std::fputs("\n", stderr);
  return 2;
}
