#include "GeneratedFiles.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <vector>

#include "Jt.h"
#include "JtXform.h"
#include "VisPartNode.h"

namespace bench {

namespace {

struct Folder {
  std::string path =
      std::filesystem::temp_directory_path() / ("jtw-bench-" + std::to_string(getpid()));
  Folder() { std::filesystem::create_directories(path); }
  ~Folder() { std::filesystem::remove_all(path); }
};

/// Key atoms that all nodes share, as an application keeps them.
struct Keys {
  jt::Ref<JtStringPropAtom> name = text(Jt::jtPropName);
  jt::Ref<JtStringPropAtom> material = text("CAD_MATERIAL::");
  jt::Ref<JtStringPropAtom> supplier = text("Supplier::");
  jt::Ref<JtStringPropAtom> order = text("Order::");
  jt::Ref<JtStringPropAtom> revision = text("Revision::");
  jt::Ref<JtStringPropAtom> station = text("Station::");

  static jt::Ref<JtStringPropAtom> text(const char* key) {
    return jt::make<JtStringPropAtom>(JtString(key));
  }
};

void set(JtNode& node, const jt::Ref<JtStringPropAtom>& key, const std::string& value) {
  const auto atom = jt::make<JtStringPropAtom>(JtString(value));
  node.addProperty(key.get(), atom.get(), true);
}

void furnish(JtNode& node, const Keys& keys, std::size_t i) {
  const std::string number = std::to_string(i);
  set(node, keys.name, "Bracket_" + number + ".part;0;0:");
  set(node, keys.material, "Steel S235 lot " + number);
  set(node, keys.supplier, "Supplier no. " + std::to_string(i % 997));
  set(node, keys.order, "2026-" + number);
  set(node, keys.revision, "rev " + std::to_string(i % 61));
  set(node, keys.station, "Line 4, station " + std::to_string(i * 7919 % 100003));
  const auto x = static_cast<double>(i % 1000);
  const auto xform =
      jt::make<JtXform>(jt::Matrix4{0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, x, 0.5 * x, 0.25 * x, 1});
  node.appendAttribute(xform.get());
}

template <class T>
void put(std::string& out, T value) {
  out.append(reinterpret_cast<const char*>(&value), sizeof value);
}

}  // namespace

const std::string& folder() {
  static const Folder made;
  return made.path;
}

jt::Ref<JtStorageLocation> locationOf(const std::string& path) {
  return jt::make<JtFSStorageLocation>(JtString(), JtString(path));
}

jt::Ref<JtPartition> openFile(const std::string& path, const jt::ReadLimits& limits) {
  JtPartition* opened = nullptr;
  JtPartition::openPartition(locationOf(path).get(), nullptr, opened, limits);
  jt::Ref<JtPartition> partition(opened);
  opened->unref();
  return partition;
}

jt::Ref<JtPartition> makeAssembly(std::size_t count, jt::FileVersion version) {
  constexpr std::size_t kFanOut = 10;
  auto partition = jt::make<JtPartition>();
  partition->setVersion(version);
  const Keys keys;
  std::vector<jt::Ref<VisMetaDataNode>> nodes;
  nodes.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    nodes.push_back(jt::make<VisMetaDataNode>());
    furnish(*nodes[i], keys, i);
    JtGroup& parent = i == 0 ? static_cast<JtGroup&>(*partition) : *nodes[(i - 1) / kFanOut];
    parent.addChild(nodes[i].get());
  }
  return partition;
}

const std::string& assemblyFile(std::size_t count) {
  static std::map<std::size_t, std::string> files;
  std::string& path = files[count];
  if (path.empty()) {
    path = folder() + "/assembly" + std::to_string(count) + ".jt";
    makeAssembly(count, {9, 5})->save(locationOf(path).get());
  }
  return path;
}

std::string bulkFile(const std::string& name, std::size_t count, std::size_t bytesEach,
                     bool filled) {
  // A saved part gives the scene graph segment; the bulk is put behind it in a new table of
  // contents.
  const std::string partPath = folder() + "/part-of-" + name;
  auto partition = jt::make<JtPartition>();
  partition->setVersion({10, 0});
  const auto part = jt::make<VisPartNode>();
  set(*part, Keys().name, "Housing.part;0;0:");
  partition->addChild(part.get());
  partition->save(locationOf(partPath).get());
  std::ifstream in(partPath, std::ios::binary);
  const std::string saved{std::istreambuf_iterator<char>(in), {}};
  constexpr std::size_t kHeader = 109;
  constexpr std::size_t kRow = 32;
  constexpr std::size_t kSegmentHeader = 24;
  const std::size_t sceneAt = kHeader + 4 + kRow;
  const std::string scene = saved.substr(sceneAt);

  std::string front = saved.substr(0, kHeader);
  put(front, static_cast<std::int32_t>(count + 1));
  std::uint64_t at = kHeader + 4 + kRow * (count + 1);
  front += saved.substr(kHeader + 4, 16);
  put(front, at);
  put(front, static_cast<std::uint32_t>(scene.size()));
  put(front, std::uint32_t{1} << 24);
  at += scene.size();
  std::vector<std::string> headers;
  for (std::size_t i = 0; i < count; ++i) {
    std::string id(16, '\x5a');
    std::memcpy(id.data(), &i, sizeof i);
    front += id;
    put(front, at);
    put(front, static_cast<std::uint32_t>(bytesEach));
    put(front, std::uint32_t{6} << 24);
    std::string header = id;
    put(header, std::int32_t{6});
    put(header, static_cast<std::int32_t>(bytesEach));
    headers.push_back(header);
    at += bytesEach;
  }
  const std::string path = folder() + "/" + name;
  std::ofstream out(path, std::ios::binary);
  out << front << scene;
  std::mt19937_64 noise(7);
  std::string body(bytesEach - kSegmentHeader, '\0');
  if (filled)
    for (std::size_t i = 0; i + 8 <= body.size(); i += 8) {
      const std::uint64_t word = noise();
      std::memcpy(body.data() + i, &word, sizeof word);
    }
  for (const std::string& header : headers) {
    out << header;
    if (filled) {
      out << body;
    } else {
      out.seekp(static_cast<std::streamoff>(body.size()), std::ios::cur);
    }
  }
  out.close();
  std::filesystem::resize_file(path, at);
  return path;
}

std::uint64_t peakMemory(const std::string& what, const std::string& file) {
  const std::string self = std::filesystem::read_symlink("/proc/self/exe");
  FILE* child = popen(("'" + self + "' --peak " + what + " '" + file + "'").c_str(), "r");
  unsigned long long bytes = 0;
  if (!child) return 0;
  if (std::fscanf(child, "%llu", &bytes) != 1) bytes = 0;
  pclose(child);
  return bytes;
}

void printPeakMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with("VmHWM:")) std::printf("%llu\n", 1024 * std::stoull(line.substr(6)));
}

}  // namespace bench
