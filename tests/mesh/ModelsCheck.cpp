// Takes mesh files through JT and back: mesh_models [--versions V,V...] FILE-OR-FOLDER...
//
// Each model is imported, saved in every version without loss, and in the first and the last one
// with few bits and several levels of detail, opened again and compared. A process of its own does
// it, since the import library may break down. Prints a table; the exit code is 1 when a model that
// could be read did not come back as it was.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <map>
#include <sstream>

#include "../Host/TempFolder.h"
#include "Comparison.h"
#include "JtFormatError.h"
#include "JtwManager.h"
#include "MeshFiles.h"

namespace {

namespace fs = std::filesystem;

constexpr unsigned kSeconds = 120;

enum class Verdict { passed = 0, refused = 10, failed = 11 };

struct Result {
  Verdict verdict;
  std::string text;
};

/// JT 8.x has room for one set of texture coordinates a shape, with two components; others are left
/// out with a warning.
void keepPlainTexture(mesh::Scene& scene) {
  for (std::shared_ptr<const jt::Mesh>& mesh : scene.meshes) {
    auto kept = std::make_shared<jt::Mesh>(*mesh);
    std::erase_if(kept->textures, [](const jt::Mesh::TextureChannel& texture) {
      return texture.channel != 0 || texture.components != 2;
    });
    mesh = std::move(kept);
  }
}

std::string passageFailure(const mesh::Scene& scene, const std::string& path,
                           const Passage& passage) {
  const std::string name =
      "JT " + passage.version + (passage.encoding.positionBits > 0 ? " quantized" : "") + ": ";
  try {
    Tolerance tolerance;
    tolerance.positionBits = passage.encoding.positionBits;
    const mesh::Scene back = throughJt(scene, path, passage);
    mesh::Scene expected = scene;
    mesh::convertUnit(expected, back.millimetres);
    if (passage.version.starts_with("8.")) keepPlainTexture(expected);
    const std::string found = difference(expected, back, tolerance);
    return found.empty() ? found : name + found;
  } catch (const std::exception& error) {
    return name + error.what();
  }
}

Result check(const std::string& file, const std::vector<std::string>& versions) {
  mesh::Scene scene;
  try {
    scene = mesh::loadScene(file);
  } catch (const JtFormatError& error) {
    return {Verdict::refused, error.code() + ": " + error.message()};
  }
  const TempFolder folder;
  std::vector<Passage> passages;
  for (const std::string& version : versions)
    passages.push_back({.version = version, .encoding = {}});
  for (const std::string& version : {versions.front(), versions.back()}) {
    passages.push_back({.version = version, .encoding = {}, .levels = 3});
    passages.back().encoding.positionBits = 12;
    passages.back().encoding.normalBits = 8;
  }
  for (const Passage& passage : passages) {
    const std::string failure = passageFailure(scene, folder.at("model.jt"), passage);
    if (!failure.empty()) return {Verdict::failed, failure};
  }
  return {Verdict::passed, std::to_string(scene.meshes.size()) + " meshes"};
}

/// check() in a process of its own.
Result checkApart(const std::string& file, const std::vector<std::string>& versions) {
  int ends[2];
  if (pipe(ends) != 0) return {Verdict::failed, "no pipe"};
  const pid_t child = fork();
  if (child == 0) {
    alarm(kSeconds);
    std::freopen("/dev/null", "w", stderr);
    JtwManager::init();
    const Result result = check(file, versions);
    const std::string text = result.text.substr(0, 200);
    const bool isWritten = write(ends[1], text.data(), text.size()) >= 0;
    _exit(isWritten ? static_cast<int>(result.verdict) : 1);
  }
  close(ends[1]);
  char text[201] = {};
  const ssize_t size = read(ends[0], text, 200);
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  const std::string said(text, size > 0 ? static_cast<std::size_t>(size) : 0);
  if (WIFSIGNALED(status)) {
    const int signal = WTERMSIG(status);
    return {Verdict::refused, signal == SIGALRM
                                  ? "the reader takes too long"
                                  : "the reader broke down, signal " + std::to_string(signal)};
  }
  return {static_cast<Verdict>(WEXITSTATUS(status)), said};
}

std::vector<std::string> filesIn(const std::vector<std::string>& names) {
  std::vector<std::string> files;
  for (const std::string& name : names) {
    if (!fs::is_directory(name)) {
      files.push_back(name);
      continue;
    }
    for (const auto& entry : fs::recursive_directory_iterator(name))
      if (entry.is_regular_file() && mesh::canLoad(entry.path().string()))
        files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> versions{"8.2", "9.5", "10.0", "10.2"};
  std::vector<std::string> names(argv + 1, argv + argc);
  if (names.size() > 1 && names[0] == "--versions") {
    versions.clear();
    std::istringstream list(names[1]);
    for (std::string version; std::getline(list, version, ',');) versions.push_back(version);
    names.erase(names.begin(), names.begin() + 2);
  }
  const std::vector<std::string> files = filesIn(names);
  std::map<Verdict, int> counts;
  for (const std::string& file : files) {
    const Result result = checkApart(file, versions);
    ++counts[result.verdict];
    const char* word = result.verdict == Verdict::passed    ? "passed "
                       : result.verdict == Verdict::refused ? "refused"
                                                            : "FAILED ";
    std::printf("%s  %s  %s\n", word, file.c_str(), result.text.c_str());
    std::fflush(stdout);
  }
  const int passed = counts[Verdict::passed];
  const int refused = counts[Verdict::refused];
  const int failed = static_cast<int>(files.size()) - passed - refused;
  std::printf("%zu models: %d passed, %d refused, %d failed\n", files.size(), passed, refused,
              failed);
  return failed > 0 || passed == 0 ? 1 : 0;
}
