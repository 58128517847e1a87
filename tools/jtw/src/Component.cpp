#include "Component.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <new>
#include <unordered_set>

#include "ApiErrStream.h"
#include "ApiSysFilePath.h"
#include "ApiSysStringConvertors.h"
#include "DmKrUtilsFileStream.h"
#include "DocumentStore.h"
#include "InputFile.h"
#include "JtExportRoot.h"
#include "JtStackNodeIter.h"
#include "JtwManager.h"
#include "JtwPMI.h"
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
    if (record.code.ends_with("_LEFT_OUT")) return;  // exports print these for their parts
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
    throw Failure(ExitCode::input, "bad_document", opened.error, {.file = name.path});
  return opened.document;
}

[[noreturn]] void failToOpen(const ApiDocumentRef& document, const DocumentName& name) {
  std::string location;
  std::string file = name.path;
  if (!name.isStream && !JtwManager::getFileNameFromDocument(document, location, file))
    throw Failure(ExitCode::input, "not_found",
                  ApiSysFilePath(name.path).exists() ? "there is no JT file in it"
                                                     : "there is no such document",
                  {.file = name.path});
  if (jt::lastErrorCode() == "out_of_memory") throw std::bad_alloc();
  if (const auto& error = jt::lastFormatError()) {
    jt::FilePosition where = error->where();
    where.file = location + file;  // an error in a stream has the name of that
    throw readFailure({error->code(), error->message(), where}, where.file);
  }
  throw Failure(ExitCode::input, "not_a_component", jt::lastError(), {.file = name.path});
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
  showNotes(session, text_, root_->partition()->notes());
  if (!jtw::loadWrappers(*root_))
    throw Failure(ExitCode::input, "not_a_component", "the component cannot be walked",
                  {.file = text_});
  relist();
}

Component::~Component() = default;

JtExportRoot& Component::exportRoot() const { return *JtwManager::the().exportRoot(document_); }

std::string Component::file() const {
  const JtStorageLocation* place = root_->partition()->storageLocation();
  return place ? place->displayName().stringToMbs() : text_;
}

std::optional<int> Component::structure() const {
  ApiDocument::Structure structure{};
  if (!JtwManager::the().findDocumentStructure(document_, structure)) return std::nullopt;
  return static_cast<int>(structure);
}

ObjectName::ObjectName(const std::string& name) : text(name) {
  if (text == "root") return;
  if (!text.starts_with('#')) {
    key = parseKey(text);
    return;
  }
  const std::size_t colon = std::min(text.find(':'), text.size());
  for (std::size_t start = 1; start <= colon;) {
    const std::size_t end = std::min(text.find('/', start), colon);
    const long id = parseKey(text.substr(start, end - start)).getAsLong();
    if (id <= 0) failUsage("'" + text + "' is no address: an object id is a number from 1 on");
    nodeIds.push_back(static_cast<std::int32_t>(id));
    start = end + 1;
  }
  if (colon < text.size()) key = parseKey(text.substr(colon + 1));
}

namespace {

/// The node with that id in the file of `start`, at `start` or below it; null when there is none.
JtNode* findBelow(JtNode& start, std::int32_t id) {
  const auto iterator = jt::make<JtStackNodeIter>();
  std::unordered_set<const JtNode*> shared;
  JtNode* found = nullptr;
  iterator->setPreVisit([&](JtNode* node) {
    using Next = JtStackNodeIter::Next;
    if (node->numParents() > 1 && !shared.insert(node).second) return Next::skipChildren;
    if (node->objectId() == id) found = node;
    if (found) return Next::stop;
    const auto* partition = jt::as<JtPartition>(node);
    return partition && partition->externalPartition() ? Next::skipChildren : Next::descend;
  });
  iterator->run(&start);
  return found;
}

/// The node that the ids lead to; null when they lead nowhere.
JtNode* follow(JtPartition& top, const std::vector<std::int32_t>& ids) {
  JtNode* at = &top;
  JtNode* found = nullptr;
  for (const std::int32_t id : ids) {
    found = findBelow(*at, id);
    if (!found) return nullptr;
    auto* partition = jt::as<JtPartition>(found);
    at = partition && partition->externalPartition() ? partition->externalPartition() : found;
  }
  return found;
}

/// The ids that lead to a node: of the partitions that represent the files on the way, and its own;
/// nothing when one has none.
std::vector<std::int32_t> idsTo(const JtNode* node) {
  std::vector<std::int32_t> ids{node->objectId()};
  for (const JtNode* at = node; at->parent(0); at = at->parent(0)) {
    const auto* holder = jt::as<JtPartition>(at->parent(0));
    if (holder && holder->externalPartition() == at) ids.insert(ids.begin(), holder->objectId());
  }
  if (std::ranges::find(ids, 0) != ids.end()) ids.clear();
  return ids;
}

std::string addressOf(const std::vector<std::int32_t>& ids, JtwNode& node) {
  if (ids.empty()) return {};
  std::string text;
  for (const std::int32_t id : ids) text += (text.empty() ? "#" : "/") + std::to_string(id);
  if (!node.isOfTypePMI()) return text;
  return node.key().isNull() ? std::string() : text + ":" + std::to_string(node.key().getAsLong());
}

/// The node that holds an object: its own, or that of the collection of a frame or annotation.
const JtNode* holderOf(JtwNode& node) {
  if (!node.isOfTypePMI()) return node.jtNode();
  JtwCollection* collection = static_cast<JtwPMI&>(node).collection();
  return collection ? collection->jtNode() : nullptr;
}

}  // namespace

