#include "InputFile.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

#include "ApiSysFilePath.h"
#include "Component.h"
#include "Failure.h"
#include "JtBufferProperty.h"
#include "JtFactory.h"
#include "JtFrameListProperty.h"
#include "JtStorageManager.h"
#include "JtwManager.h"
#include "Session.h"

namespace tool {
namespace {

constexpr const char* kInputName = "standard input";
constexpr const char* kOutputName = "standard output";

/// Standard input or output as a place of a JT file.
class PipeLocation final : public JtStorageLocation {
 public:
  explicit PipeLocation(const char* name) : name_(name) {}
  static const JtType* classTypeID() {
    static const JtType type("PipeLocation", JtStorageLocation::classTypeID());
    return &type;
  }
  const JtType* typeID() const override { return classTypeID(); }
  JtString displayName() const override { return {name_}; }

 private:
  const char* name_;
};

[[noreturn]] void fail(const char* code, const std::string& name, const std::string& message) {
  throw JtFormatError(code, message, {.file = name});
}

class PipeImage final : public jt::FileImage {
 public:
  explicit PipeImage(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}
  std::span<const std::byte> bytes() const override { return bytes_; }
  std::optional<jt::FileIdentity> identity() const override { return std::nullopt; }
  void checkPresent() const override {}
  std::string name() const override { return kInputName; }

 private:
  std::vector<std::byte> bytes_;
};

std::uint64_t mostInput = std::uint64_t{1} << 30;

/// All that a stream has.
std::vector<std::byte> readStream(std::FILE* file, const std::string& name) {
  constexpr std::size_t kFirstSize = std::size_t{1} << 16;
  std::vector<std::byte> bytes(kFirstSize);
  std::size_t filled = 0;
  while (const std::size_t count =
             std::fread(bytes.data() + filled, 1, bytes.size() - filled, file)) {
    filled += count;
    if (filled > mostInput)
      fail("too_large", name,
           "it is longer than " + std::to_string(mostInput) + " bytes; option: --max-input");
    if (filled == bytes.size()) bytes.resize(filled * 2);
  }
  if (std::ferror(file) != 0) fail("unreadable", name, std::strerror(errno));
  bytes.resize(filled);
  return bytes;
}

std::vector<std::byte> readStandardInput() { return readStream(stdin, kInputName); }

void writeStandardOutput(std::span<const std::byte> bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size())
    fail("write_failed", kOutputName, std::strerror(errno));
}

/// Serves the standard streams beside files. Input is read once and kept: it cannot be read again.
class PipeStorageManager final : public JtStorageManager {
 public:
  jt::Ref<jt::FileImage> open(const JtStorageLocation& location) override {
    if (!jt::as<PipeLocation>(&location)) return JtStorageManager::open(location);
    if (!input_) input_ = jt::make<PipeImage>(readStandardInput());
    return input_;
  }

  jt::StorageSaveResult save(const JtStorageLocation& location,
                             std::span<const jt::FilePiece> pieces,
                             const jt::StorageSaveOptions& options) override {
    if (!jt::as<PipeLocation>(&location)) return JtStorageManager::save(location, pieces, options);
    for (const jt::FilePiece& piece : pieces) writeStandardOutput(piece.bytes);
    if (std::fflush(stdout) != 0) fail("write_failed", kOutputName, std::strerror(errno));
    return {};
  }

  jt::Ref<JtStorageLocation> resolve(const JtStorageLocation& base,
                                     const JtString& relativePath) override {
    if (jt::as<PipeLocation>(&base)) return {};
    return JtStorageManager::resolve(base, relativePath);
  }

 private:
  jt::Ref<jt::FileImage> input_;
};

jt::Ref<JtStorageLocation> locationOf(const std::string& path, const char* pipe) {
  if (path != "-") return jt::make<JtFSStorageLocation>(path);
  if (!dynamic_cast<PipeStorageManager*>(JtStorageManager::current().get()))
    jt::installStorageManager(new PipeStorageManager);
  return jt::make<PipeLocation>(pipe);
}

}  // namespace

std::string jtFileOf(const std::string& path) {
  if (path.empty()) return path;
  const DocumentName name(path);
  if (!name.isFolder || !ApiSysFilePath(path).isDirectory()) return path;
  std::string location;
  std::string file;
  if (!JtwManager::getFileNameFromDocument(openHostDocument(name), location, file))
    throw Failure(ExitCode::input, "not_found", "there is no JT file in it", {.file = path});
  return location + file;
}

