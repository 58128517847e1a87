#include "NewDocument.h"

#include <filesystem>
#include <string>
#include <system_error>

#include "ApiSysFilePath.h"
#include "ApiSysStringConvertors.h"
#include "DmKrUtilsStreamStorageLocation.h"
#include "FileStream.h"
#include "InputFile.h"
#include "JtwManager.h"
#include "SaveResult.h"
#include "Session.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void failOutput(const char* code, const std::string& file,
                             const std::string& message) {
  throw Failure(ExitCode::output, code, message,
                {.file = file, .segment = {}, .element = {}, .offset = {}});
}

/// A file or folder that is removed again unless keep() is called.
class Provisional {
 public:
  Provisional() = default;
  ~Provisional() {
    std::error_code ignored;
    if (!path_.empty()) fs::remove(path_, ignored);
  }
  Provisional(const Provisional&) = delete;
  Provisional& operator=(const Provisional&) = delete;

  void createFolder(const std::string& path) {
    std::error_code error;
    if (fs::is_directory(path, error)) return;
    if (!fs::create_directory(path, error) || error)
      failOutput("unwritable", path, error ? error.message() : "the folder cannot be made");
    path_ = path;
  }
  void created(std::string path) { path_ = std::move(path); }
  void keep() { path_.clear(); }

 private:
  std::string path_;
};

/// The file that the JT data goes to, and whether something is there.
struct Target {
  std::string file;
  bool exists = false;
};

Target findTarget(const DocumentName& name, const ApiDocumentRef& document) {
  std::error_code ignored;
  if (!name.isFolder) {
    if (!name.isJt) failUsage("'" + name.path + "' ends neither in .kpak, .co or .cor nor in .jt");
    if (fs::is_directory(name.path, ignored))
      failOutput("not_a_file", name.path, "there is a folder of that name");
    return {name.path, fs::exists(name.path, ignored)};
  }
  if (fs::exists(name.path, ignored) && !fs::is_directory(name.path, ignored))
    failOutput("not_a_folder", name.path, "there is a file of that name");
  std::string location;
  std::string file;
  const bool exists = JtwManager::getFileNameFromDocument(document, location, file);
  if (!exists) JtwManager::getDatastoreLocationAndName(document, location, file);
  return {location + file, exists};
}

jt::Ref<JtStorageLocation> streamLocation(const Target& target, Provisional& made) {
  IStreamResult result = IStreamResult::ok;
  const auto mode = target.exists ? FileStream::Mode::readWrite : FileStream::Mode::create;
  const CComPtr<FileStream> stream = FileStream::open(ApiSysFilePath(target.file), mode, result);
  if (!stream) failOutput("unwritable", target.file, std::string(toText(result)));
  if (!target.exists) made.created(target.file);
  const auto location = jt::make<DmKrUtilsStreamStorageLocation>();
  location->setStreamObject(jt::make<DmKrUtilsStreamObject>(CComPtr<IStream>(stream)).get());
  return location;
}

/// What every new component has.
void furnish(JtwRoot& root, const DocumentName& name, float unitRatio) {
  root.setKey(ApiProtoKey(kComponentKey));
  const std::string stem = fs::path(name.path).stem().string();
  root.setName(ApiSysStringConvertors::RWCStringToUnicode(stem));
  root.setMeasurementUnitRatio(unitRatio);
}

}  // namespace

NewDocument::NewDocument(Session& session, const std::string& document, bool replace,
                         float unitRatio)
    : text_(document), name_(document), library_(session) {
  const ApiDocumentRef reference = openHostDocument(name_);
  const Target target = findTarget(name_, reference);
  if (target.exists && !replace)
    failOutput("exists", target.file, "it is there already; --force replaces it");
  file_ = target.file;
  exists_ = target.exists;
  root_ = JtwManager::the().computeNewDocRoot(reference);
  furnish(*root_, name_, unitRatio);
}

jt::SaveReport NewDocument::save(const jt::SaveOptions& options) {
  Provisional made;
  jt::Ref<JtStorageLocation> location = outputLocation(file_);
  if (!options.dryRun && name_.isFolder) made.createFolder(name_.path);
  if (!options.dryRun && name_.isStream) location = streamLocation({file_, exists_}, made);
  jt::SaveReport report = savePartition(*root_->partition(), location.get(), options, text_);
  made.keep();
  return report;
}

}  // namespace tool
