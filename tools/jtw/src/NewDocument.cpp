#include "NewDocument.h"

#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "ApiSysFileAccess.h"
#include "ApiSysFilePath.h"
#include "ApiSysStringConvertors.h"
#include "DmKrUtilsFileStream.h"
#include "DmKrUtilsStreamStorageLocation.h"
#include "Failure.h"
#include "InputFile.h"
#include "JtTemporaryPath.h"
#include "JtwManager.h"
#include "JtwNewComponent.h"
#include "SaveResult.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void failOutput(const char* code, const std::string& file,
                             const std::string& message) {
  throw Failure(ExitCode::output, code, message, {.file = file});
}

/// A folder that is made for a document, and removed again unless keep() is called.
class NewFolder {
 public:
  void create(const std::string& path) {
    std::error_code error;
    if (fs::is_directory(path, error)) return;
    if (!fs::create_directory(path, error) || error)
      failOutput("unwritable", path, error ? error.message() : "the folder cannot be made");
    path_.set(path, jt::TemporaryPath::Kind::folder);
    // A file is only as durable as the folders above it.
    const fs::path parent = fs::path(path).parent_path();
    isDurable_ = ApiSysFileAccess::syncDir(ApiSysFilePath(parent.empty() ? "." : parent.string()));
  }
  bool isDurable() const { return isDurable_; }
  void keep() { path_.keep(); }

 private:
  jt::TemporaryPath path_;
  bool isDurable_ = true;
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

jt::Ref<JtStorageLocation> streamLocation(const Target& target) try {
  using Mode = DmKrUtilsFileStream::Mode;
  const auto stream =
      DmKrUtilsFileStream::open(target.file, target.exists ? Mode::readWrite : Mode::createNew);
  const auto location = jt::make<DmKrUtilsStreamStorageLocation>();
  location->setStreamObject(jt::make<DmKrUtilsStreamObject>(CComPtr<IStream>(stream)).get());
  return location;
} catch (const JtFormatError& error) {
  failOutput(error.code().c_str(), target.file, error.message());
}

/// What every new component has.
void furnish(JtwRoot& root, const DocumentName& name, float unitRatio) {
  root.setKey(ApiProtoKey(kComponentKey));
  const std::string stem = fs::path(name.path).stem().string();
  root.setName(ApiSysStringConvertors::RWCStringToUnicode(stem));
  root.setMeasurementUnitRatio(unitRatio);
}

}  // namespace

NewDocument::NewDocument(DocumentName name, const ApiDocumentRef& document, bool replace,
                         float unitRatio)
    : name_(std::move(name)) {
  const Target target = findTarget(name_, document);
  if (target.exists && !replace)
    failOutput("exists", target.file, "it is there already; --force replaces it");
  file_ = target.file;
  exists_ = target.exists;
  root_ = JtwManager::the().computeNewDocRoot(document);
  furnish(*root_, name_, unitRatio);
}

jt::SaveReport NewDocument::save(jt::SaveOptions options) {
  if (!jtw::completeNewComponent(*root_))
    throw Failure(ExitCode::input, "not_updated", "the materials cannot be completed",
                  {.file = file_});
  NewFolder folder;
  jt::Ref<JtStorageLocation> location = outputLocation(file_);
  if (!options.dryRun && name_.isFolder) folder.create(name_.path);
  if (!options.dryRun && name_.isStream) location = streamLocation({file_, exists_});
  options.storage.createOnly = !exists_;
  jt::SaveReport report = savePartition(*root_->partition(), location.get(), options, name_.text);
  folder.keep();
  if (!folder.isDurable())
    report.warnings.push_back(
        {"saved_not_durable", "saved, but a power cut soon may take the new folder away again"});
  return report;
}

}  // namespace tool
