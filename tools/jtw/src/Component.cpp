#include "Component.h"

#include <new>

#include "ApiErrStream.h"
#include "ApiSysFilePath.h"
#include "DmKrUtilsFileStream.h"
#include "DocumentStore.h"
#include "InputFile.h"
#include "JtByteText.h"
#include "JtExportRoot.h"
#include "JtwManager.h"
#include "JtwOpening.h"
#include "JtwPMIs.h"
#include "JtwTree.h"
#include "MemoryStream.h"
#include "SaveResult.h"
#include "Session.h"

namespace tool {
namespace {

constexpr std::string_view kStreamPrefix = "stream:";

/// Lets the registry look into .co and .cor documents. Viewer mode does so for good once it was on,
/// and is not wanted otherwise.
void lookIntoCoDocuments() {
  JtwManager::the().setUsingJtViewer(true);
  JtwManager::the().setUsingJtViewer(false);
}

ApiDocumentRef withFileStream(const ApiDocumentRef& document, const std::string& path,
                              bool forWriting) {
  using Mode = DmKrUtilsFileStream::Mode;
  try {
    const auto stream =
        DmKrUtilsFileStream::open(path, forWriting ? Mode::readWrite : Mode::readOnly);
    return host::withStream(document, CComPtr<IStream>(stream), ApiDocument::StreamDuty::should);
  } catch (const JtFormatError& error) {
    throw readFailure(error, path);
  }
}

ApiDocumentRef withInputStream(const ApiDocumentRef& document) {
  const auto stream = MemoryStream::create(readBytes("-"));
  return host::withStream(document, CComPtr<IStream>(stream), ApiDocument::StreamDuty::should);
}

}  // namespace

namespace {
int librariesInUse = 0;  // the last one stops the library
}  // namespace

Library::Library(Session& session) {
  if (librariesInUse++ > 0) return;
  JtPartition::_autoLoadShapes = false;
  ApiErrStream::setSink([&session](const ApiErrRecord& record) {
    if (record.code.ends_with("_LEFT_OUT")) return;  // exports print these for their parts
    std::string text = record.code;
    for (const std::string& argument : record.arguments) text += " " + argument;
    session.warn(text);
  });
  JtwManager::init();
}

Library::~Library() {
  if (--librariesInUse > 0) return;
  JtwManager::fini();
  ApiErrStream::setSink({});
}

DocumentName::DocumentName(const std::string& text) : text(text), path(text) {
  isStream = path.starts_with(kStreamPrefix);
  if (isStream) path.erase(0, kStreamPrefix.size());
  if (path.empty()) failUsage("the name of the document is empty");
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  const std::string extension = ApiSysFilePath(path).extension();
  isFolder = !isStream && (extension == "kpak" || extension == "co" || extension == "cor");
  isJt = isFolder || isStream || extension == "jt";
}

ApiDocumentRef openHostDocument(const DocumentName& name) {
  if (name.isFolder) lookIntoCoDocuments();
  host::OpenedDocument opened = host::openDocument(name.path);
  if (!opened.document)
    throw Failure(ExitCode::input, "bad_document", opened.error, {.file = name.path});
  return opened.document;
}

[[noreturn]] void failToOpen(const ApiDocumentRef& document, const DocumentName& name) {
  const jtw::OpenError error = jtw::lastOpenError(document);
  if (error.code == "out_of_memory") throw std::bad_alloc();
  jt::FilePosition where = error.where;
  if (name.isStream) where.file = name.path;
  throw readFailure({error.code, error.message, where}, where.file);
}

Component::Component(Session& session, const std::string& document, bool forWriting)
    : text_(document), library_(session) {
  DocumentName name(document);
  const bool isInput = document == "-";
  if (isInput && forWriting)
    failUsage("a component on standard input cannot be saved; name a file");
  if (isInput) {
    name.path = "standard input";
    name.isStream = true;
  }
  document_ = openHostDocument(name);
  if (isInput)
    document_ = withInputStream(document_);
  else if (name.isStream)
    document_ = withFileStream(document_, name.path, forWriting);
  JtwManager::the().setReadLimits(readLimits(session));
  auto error = JtwRoot::JT_INITIALIZE_FAILED;
  root_ = JtwManager::the().computeExistingDocRoot(document_, JtwRoot::JT_LOAD_WITH_UNIT_PROPERTY,
                                                   error);
  if (!root_) failToOpen(document_, name);
  showNotes(session, text_, root_->partition()->notes());
  if (!jtw::loadWrappers(*root_))
    throw Failure(ExitCode::input, "not_a_component", "the component cannot be walked",
                  {.file = text_});
  objects_.emplace(*root_, text_);
}

Component::~Component() = default;

JtExportRoot& Component::exportRoot() const { return *JtwManager::the().exportRoot(document_); }

std::string Component::file() const {
  const JtStorageLocation* place = root_->partition()->storageLocation();
  return place ? jt::bytesOfText(place->displayName()) : text_;
}

std::optional<int> Component::structure() const {
  ApiDocument::Structure structure{};
  if (!JtwManager::the().findDocumentStructure(document_, structure)) return std::nullopt;
  return static_cast<int>(structure);
}

jt::SaveReport Component::save(bool dryRun) {
  objects_->storeFrames();
  if (!jtw::writePMIs(*root_)) failRefused(text_, "pmi_not_written", jt::lastError());
  jt::SaveOptions options;
  options.dryRun = dryRun;
  return savePartition(*root_->partition(), nullptr, options, text_);
}

}  // namespace tool