std::size_t Component::find(const ObjectName& name) const {
  if (name.text == "root") return 0;
  if (name.nodeIds.empty()) {
    const auto first = firstOfKey_.find(name.key.getAsLong());
    if (first != firstOfKey_.end()) return first->second;
  } else if (const JtNode* holder = follow(*root_->partition(), name.nodeIds)) {
    const bool isFrame = !name.key.isNull();
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      JtwNode& node = *entries_[i].node;
      const bool isNamed = !isFrame || node.key() == name.key;
      if (node.isOfTypePMI() == isFrame && isNamed && holderOf(node) == holder) return i;
    }
  }
  failRefused(text_, "unknown_key",
              "the component has no object " + name.text + "; `jtw tree` lists those that it has");
}

std::string Component::address(std::size_t index) const {
  JtwNode& node = *entries_[index].node;
  const ApiProtoKey key = node.key();
  if (!key.isNull()) {
    const auto first = firstOfKey_.find(key.getAsLong());
    if (first == firstOfKey_.end() || first->second == index)
      return std::to_string(key.getAsLong());
  } else if (index == 0) {
    return "root";
  }
  const JtNode* holder = holderOf(node);
  return holder ? addressOf(idsTo(holder), node) : std::string();
}

std::uint64_t Component::placeCount(std::size_t index) const {
  const JtNode* holder = holderOf(*entries_[index].node);
  return holder ? jt::placesOf(*holder, *root_->jtNode()) : 1;
}

std::vector<ListedObject> Component::listing(std::size_t index) const {
  std::vector<ListedObject> listed;
  std::vector<JtwNode*> path;  // of what is listed, by depth
  for (std::size_t i = index; i < endOfSubtree(index); ++i) {
    path.resize(static_cast<std::size_t>(entries_[i].depth - entries_[index].depth));
    listed.push_back({.node = entries_[i].node,
                      .parent = path.empty() ? listedParent(index) : path.back(),
                      .depth = entries_[i].depth,
                      .address = address(i)});
    path.push_back(entries_[i].node);
  }
  return listed;
}

std::vector<ListedObject> Component::allPlaces() const {
  constexpr std::size_t kMost = 200'000;
  std::vector<ListedObject> listed;
  std::vector<JtwNode*> path;
  for (const jtw::TreePlace& place : jtw::treePlaces(*root_, kMost)) {
    path.resize(static_cast<std::size_t>(place.depth));
    ListedObject object{
        .node = place.node, .parent = path.empty() ? nullptr : path.back(), .depth = place.depth};
    path.push_back(place.node);
    const bool isFirst = place.first == listed.size();
    const ApiProtoKey key = place.node->key();
    const auto named = key.isNull() ? firstOfKey_.end() : firstOfKey_.find(key.getAsLong());
    const bool isNamedByKey =
        isFirst && named != firstOfKey_.end() && entries_[named->second].node == place.node;
    if (isNamedByKey)
      object.address = std::to_string(key.getAsLong());
    else if (listed.empty())
      object.address = "root";
    else
      object.address = addressOf(place.ids, *place.node);
    if (!isFirst) {
      object.sameAs = listed[place.first].address;
      object.relLoc = place.relLoc;
      object.name = ApiSysStringConvertors::UnicodeToRWCString(place.name);
    }
    listed.push_back(std::move(object));
  }
  return listed;
}

bool Component::ensureKey(std::size_t index, const ApiProtoKey& reserved) {
  JtwNode& node = *entries_[index].node;
  if (!node.key().isNull()) return true;
  ApiProtoKey key = jtw::nextFreeKey(*root_);
  if (key == reserved) ++key;
  return node.setKey(key);
}

bool Component::ensureOwnKey(std::size_t index, const ApiProtoKey& reserved) {
  if (!ensureKey(index, reserved)) return false;
  JtwNode* const node = entries_[index].node;
  JtwNode* holder = nullptr;
  root_->getNodeByKey(node->key(), holder);
  if (holder && holder != node)
    failRefused(text_, "key_in_use",
                "the key " + std::to_string(node->key().getAsLong()) +
                    " is that of another object too, of another file; open the part file alone");
  return true;
}

std::optional<std::size_t> Component::listedParentIndex(std::size_t index) const {
  for (std::size_t i = index; i-- > 0;)
    if (entries_[i].depth < entries_[index].depth) return i;
  return {};
}

JtwNode* Component::listedParent(std::size_t index) const {
  const std::optional<std::size_t> parent = listedParentIndex(index);
  return parent ? entries_[*parent].node : nullptr;
}

std::size_t Component::endOfSubtree(std::size_t index) const {
  std::size_t end = index + 1;
  while (end < entries_.size() && entries_[end].depth > entries_[index].depth) ++end;
  return end;
}

void Component::relist() {
  entries_ = jtw::tree(*root_, *root_);
  firstOfKey_.clear();
  for (std::size_t i = 0; i < entries_.size(); ++i)
    if (const ApiProtoKey key = entries_[i].node->key(); !key.isNull())
      firstOfKey_.emplace(key.getAsLong(), i);
}

std::size_t Component::findCollection(const ObjectName& name, const ApiProtoKey& reserved) {
  const std::size_t index = find(name);
  JtwNode& node = *entries_[index].node;
  if (!node.isCollection())
    failRefused(text_, "not_a_collection",
                "object " + name.text + " cannot hold others: it is of the kind " + kindName(node));
  if (!ensureOwnKey(index, reserved))
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
