#include "Component.h"

#include <charconv>
#include <limits>

#include "ApiErrStream.h"
#include "ApiSysFilePath.h"
#include "DmKrUtilsFileStream.h"
#include "DocumentStore.h"
#include "InputFile.h"
#include "JtExportRoot.h"
#include "JtwManager.h"
#include "JtwPMIs.h"
#include "NodeView.h"
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

}  // namespace

Library::Library(Session& session) {
  JtPartition::_autoLoadShapes = false;
  ApiErrStream::setSink([&session](const ApiErrRecord& record) {
    std::string text = record.code;
    for (const std::string& argument : record.arguments) text += " " + argument;
    session.warn(text);
  });
  JtwManager::init();
}

Library::~Library() {
  JtwManager::fini();
  ApiErrStream::setSink({});
}

DocumentName::DocumentName(const std::string& text) : path(text) {
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
    throw Failure(ExitCode::input, "bad_document", opened.error,
                  {.file = name.path, .segment = {}, .element = {}, .offset = {}});
  return opened.document;
}

[[noreturn]] void failToOpen(const ApiDocumentRef& document, const DocumentName& name) {
  std::string location;
  std::string file = name.path;
  if (!name.isStream && !JtwManager::getFileNameFromDocument(document, location, file))
    throw Failure(ExitCode::input, "not_found",
                  ApiSysFilePath(name.path).exists() ? "there is no JT file in it"
                                                     : "there is no such document",
                  {.file = name.path, .segment = {}, .element = {}, .offset = {}});
  // What is wrong with the file shows when it is opened alone.
  try {
    const jt::Ref<JtStorageLocation> place = inputLocation(location + file);
    JtPartition* opened = nullptr;
    JtPartition::openPartition(place.get(), nullptr, opened, JtwManager::the().readLimits());
    if (opened) opened->unref();
  } catch (const JtFormatError& error) {
    throw readFailure(error, location + file);
  }
  throw Failure(ExitCode::input, "not_a_component", jt::lastError(),
                {.file = name.path, .segment = {}, .element = {}, .offset = {}});
}

ApiProtoKey parseKey(const std::string& text) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (text.empty() || error != std::errc() || end != text.data() + text.size())
    failUsage("'" + text + "' is no key: a whole number");
  return ApiProtoKey(number);
}

Component::Component(Session& session, const std::string& document, bool forWriting)
    : text_(document), library_(session) {
  const DocumentName name(document);
  document_ = openHostDocument(name);
  if (name.isStream) document_ = withFileStream(document_, name.path, forWriting);
  JtwManager::the().setReadLimits(readLimits(session));
  auto error = JtwRoot::JT_INITIALIZE_FAILED;
  root_ = JtwManager::the().computeExistingDocRoot(document_, JtwRoot::JT_LOAD_WITH_UNIT_PROPERTY,
                                                   error);
  if (!root_) failToOpen(document_, name);
  for (const jt::Note& note : root_->partition()->notes())
    session.warn(
        describe({.file = text_, .segment = note.segment, .element = {}, .offset = note.offset},
                 note.message));
  if (!jtw::loadWrappers(*root_))
    throw Failure(ExitCode::input, "not_a_component", "the component cannot be walked",
                  {.file = text_, .segment = {}, .element = {}, .offset = {}});
  entries_ = jtw::tree(*root_, *root_);
}

Component::~Component() = default;

JtExportRoot& Component::exportRoot() const { return *JtwManager::the().exportRoot(document_); }

std::optional<int> Component::structure() const {
  ApiDocument::Structure structure{};
  if (!JtwManager::the().findDocumentStructure(document_, structure)) return std::nullopt;
  return static_cast<int>(structure);
}

ObjectName::ObjectName(const std::string& name) : text(name) {
  if (text == "root") return;
  if (text.starts_with('#')) {
    nodeId = static_cast<std::int32_t>(parseKey(text.substr(1)).getAsLong());
    if (*nodeId <= 0) failUsage("'" + text + "' is no object id: '#' and a number from 1 on");
  } else {
    key = parseKey(text);
  }
}

std::size_t Component::find(const ObjectName& name) const {
  if (name.text == "root") return 0;
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    const JtwNode& node = *entries_[i].node;
    if (name.nodeId ? node.jtNode() && node.jtNode()->objectId() == *name.nodeId
                    : !name.key.isNull() && entries_[i].node->key() == name.key)
      return i;
  }
  failRefused(text_, "unknown_key",
              "the component has no object " + name.text + "; `jtw tree` lists those that it has");
}

bool Component::ensureKey(std::size_t index, const ApiProtoKey& reserved) {
  JtwNode& node = *entries_[index].node;
  if (!node.key().isNull()) return true;
  ApiProtoKey key = jtw::nextFreeKey(*root_);
  if (key == reserved) ++key;
  return node.setKey(key);
}

JtwNode* Component::listedParent(std::size_t index) const {
  for (std::size_t i = index; i-- > 0;)
    if (entries_[i].depth < entries_[index].depth) return entries_[i].node;
  return nullptr;
}

std::size_t Component::endOfSubtree(std::size_t index) const {
  std::size_t end = index + 1;
  while (end < entries_.size() && entries_[end].depth > entries_[index].depth) ++end;
  return end;
}

void Component::relist() { entries_ = jtw::tree(*root_, *root_); }

std::size_t Component::findCollection(const ObjectName& name, const ApiProtoKey& reserved) {
  const std::size_t index = find(name);
  JtwNode& node = *entries_[index].node;
  if (!node.isCollection())
    failRefused(text_, "not_a_collection",
                "object " + name.text + " cannot hold others: it is of the kind " + kindName(node));
  if (!ensureKey(index, reserved))
    failRefused(text_, "no_free_key", "object " + name.text + " has no key and cannot get one");
  return index;
}

ApiProtoKey Component::newKey(const std::string& text) const {
  if (text == "auto") {
    const ApiProtoKey key = jtw::nextFreeKey(*root_);
    if (key.getAsLong() > std::numeric_limits<std::int32_t>::max())
      failRefused(text_, "no_free_key", "the greatest key is in use; name a free one with --key");
    return key;
  }
  const ApiProtoKey key = parseKey(text);
  if (key.getAsLong() <= 0) failUsage("'" + text + "' is no key: they count from 1");
  JtwNode* holder = nullptr;
  root_->getNodeByKey(key, holder);
  for (auto entry = entries_.begin(); !holder && entry != entries_.end(); ++entry)
    if (entry->node->key() == key) holder = entry->node;
  if (holder)
    failRefused(text_, "key_in_use",
                "the key " + text + " is in use by a " + kindName(*holder) +
                    "; --key auto takes the next free one");
  return key;
}

jt::SaveReport Component::save(bool dryRun) {
  if (!jtw::writePMIs(*root_)) failRefused(text_, "pmi_not_written", jt::lastError());
  jt::SaveOptions options;
  options.dryRun = dryRun;
  return savePartition(*root_->partition(), nullptr, options, text_);
}

}  // namespace tool
