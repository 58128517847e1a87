#include "JtPartition.h"

#include <algorithm>
#include <map>
#include <unordered_set>

#include "JtByteText.h"
#include "JtFormatError.h"
#include "file/graph/SceneReader.h"
#include "file/save/FileWriter.h"
#include "scene/Recording.h"
#include "storage/RelativePath.h"

bool JtPartition::_autoLoadShapes = true;

// --- Life

JtPartition::JtPartition() = default;

JtPartition::JtPartition(JtGroup* parent, bool resident) : openCount_(resident ? 1 : 0) {
  if (parent) parent->addChild(this);
}

JtPartition::~JtPartition() {
  if (scene_) scene_->shapes().stopLoading();
  Dismantler children;
  JtPartition::releaseChildren(children);
}

JtPartition::JtPartition(const JtPartition& other)
    : JtGroup(other),
      version_(other.version_),
      partitionVersion_(other.partitionVersion_),
      partitionFlags_(other.partitionFlags_),
      fileName_(other.fileName_),
      box1_(other.box1_),
      box2BeforeArea_(other.box2BeforeArea_),
      area_(other.area_),
      vertexRange_(other.vertexRange_),
      nodeRange_(other.nodeRange_),
      polygonRange_(other.polygonRange_),
      untransformedBox_(other.untransformedBox_) {}

jt::Ref<JtBase> JtPartition::clone() const { return jt::Ref<JtBase>(new JtPartition(*this)); }

void JtPartition::releaseChildren(Dismantler& out) noexcept {
  JtGroup::releaseChildren(out);
  if (!external_) return;
  detach(*external_, *this);
  out.add(std::exchange(external_, nullptr));
}

int JtPartition::numChildren() const noexcept { return external_ ? 1 : JtGroup::numChildren(); }

JtNode* JtPartition::child(int index) const noexcept {
  if (!external_) return JtGroup::child(index);
  return index == 0 ? external_.get() : nullptr;
}

int jt::numOwnChildren(const JtNode& node) noexcept {
  const auto* partition = as<JtPartition>(&node);
  return partition ? partition->JtGroup::numChildren() : node.numChildren();
}

JtNode* jt::ownChild(const JtNode& node, int index) noexcept {
  const auto* partition = as<JtPartition>(&node);
  return partition ? partition->JtGroup::child(index) : node.child(index);
}

// --- Opening

void JtPartition::openPartition(JtStorageLocation* location, JtGroup* parent, JtPartition*& out,
                                const jt::ReadLimits& limits) {
  out = nullptr;
  if (!location)
    throw JtFormatError("no_location", "a partition needs a storage location to be opened");
  auto container = jt::file::Container::open(JtStorageManager::current()->open(*location), limits);
  const auto source = jt::file::SceneSource::open(container);
  jt::Ref<JtPartition> opened = jt::file::SceneReader(source).read();
  opened->location_ = location;
  if (parent) parent->addChild(opened.get());
  if (_autoLoadShapes) source->loadShapesAhead();
  opened->ref();
  out = opened.get();
}

/// The files met while partitions are opened, so that each is tried once.
struct JtExternalFiles {
  struct Entry {
    jt::Ref<JtPartition> opened;
    std::optional<JtFormatError> error;
  };
  std::map<std::string, Entry> byPath;
  /// The file whose references are being followed and those that led to it: a reference to one of
  /// them would close a cycle.
  std::unordered_set<const JtPartition*> path;
};

void JtPartition::attachExternal(jt::Ref<JtPartition> opened) {
  external_ = std::move(opened);
  attach(*external_, *this);
}

