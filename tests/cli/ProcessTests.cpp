// The program among others: files that change under it, signals, pipes, batches.

#include <gtest/gtest.h>

#include "Program.h"

namespace {

using cli::Json;
using cli::matches;
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
  constexpr int kMostTries = 12;
  int changes = 0;
  for (const char* const command : {"explain", "diff big.jt"})
    for (int i = 0; i < kMostTries; ++i) {
      work.write("t.jt", work.read("big.jt"));
      // Longer and longer after the start; the exit code comes through the subshell.
      const std::string delay = std::to_string(i * i * 2 + 1000).substr(1);
      const Outcome run = work.run(std::string(command) + " t.jt --json & sleep 0." + delay +
                                   "; truncate -s 4096 t.jt; wait $!");
      EXPECT_TRUE(run.exit == 0 || run.exit == 3) << command << " " << run.exit << run.err;
      if (run.exit != 3 || run.json()["code"] != "changed_on_disk") continue;
      ++changes;
      break;
    }
  if (changes == 0) GTEST_SKIP() << "the file never changed while it was read";
}

TEST(Batch, ReportsEveryFileInOrderAndSumsUp) {
  const Workspace work;
  std::filesystem::create_directory(work.path("empty.kpak"));
  work.write("cut.jt", work.read("tiny95.jt").substr(0, 700));
  const std::string files = "verify tiny95.jt empty.kpak cut.jt missing.jt tiny81.jt";
  const Json done = work.json(files + " -j 3", 1);
  EXPECT_EQ(done["summary"],
            Json::parse(R"({"files": 5, "sound": 2, "notSound": 1, "unreadable": 2})"));
  EXPECT_TRUE(matches(done, R"({"sound": false, "files": [{"file": "tiny95.jt", "sound": true},
      {"file": "empty.kpak", "sound": false, "findings": [{"code": "not_found"}]},
      {"file": "cut.jt", "sound": false}, {"file": "missing.jt", "sound": false},
      {"file": "tiny81.jt", "sound": true, "findings": []}]})"));
  EXPECT_NE(work.run(files).out.find("5 files: 2 sound, 1 not sound, 2 unreadable\n"),
            std::string::npos);
  const std::string quiet = work.run(files + " -q").out;
  EXPECT_EQ(quiet.find("empty.kpak: not sound\n"), 0U) << quiet;
  EXPECT_EQ(quiet.find(": sound"), std::string::npos) << quiet;
  EXPECT_EQ(quiet.find("files:"), std::string::npos) << quiet;
  EXPECT_EQ(work.run("verify tiny95.jt tiny81.jt -q").out, "");
}

/// Shell functions: `isAlive PROCESS`, which a zombie is not; `waitFor COMMAND...`, for seconds;
/// `childrenOf PROCESS`; `allEnd PROCESS...`, which writes to io/left what does not.
const std::string kShell =
    "isAlive() { grep -q '^State:[[:space:]]*[^ZX]' /proc/$1/status 2> io/gone; }; "
    "hasEnded() { ! isAlive $1; }; "
    "waitFor() { for i in $(seq 500); do \"$@\" && break; sleep 0.01; done; }; "
    "childrenOf() { cat /proc/$1/task/$1/children; }; "
    "allEnd() { for c; do waitFor hasEnded $c; isAlive $c && echo $c >> io/left; done; }; ";

/// A batch whose second file is a pipe that the test holds open. `then` runs when the first result
/// is there, with the process in $p; the exit code of the program is in io/code afterwards.
void runHeld(const Workspace& work, const std::string& then) {
  work.run("--version > io/v; " + kShell +
           "mkfifo io/pipe; '" JTW_TOOL
           "' verify tiny95.jt - tiny81.jt --json -j 2 < io/pipe > io/results & p=$!; "
           "exec 3> io/pipe; waitFor grep -q tiny95 io/results; " +
           then + "; wait $p; echo $? > io/code; exec 3>&-");
}

TEST(Batch, ShowsResultsWhileOthersAreWorkedOn) {
  const Workspace work;
  runHeld(work, "cp io/results io/early; cat tiny95.jt >&3; exec 3>&-");
  EXPECT_NE(work.read("io/early").find("tiny95.jt"), std::string::npos);
  EXPECT_EQ(Json::parse(work.read("io/results"))["summary"]["sound"], 3);
  EXPECT_EQ(work.read("io/code"), "0\n");
}

