// `jtw info` as a whole process: on a small file beside a hello-world, on a file of 1 GB beside the
// small one.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "GeneratedFiles.h"

extern char** environ;

namespace {

/// A copy of a program, as an installation makes one: the pages of a file that the linker wrote lie
/// in smaller pieces, and take longer to map.
std::string installed(const std::string& program) {
  const auto copy =
      std::filesystem::path(bench::folder()) / std::filesystem::path(program).filename();
  std::filesystem::copy_file(program, copy, std::filesystem::copy_options::skip_existing);
  return copy.string();
}

/// Starts a program with its output thrown away and waits for its end; its exit code.
int run(std::vector<std::string> words) {
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  int status = -1;
  if (posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ) == 0)
    waitpid(child, &status, 0);
  posix_spawn_file_actions_destroy(&actions);
  return status;
}

void runRepeatedly(benchmark::State& state, const std::vector<std::string>& words) {
  for (auto _ : state)
    if (run(words) != 0) state.SkipWithError("the program failed");
}

const std::string kSmall = JTW_TEST_DATA "/tiny100.jt";

void hello(benchmark::State& state) { runRepeatedly(state, {installed(JTW_HELLO)}); }

void infoSmall(benchmark::State& state) {
  runRepeatedly(state, {installed(JTW_PROGRAM), "info", kSmall});
}

/// 1 GB in a number of shape segments that hold nothing: none of their bytes is to be read.
void infoBig(benchmark::State& state) {
  constexpr std::size_t kBytes = 1000000000;
  const auto segments = static_cast<std::size_t>(state.range(0));
  static std::size_t made = 0;
  static std::string file;
  if (made != segments)
    file = bench::bulkFile("big" + std::to_string(segments) + ".jt", segments, kBytes / segments,
                           false);
  made = segments;
  runRepeatedly(state, {installed(JTW_PROGRAM), "info", file});
}

BENCHMARK(hello)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(infoSmall)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(infoBig)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