/// Opens the file that this partition represents. The location of the referencing file must be
/// known.
bool JtPartition::openExternal(const JtPartition& referencing, JtExternalFiles& files) {
  const std::string name = jt::bytesOfText(fileName_);
  std::string file = name;
  partFailure_.reset();
  const auto fail = [&](const std::string& code, const std::string& why) {
    partFailure_ = {file, code, why};
    notes_.push_back({code, "partition file \"" + name + "\": " + why, {}, {}, true});
    jt::setLastError(notes_.back().message);
    return false;
  };
  JtStorageLocation* const base = referencing.location_.get();
  if (!base) return fail("no_location", "the place of the referencing file is not known");
  const jt::ReadLimits limits =
      referencing.scene_ ? referencing.container()->limits() : jt::ReadLimits{};
  try {
    const jt::Ref<JtStorageLocation> place = JtStorageManager::current()->resolve(*base, fileName_);
    if (!place && jt::as<JtFSStorageLocation>(base))
      return fail("external_outside", "it lies outside the folder of the referencing file");
    if (!place) return fail("external_missing", "the referencing file has no folder to look in");
    file = jt::bytesOfText(place->displayName());
    if (!limits.followLinks && jt::storage::leadsOutside(*base, *place))
      return fail("external_outside",
                  "a link leads out of the folder of the referencing file; it is not followed");
    const auto [entry, isNew] = files.byPath.try_emplace(file);
    if (isNew) {
      try {
        JtPartition* raw = nullptr;
        openPartition(place.get(), nullptr, raw, limits);
        entry->second.opened = jt::Ref<JtPartition>::adopt(raw);
      } catch (const JtFormatError& error) {
        entry->second.error = error;
      }
    }
    if (entry->second.error) throw *entry->second.error;
    const jt::Ref<JtPartition>& opened = entry->second.opened;
    if (files.path.contains(opened.get()))
      return fail("external_cycle", "it contains the referencing file");
    attachExternal(opened);
    return true;
  } catch (const JtFormatError& error) {
    return fail(error.code(), error.what());
  }
}

bool JtPartition::openAllPartitions(JtPartition* partition, bool recursive) {
  jt::setLastError({});
  if (!partition) return false;
  JtExternalFiles files;
  if (partition->location_)
    files.byPath[jt::bytesOfText(partition->location_->displayName())].opened = partition;
  bool allOpened = true;
  // Depth first, so that the files above the current one are those of the path.
  struct Level {
    JtPartition* file;
    std::vector<const JtNode*> nodes;
    std::size_t next = 0;
  };
  std::vector<Level> levels;
  std::unordered_set<const JtPartition*> seen;
  const auto enter = [&](JtPartition* file) {
    if (!seen.insert(file).second) return;
    files.path.insert(file);
    levels.push_back({file, jt::file::SceneWriter::nodesOf(*file)});
  };
  enter(partition);
  while (!levels.empty()) {
    Level& level = levels.back();
    JtPartition* const file = level.file;
    if (level.next == level.nodes.size()) {
      files.path.erase(file);
      levels.pop_back();
      continue;
    }
    auto* inner = const_cast<JtPartition*>(jt::as<JtPartition>(level.nodes[level.next++]));
    if (!inner || inner == file || inner->fileName_.isEmpty() || inner->external_) continue;
    if (inner->openExternal(*file, files)) {
      if (recursive) enter(inner->external_.get());
      continue;
    }
    allOpened = false;
    file->notes_.insert(file->notes_.end(), inner->notes_.begin(), inner->notes_.end());
    if (file != partition)
      partition->notes_.insert(partition->notes_.end(), inner->notes_.begin(), inner->notes_.end());
  }
  return allOpened;
}

void JtPartition::close() {
  {
    Dismantler children;
    releaseChildren(children);
  }
  if (scene_) scene_->shapes().stopLoading();
  scene_ = nullptr;
  openCount_ = 0;
  isClosed_ = true;
}

// --- Where and what

const jt::file::Container* JtPartition::container() const noexcept {
  return scene_ ? &scene_->container() : nullptr;
}

void JtPartition::setStorageLocation(JtStorageLocation* location) { location_ = location; }