jt::Ref<JtStorageLocation> inputLocation(const std::string& path) {
  return locationOf(jtFileOf(path), kInputName);
}

jt::Ref<JtStorageLocation> outputLocation(const std::string& path) {
  const DocumentName name(path);
  if (name.isStream) failUsage("'" + path + "' is written as a file; leave 'stream:' out");
  if (name.isFolder)
    failUsage("'" + path +
              "' names a component folder; name the JT file in it that is to be written");
  return locationOf(path, kOutputName);
}

void claimOutput(Session& session, const std::string& path, bool dryRun) {
  if (path != "-") return;
  if (!dryRun && isatty(STDOUT_FILENO) == 1)
    failUsage("standard output is a terminal; name a file, or redirect it");
  session.resultsToStandardError();
}

std::string reportName(const Session& session, const char* option) {
  const std::string* file = session.arguments().value(option);
  if (!file) return {};
  if (file->empty() || DocumentName(*file).isJt)
    failUsage("--" + std::string(option) + " is '" + *file + "', no name for a report");
  return *file;
}

// Not through the storage manager in use: it may be that of a host, for JT data alone.
std::vector<std::byte> readBytes(const std::string& path) try {
  if (path == "-") return readStandardInput();
  // A pipe that the shell has made, <(...), cannot be mapped.
  std::error_code ignored;
  if (std::filesystem::is_fifo(path, ignored)) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(std::fopen(path.c_str(), "rb"),
                                                               &std::fclose);
    if (!pipe) fail("unreadable", path, std::strerror(errno));
    return readStream(pipe.get(), path);
  }
  const auto image = jt::make<JtStorageManager>()->open(JtFSStorageLocation(path));
  const std::span<const std::byte> bytes = image->bytes();
  return {bytes.begin(), bytes.end()};
} catch (const JtFormatError& error) {
  throw readFailure(error, path);
}

void writeBytes(const std::string& path, std::span<const std::byte> bytes) try {
  if (path == "-") {
    writeStandardOutput(bytes);
    if (std::fflush(stdout) != 0) fail("write_failed", kOutputName, std::strerror(errno));
    return;
  }
  const jt::FilePiece piece{.bytes = bytes};
  jt::make<JtStorageManager>()->save(JtFSStorageLocation(path), {&piece, 1}, {});
} catch (const JtFormatError& error) {
  throw saveFailure(error, path);
}

void showNotes(Session& session, const std::string& path, std::span<const jt::Diagnostic> notes) {
  constexpr std::size_t kShown = 10;
  for (const jt::Diagnostic& note : notes.first(std::min(notes.size(), kShown)))
    session.warn(
        describe({.file = path, .segment = note.segment, .offset = note.offset}, note.message));
  if (notes.size() > kShown)
    session.warn(path + ": " + std::to_string(notes.size() - kShown) + " more; see 'jtw verify'");
}

std::uint64_t mostPlaces(const Arguments& arguments) {
  return arguments.positiveNumber("max-places").value_or(1'000'000);
}

void limitStandardInput(std::uint64_t bytes) { mostInput = bytes; }

jt::ReadLimits readLimits(const Session& session) {
  jt::ReadLimits limits;
  const Arguments& arguments = session.arguments();
  limits.maxSegmentBytes = arguments.byteCount("max-segment").value_or(limits.maxSegmentBytes);
  limits.maxDocumentBytes = arguments.byteCount("max-document");
  limits.followLinks = arguments.has("follow-links");
  return limits;
}

jt::Ref<JtPartition> openFile(Session& session, const std::string& path) {
  JtPartition::_autoLoadShapes = false;
  // What the host keeps in segments of its own can be put into another version only when its types
  // are known.
  JtFactory::addType(JtFrameListProperty::classTypeID());
  JtFactory::addType(JtBufferProperty::classTypeID());
  const jt::ReadLimits limits = readLimits(session);
  const jt::Ref<JtStorageLocation> location = inputLocation(path);
  JtPartition* opened = nullptr;
  try {
    JtPartition::openPartition(location.get(), nullptr, opened, limits);
  } catch (const JtFormatError& error) {
    throw readFailure(error, path);
  }
  jt::Ref<JtPartition> partition(opened);
  opened->unref();
  showNotes(session, path, partition->notes());
  return partition;
}

}  // namespace tool
