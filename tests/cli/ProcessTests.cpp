// The program among others: files that change under it, signals, pipes, batches.

#include "Program.h"

namespace {

using cli::Outcome;
using cli::Workspace;

/// Bytes that do not get smaller when they are packed.
std::string noise(std::size_t size) {
  std::string bytes(size, '\0');
  std::uint32_t state = 7;
  for (char& byte : bytes) byte = static_cast<char>((state = state * 1664525U + 1013904223U) >> 24);
  return bytes;
}

TEST(ChangingFile, EndsInOneErrorWhileItIsRead) {
  const Workspace work;
  work.write("noise", noise(1000000));
  ASSERT_EQ(work.run("new big.jt").exit, 0);
  ASSERT_EQ(work.run("buffer big.jt kin set noise").exit, 0);
  int changes = 0;
  for (const char* const command : {"explain", "diff big.jt"})
    for (int i = 0; i < 4; ++i) {
      work.write("t.jt", work.read("big.jt"));
      // Longer and longer after the start; the exit code comes through the subshell.
      const Outcome run = work.run(std::string(command) + " t.jt --json & sleep 0.0" +
                                   std::to_string(i) + "; truncate -s 4096 t.jt; wait $!");
      EXPECT_TRUE(run.exit == 0 || run.exit == 3) << command << " " << run.exit << run.err;
      if (run.exit == 3 && run.json()["code"] == "changed_on_disk") ++changes;
    }
  EXPECT_GT(changes, 0);
}

}  // namespace
