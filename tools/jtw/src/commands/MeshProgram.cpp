// `import` and `convert` are done by a program of their own beside this one: the library that reads
// mesh files is linked dynamically, and this program starts quickly because it is not. A reader
// that a damaged file brings down takes down that program alone, and this one reports it.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Command.h"
#include "CommandLines.h"
#include "Component.h"
#include "FileList.h"
#include "Installed.h"
#include "MeshConversion.h"
#include "Session.h"
#include "Signals.h"

namespace tool {
namespace {

constexpr const char* kProgram = "jtw-mesh";

std::string findProgram() {
  if (auto found = findInstalled(kProgram, "libexec/jtw", X_OK)) return *std::move(found);
  throw Failure(ExitCode::input, "not_installed",
                std::string("the program ") + kProgram + " is not installed beside jtw");
}

[[noreturn]] void failSignal(const std::string& file, int signal) {
  const jt::FilePosition where{.file = file};
  if (signal == SIGXCPU || signal == SIGALRM)
    throw Failure(ExitCode::input, "too_slow",
                  "reading it takes too long; it is likely damaged; option: --max-seconds", where);
  throw Failure(ExitCode::input, "damaged",
                "its reader broke down (signal " + std::to_string(signal) +
                    "); the file is damaged, or of a form that is not known",
                where);
}

/// The environment of the program: its memory comes in large pages where the system has them,
/// unless the user has settings of their own for the C library. Reading a mesh file takes as long
/// for the faults of small pages as for all else.
std::vector<char*> meshEnvironment() {
  static char tunables[] = "GLIBC_TUNABLES=glibc.malloc.hugetlb=1";
  std::vector<char*> environment;
  if (!std::getenv("GLIBC_TUNABLES")) environment.push_back(tunables);
  for (char** variable = environ; *variable; ++variable) environment.push_back(*variable);
  environment.push_back(nullptr);
  return environment;
}

/// Runs the program. @param file that it reads, for messages
ExitCode runMeshProgram(std::span<const char* const> arguments, const std::string& file) {
  const std::string program = findProgram();
  std::vector<char*> words{const_cast<char*>(program.c_str())};
  for (const char* word : arguments) words.push_back(const_cast<char*>(word));
  words.push_back(nullptr);
  const std::vector<char*> environment = meshEnvironment();
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child == 0) {
    beginChild(parent);
    execve(program.c_str(), words.data(), environment.data());
    _exit(127);
  }
  const ChildGuard guard(child);
  int status = 0;
  while (child > 0 && waitpid(child, &status, 0) < 0)
    if (errno != EINTR) break;
  if (child < 0 || (WIFEXITED(status) && WEXITSTATUS(status) == 127))
    throw Failure(ExitCode::input, "not_installed", program + " cannot be started");
  if (WIFSIGNALED(status)) failSignal(file, WTERMSIG(status));
  return static_cast<ExitCode>(WEXITSTATUS(status));
}

void requireFormat(const std::string& format) {
  for (const char* known : {"jt", "glb", "obj", "stl", "ply"})
    if (format == known) return;
  failUsage("--to is '" + format + "', not jt, glb, obj, stl or ply");
}

/// Converts each file, into a folder.
ExitCode convertEach(Session& session, const std::string& folder) {
  const Arguments& arguments = session.arguments();
  const std::string* format = arguments.value("to");
  if (!format) failUsage("--output-dir needs --to FORMAT: jt, glb, obj, stl or ply");
  requireFormat(*format);
  return runIntoFolder(session, {.folder = folder,
                                 .extension = "." + *format,
                                 .bringsParts = *format == "jt",
                                 .ownOption = "to"});
}

}  // namespace

ExitCode runImport(Session& session) {
  return runMeshProgram(session.words(), session.argument(0));
}
ExitCode runConvert(Session& session) {
  if (const std::string* folder = session.arguments().value("output-dir"))
    return convertEach(session, *folder);
  requireNoList(session);
  requireArguments(session, 2, 2);
  return runMeshProgram(session.words(), session.argument(0));
}

void convertMeshFile(const std::string& mesh, const std::string& jtFile) {
  // Its results would be mixed with those of this program.
  const char* const arguments[] = {"convert", mesh.c_str(), jtFile.c_str(), "--quiet"};
  const int standardOutput = dup(STDOUT_FILENO);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nowhere, STDOUT_FILENO);
  close(nowhere);
  const auto restore = [&] {
    dup2(standardOutput, STDOUT_FILENO);
    close(standardOutput);
  };
  ExitCode exit = ExitCode::input;
  try {
    exit = runMeshProgram(arguments, mesh);
  } catch (...) {
    restore();
    throw;
  }
  restore();
  if (exit != ExitCode::done)
    throw Failure(exit, "not_convertible", "the mesh cannot be converted", {.file = mesh});
}

}  // namespace tool