TEST(Batch, TerminationReportsWhatIsDoneAndStopsItsChildren) {
  const Workspace work;
  runHeld(work, "c=$(childrenOf $p); kill -TERM $p; wait $p; echo $? > io/ended; allEnd $c");
  EXPECT_EQ(work.read("io/ended"), "143\n");
  EXPECT_FALSE(work.exists("io/left"));
  const Json results = Json::parse(work.read("io/results"), nullptr, false);
  EXPECT_TRUE(matches(results, R"({"error": {"code": "interrupted"}})"));
  EXPECT_EQ(results["files"][0]["file"], "tiny95.jt");
}

TEST(Batch, AFileThatBringsItsProcessDownIsLostAlone) {
  const Workspace work;
  // Of 40 files on one processor a process does five; the second of the second process is held.
  std::string names;
  for (int i = 0; i < 40; ++i) names += i == 6 ? " -" : " tiny95.jt";
  work.run("--version > io/v; " + kShell +
           "hasSix() { [ $(grep -c sound io/results) -ge 6 ]; }; mkfifo io/pipe; '" JTW_TOOL
           "' verify" +
           names +
           " --json -j 1 < io/pipe > io/results & p=$!; exec 3> io/pipe; waitFor hasSix; "
           "kill -KILL $(childrenOf $p); exec 3>&-; wait $p; echo $? > io/code");
  EXPECT_EQ(work.read("io/code"), "1\n");
  const Json results = Json::parse(work.read("io/results"));
  EXPECT_EQ(results["files"][6]["findings"][0]["code"], "worker_failed");
  EXPECT_TRUE(matches(results["summary"], R"({"files": 40, "sound": 39, "notSound": 1})"));
}

TEST(Batch, ThatIsKilledLeavesNoChildren) {
  const Workspace work;
  runHeld(work, "c=$(childrenOf $p); echo $c > io/children; kill -KILL $p; allEnd $c");
  EXPECT_NE(work.read("io/children"), "\n");
  EXPECT_FALSE(work.exists("io/left"));
}

TEST(MeshProgram, EndsWithTheCommandThatStartedIt) {
  const auto program = std::filesystem::path(JTW_TOOL).replace_filename("jtw-mesh");
  if (!std::filesystem::exists(program)) GTEST_SKIP() << "no jtw-mesh";
  const Workspace work;
  std::string mesh;
  constexpr int kRows = 40'000;
  const auto number = [](int value) { return std::to_string(value) + " "; };
  for (int i = 0; i < kRows; ++i) mesh += "v " + number(i) + "0 1\nv " + number(i) + "2 0\n";
  for (int i = 1; i < 2 * kRows - 2; ++i)
    mesh += "f " + number(i) + number(i + 1) + number(i + 2) + "\n";
  work.write("strip.obj", mesh);
  for (const std::string signal : {"TERM", "KILL"}) {
    work.run("--version > io/v; " + kShell +
             "'" JTW_TOOL
             "' convert strip.obj out.jt -q & p=$!; "
             "waitFor grep -q . /proc/$p/task/$p/children; c=$(childrenOf $p); kill -" +
             signal + " $p; wait $p; echo $? > io/ended; allEnd $c");
    EXPECT_EQ(work.read("io/ended"), signal == "TERM" ? "143\n" : "137\n");
    EXPECT_FALSE(work.exists("io/left")) << signal;
    EXPECT_FALSE(work.exists("out.jt")) << signal;
  }
}

TEST(ClosedPipe, EndsACommandQuietly) {
  const Workspace work;
  for (const std::string command : {"explain zoo95.jt", "tree asm95.jt --json"}) {
    work.run("--version; sleep 0.2; '" JTW_TOOL "' " + command +
             "; echo $? > io/code; } 2> io/messages | { exec 0<&-; :");
    EXPECT_EQ(work.read("io/code"), "4\n") << command;
    EXPECT_EQ(work.read("io/messages"), "") << command;
  }
}

}  // namespace