const JtString* JtPartition::getDatastoreLocation() const {
  const auto* place = jt::as<JtFSStorageLocation>(location_.get());
  if (!place) return nullptr;
  const std::string path = place->fullFilePath();
  const std::size_t cut = path.find_last_of('/');
  datastoreLocation_ =
      jt::textOfBytes(cut == std::string::npos ? std::string() : path.substr(0, cut + 1));
  return &datastoreLocation_;
}

JtString JtPartition::datastoreName() const {
  const auto* place = jt::as<JtFSStorageLocation>(location_.get());
  if (!place) return {};
  const std::string path = place->fullFilePath();
  return jt::textOfBytes(path.substr(path.find_last_of('/') + 1));
}

void JtPartition::setFileName(const JtString& name) {
  record(fileName_);
  fileName_ = name;
  touch();
}

std::optional<jt::Box> JtPartition::bounds() const {
  // The untransformed box counts, else the last one in front of the area; never an inverted one.
  for (const std::optional<jt::Box>& box :
       {untransformedBox_, box2BeforeArea_, std::optional<jt::Box>(box1_)})
    if (box && box->isValid()) return box;
  return {};
}

void JtPartition::setVersion(jt::FileVersion version) {
  jt::scene::recordChange(*this, version_);
  version_ = version;
}

void JtPartition::setBounds(const jt::Box& box) {
  change(untransformedBox_, box2BeforeArea_, box1_);
  if (untransformedBox_) {
    untransformedBox_ = box;
  } else if (box2BeforeArea_) {
    box2BeforeArea_ = box;
  } else {
    box1_ = box;
  }
}

const std::vector<jt::Diagnostic>& JtPartition::notes() const { return notes_; }

// --- Saving

void JtPartition::setShapeEncoding(const std::optional<jt::ShapeEncoding>& encoding) {
  if (const std::string flaw = encoding ? encoding->flaw() : std::string(); !flaw.empty())
    throw JtFormatError("bad_encoding", flaw);
  jt::scene::recordChange(*this, shapeEncoding_);
  shapeEncoding_ = encoding;
}

bool JtPartition::isContentModified() const {
  using jt::file::SceneWriter;
  if (isClosed_) return false;
  const std::vector<const JtNode*> nodes = SceneWriter::nodesOf(*this);
  return SceneWriter::isChanged(nodes, scene_.get()) ||
         !SceneWriter::changedMetaData(nodes).empty();
}

/// A closed partition has no content: saving it would replace a good file by an empty one.
void JtPartition::requireOpen(const JtStorageLocation& target) const {
  if (isClosed_)
    throw JtFormatError("closed", "the partition is closed; open the file again before it is saved",
                        {.file = jt::bytesOfText(target.displayName())});
}

namespace {

/// A partition file below another one, and the encoding that it gets from there.
struct ExternalFile {
  JtPartition* partition;
  std::optional<jt::ShapeEncoding> encoding;
};

/// The opened files of all levels below `top`, outermost first, each once.
/// @param nodes of `top`
std::vector<ExternalFile> externalFilesBelow(JtPartition& top,
                                             const std::vector<const JtNode*>& nodes,
                                             const std::optional<jt::ShapeEncoding>& encoding) {
  std::vector<ExternalFile> files{{&top, encoding}};
  std::unordered_set<const JtPartition*> seen{&top};
  std::vector<const JtNode*> below;
  for (std::size_t i = 0; i < files.size(); ++i) {
    const ExternalFile file = files[i];
    const auto own = file.partition->shapeEncoding();
    if (i > 0) below = jt::file::SceneWriter::nodesOf(*file.partition);
    for (const JtNode* node : i == 0 ? nodes : below) {
      const auto* inner = jt::as<JtPartition>(node);
      JtPartition* other = inner ? inner->externalPartition() : nullptr;
      if (other && seen.insert(other).second) files.push_back({other, own ? own : file.encoding});
    }
  }
  files.erase(files.begin());
  return files;
}

/// Saves, and keeps in `savedAs` what lies in the partition's own place then, whatever was saved.
jt::SaveReport saveAndRemember(jt::file::FileWriter writer, JtStorageLocation& location,
                               const JtStorageLocation* own,
                               std::map<std::string, std::optional<jt::FileIdentity>>& savedAs) {
  const bool inPlace = own && own->displayName() == location.displayName();
  // Made before the save: once that is done, nothing may make a failure of it.
  std::optional<jt::FileIdentity>* const saved =
      inPlace ? &savedAs[jt::bytesOfText(location.displayName())] : nullptr;
  jt::SaveReport report = writer.save(location);
  if (saved && writer.savedAs()) *saved = writer.savedAs();
  return report;
}

}  // namespace

jt::SaveReport JtPartition::save(JtStorageLocation* location, const jt::SaveOptions& options) {
  JtStorageLocation* target = location ? location : location_.get();
  if (!target)
    throw JtFormatError("no_location", "the partition has no storage location to be saved to");
  requireOpen(*target);
  const auto nodes = jt::file::SceneWriter::nodesOf(*this);
  std::vector<jt::SaveReport> parts;
  if (options.partFiles) parts = savePartFiles(*target, nodes, options);
  jt::SaveReport report = saveOwn(*target, nodes, options);
  report.alsoSaved = std::move(parts);
  return report;
}

/// A file may hang below one that was not changed, and in many places.
std::vector<jt::SaveReport> JtPartition::savePartFiles(JtStorageLocation& target,
                                                       const std::vector<const JtNode*>& nodes,
                                                       const jt::SaveOptions& options) {
  std::vector<ExternalFile> changed = externalFilesBelow(*this, nodes, options.shapeEncoding);
  std::erase_if(changed,
                [](const ExternalFile& file) { return !file.partition->isContentModified(); });
  std::reverse(changed.begin(), changed.end());
  const auto write = [&](const ExternalFile& file, bool dryRun) {
    JtPartition& other = *file.partition;
    if (!other.location_)
      throw JtFormatError("no_location", "a partition file has no storage location");
    jt::SaveOptions inherited;
    inherited.dryRun = dryRun;
    inherited.compressionLevel = options.compressionLevel;
    inherited.shapeEncoding = file.encoding;
    return other.saveOwn(*other.location_, jt::file::SceneWriter::nodesOf(other), inherited);
  };
  std::vector<jt::SaveReport> reports;
  reports.reserve(changed.size());
  for (const ExternalFile& file : changed) reports.push_back(write(file, true));
  if (options.dryRun || changed.empty()) return reports;
  // What cannot be encoded is found before the first file is written.
  jt::SaveOptions trial = options;
  trial.dryRun = true;
  saveOwn(target, nodes, trial);
  reports.clear();
  for (const ExternalFile& file : changed) reports.push_back(write(file, false));
  return reports;
}

/// The file of this partition alone.
jt::SaveReport JtPartition::saveOwn(JtStorageLocation& location,
                                    const std::vector<const JtNode*>& nodes,
                                    const jt::SaveOptions& options) {
  return saveAndRemember({*this, *this, nodes, options}, location, location_.get(), savedAs_);
}

jt::SaveReport JtPartition::saveAs(JtNode* root, JtStorageLocation* location,
                                   const jt::SaveOptions& options) {
  if (!root || !location)
    throw JtFormatError("no_location", "a new file needs content and a storage location");
  if (root == this) return save(location, options);
  requireOpen(*location);
  auto top = jt::make<JtPartition>();
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; getProperty(i, key, value); ++i) top->addProperty(key, value, true);
  if (const auto box = bounds()) top->setBounds(*box);
  top->addChild(root);
  const auto nodes = jt::file::SceneWriter::nodesOf(*top);
  return saveAndRemember({*this, *top, nodes, options}, *location, location_.get(), savedAs_);
}
