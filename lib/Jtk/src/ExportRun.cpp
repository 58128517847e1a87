#include "ExportRun.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "ExportNodes.h"
#include "Jt.h"
#include "JtFormatError.h"
#include "JtSourceFile.h"
#include "JtStorageManager.h"
#include "JtTexture.h"
#include "PartBreps.h"

namespace {

std::uint64_t saturatingSum(std::uint64_t a, std::uint64_t b) {
  return a > std::numeric_limits<std::uint64_t>::max() - b
             ? std::numeric_limits<std::uint64_t>::max()
             : a + b;
}

std::uint64_t saturatingProduct(std::uint64_t a, std::uint64_t b) {
  return b != 0 && a > std::numeric_limits<std::uint64_t>::max() / b
             ? std::numeric_limits<std::uint64_t>::max()
             : a * b;
}

/// True for failures of the place that is written to, which no other content can cure.
bool isOutputFailure(const std::string& code) {
  constexpr std::string_view kCodes[] = {"no_space", "unwritable",      "write_failed", "read_only",
                                         "exists",   "changed_on_disk", "verify_failed"};
  return std::ranges::find(kCodes, code) != std::end(kCodes);
}

const JtString& nameOf(const JtkPart& part) {
  return part.sceneGraphName().isEmpty() ? part.name() : part.sceneGraphName();
}

using DroppedSegments = std::unordered_map<JtGuid, std::string>;

/// Segments that a save left out, with the reasons.
DroppedSegments droppedSegments(const jt::SaveReport& report) {
  DroppedSegments dropped;
  for (const jt::SegmentAction& action : report.segments)
    if (action.kind == jt::SegmentAction::Kind::dropped) dropped.emplace(action.id, action.reason);
  return dropped;
}

/// Adds why precise geometry that a node names was left out, once for each reason.
void addLostBreps(const JtNode& node, const DroppedSegments& dropped,
                  std::vector<std::string>& reasons) {
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; node.getProperty(i, key, value); ++i) {
    const auto* late = jt::as<JtLateLoadedPropAtom>(value);
    if (!late || !JtkBrep::isSegmentType(late->segmentType())) continue;
    const auto found = dropped.find(late->segmentId());
    if (found != dropped.end() && std::ranges::find(reasons, found->second) == reasons.end())
      reasons.push_back(found->second);
  }
}

/// Why precise geometry of a part was left out, once for each reason.
std::vector<std::string> lostBreps(const JtNode& part, const DroppedSegments& dropped) {
  std::vector<std::string> reasons;
  if (dropped.empty()) return reasons;
  addLostBreps(part, dropped, reasons);
  for (int i = 0; i < part.numChildren(); ++i) addLostBreps(*part.child(i), dropped, reasons);
  return reasons;
}

/// True for a node that held precise geometry, which was left out.
bool isEmptied(const JtNode& node) {
  return jt::as<JtGroup>(&node) && node.numChildren() == 0 && node.numProperties() == 0;
}

jt::Ref<JtPartition> newPartition(jt::FileVersion version) {
  auto partition = jt::make<JtPartition>(nullptr, true);
  partition->setVersion(version);
  return partition;
}

}  // namespace

jt::SaveOptions JtkExportRun::saveOptions() const {
  jt::SaveOptions options;
  options.version = exporter_.version_;
  options.dryRun = exporter_.dryRun_;
  options.shapeEncoding = exporter_.encoding_;
  options.partFiles = false;
  return options;
}

/// The file of the root. It may lie in one folder inside the output folder, never elsewhere.
jt::Ref<JtFSStorageLocation> JtkExportRun::targetOf(const JtkHierarchy& root) const {
  std::string folder = exporter_.folder_.stringToMbs();
  std::ranges::replace(folder, '\\', '/');
  if (folder.empty()) folder = "./";
  if (folder.back() != '/') folder += '/';
  std::string name = root.fileName().stringToMbs();
  std::ranges::replace(name, '\\', '/');
  if (name.empty()) {
    name = jt::safeFileName(root.name());
    if (!name.ends_with(".jt")) name += ".jt";
  }
  const std::size_t slash = name.find('/');
  const std::string inner = slash == std::string::npos ? "" : name.substr(0, slash);
  const std::string file = name.substr(slash == std::string::npos ? 0 : slash + 1);
  const auto isBad = [](const std::string& part) {
    return part.empty() || part == "." || part == ".." ||
           part.find_first_of(std::string_view("/:\0", 3)) != std::string::npos;
  };
  if (isBad(file) || (slash != std::string::npos && isBad(inner)))
    throw JtFormatError("bad_file_name", "\"" + name + "\" is no name for a file in " + folder);
  if (!inner.empty() && !exporter_.dryRun_) jt::makeFolder(folder + inner);
  return jt::make<JtFSStorageLocation>(JtString(inner.empty() ? folder : folder + inner + "/"),
                                       JtString(file));
}

jtk::ExportReport JtkExportRun::run(JtkHierarchy& root) {
  place_ = targetOf(root);
  const auto& target = place_;
  if (exporter_.partFiles_)
    folder_ = std::make_unique<jt::PartFolder>(*target);
  else
    spool_ = std::make_unique<jt::Spool>(*target);
  countPlaces(root);

  const auto top = newPartition(exporter_.version_);
  const JtString& name = root.name().isEmpty() ? root.fileName() : root.name();
  top->addProperty(jt::make<JtStringPropAtom>(JtString(Jt::jtPropName)).get(),
                   jt::make<JtStringPropAtom>(name).get(), true);
  open_.push_back({&root, top.get(), nullptr});
  while (!open_.empty()) {
    const Item item = open_.back();
    open_.pop_back();
    write(item);
  }
  flush();
  top->growBounds();
  // All that the report needs is allocated before the file is replaced.
  jtk::ExportedFile& file = report_.files.emplace_back();
  file.file = target->displayName().stringToMbs();
  file.parts = folder_ ? 0 : report_.parts;
  jt::Diagnostic incomplete{"report_incomplete",
                            "the export is done, but there is no memory for all of its report"};
  try {
    report_.saved = top->save(target.get(), saveOptions());
  } catch (const JtFormatError& error) {
    isFinal(error);  // a source may have values that are copied only now
    throw;
  }
  images_.commit();
  if (folder_) folder_->commit();
  if (!exporter_.dryRun_) file.bytes = report_.saved.bytes;
  completeReport(std::move(incomplete));
  return std::move(report_);
}

/// The export is done: nothing may make a failure of it. `incomplete` is added where there is no
/// memory for all that is left out and all warnings.
void JtkExportRun::completeReport(jt::Diagnostic incomplete) noexcept {
  std::vector<jt::Diagnostic>& all = report_.saved.warnings;
  try {
    const auto dropped = droppedSegments(report_.saved);
    for (const auto& [node, nodeName] : solidNodes_) {
      std::vector<std::string> reasons;
      addLostBreps(*node, dropped, reasons);
      for (const auto& reason : reasons) leaveOut(nullptr, nodeName, "exact geometry", reason);
    }
    std::ranges::move(warnings_, std::back_inserter(all));
  } catch (const std::bad_alloc&) {
    if (all.size() < all.capacity()) all.push_back(std::move(incomplete));
  }
}

/// Counts the paths from the root, in an order with every node before those below it.
void JtkExportRun::countPlaces(JtkHierarchy& root) {
  struct Step {
    JtkHierarchy* node;
    bool isDone;
  };
  std::vector<Step> open{{&root, false}};
  std::vector<JtkHierarchy*> order;
  std::unordered_set<const JtkHierarchy*> seen;
  while (!open.empty()) {
    const Step step = open.back();
    open.pop_back();
    if (step.isDone) {
      order.push_back(step.node);
      continue;
    }
    if (!seen.insert(step.node).second) continue;
    open.push_back({step.node, true});
    for (JtkHierarchy* below : step.node->nodesBelow()) open.push_back({below, false});
  }
  std::ranges::reverse(order);
  places_[&root] = 1;
  for (const JtkHierarchy* node : order) {
    for (const JtkHierarchy* below : node->nodesBelow()) {
      std::uint64_t& paths = places_[below];
      paths = saturatingSum(paths, places_[node]);
      ++parents_[below];
    }
    if (!node->isOfType(JtkEntity::PART)) continue;
    ++report_.parts;
    report_.instances = saturatingSum(report_.instances, places_[node]);
  }
}

bool JtkExportRun::isShared(const JtkHierarchy& node) const {
  const auto parents = parents_.find(&node);
  return parents != parents_.end() && parents->second > 1;
}

/// Puts a node below another one: a shared one as an instance.
void JtkExportRun::place(const Item& item, JtNode& node) const {
  if (item.instance) {
    item.instance->setChild(&node);
    return;
  }
  if (!isShared(*item.from)) {
    item.group->addChild(&node);
    return;
  }
  const auto instance = jt::make<JtInstance>();
  instance->setChild(&node);
  item.group->addChild(instance.get());
}

void JtkExportRun::write(const Item& item) {
  const auto known = made_.find(item.from);
  if (known != made_.end()) {
    place(item, *known->second);
    return;
  }
  const jt::Ref<JtNode> node = nodeOf(*item.from);
  if (isShared(*item.from)) made_[item.from] = node;
  place(item, *node);
  const auto below = item.from->nodesBelow();
  for (std::size_t i = below.size(); i-- > 0;)
    open_.push_back({below[i], jt::as<JtGroup>(node.get()), jt::as<JtInstance>(node.get())});
}

jt::Ref<JtNode> JtkExportRun::nodeOf(JtkHierarchy& from) {
  if (from.isOfType(JtkEntity::PART)) return partNode(static_cast<JtkPart&>(from));
  jt::Ref<JtNode> node;
  if (from.isOfType(JtkEntity::INSTANCE))
    node = jt::make<JtInstance>();
  else
    node = jt::make<VisMetaDataNode>();
  count(from);
  jtk::writeValues(from, *node);
  if (exporter_.geometry_ != JtkCADExporter::EXACT_GEOMETRY)
    jtk::removeBreps(*node);
  else if (jtk::hasBreps(*node))
    solidNodes_.emplace_back(node, from.name());
  noteFiles(*node);
  jtk::writeAttributes(from, *node);
  bringTextures(*node, nullptr, from.name(), *place_);
  return node;
}

void JtkExportRun::count(JtkHierarchy& from) {
  if (from.isOfType(JtkEntity::INSTANCE)) return;
  report_.annotations +=
      static_cast<std::uint64_t>(static_cast<JtkUnitHierarchy&>(from).numChildren());
}

// --- Parts

jt::Ref<JtNode> JtkExportRun::partNode(JtkPart& part) {
  const auto call = [&](JtkCADExporter::PartCallback callback) {
    return !callback || callback(&part, &exporter_) == JtkCADExporter::kGoOn;
  };
  if (!call(exporter_.before_)) throw JtFormatError("stopped", "the export was stopped at a part");
  jt::Ref<JtNode> node;
  try {
    count(part);
    node = folder_ ? partInFile(part) : partInSpool(part);
  } catch (...) {
    call(exporter_.after_);  // whatever it says: the export has failed already
    throw;
  }
  if (!call(exporter_.after_)) throw JtFormatError("stopped", "the export was stopped at a part");
  forgetUnused(part.geometrySource());
  part.setGeometrySource(nullptr);
  ++partsDone_;
  showProgress();
  return node;
}

void JtkExportRun::countTriangles(const JtkPart& part, std::uint64_t triangles) {
  report_.triangles =
      saturatingSum(report_.triangles, saturatingProduct(triangles, places_[&part]));
}

/// Takes shapes out whose geometry cannot be decoded. Throws JtFormatError when their file cannot
/// be read.
/// @param place the file that they will be in
void JtkExportRun::checkGeometry(JtkPart& part, const JtStorageLocation& place) {
  if (!part.missingShapes().empty())
    leaveOut(part.geometrySource(), nameOf(part), "geometry", part.missingShapes());
  for (const auto list : {JtkPart::ShapeList::SURFACES, JtkPart::ShapeList::LINES})
    for (int lod = part.numLODs(list); lod-- > 0;)
      for (int i = part.numShapes(lod, list); i-- > 0;) {
        const JtShape& shape = *part.shape(lod, i, list);
        noteFile(shape);
        bringTextures(shape, part.geometrySource(), nameOf(part), place);
        const bool isDecoded = shape.takes() || jt::as<JtPrimitiveSet>(&shape);
        if (!isDecoded || !shape.hasMesh()) continue;
        if (shape.mesh()) {
          shape.releaseMesh();
          continue;
        }
        if (jt::isReadFailure(jt::lastErrorCode())) failAtSource(jt::lastError());
        leaveOut(part.geometrySource(), nameOf(part), "geometry", jt::lastError());
        part.removeShape(lod, i, list);
      }
  if (exporter_.geometry_ != JtkCADExporter::EXACT_GEOMETRY) return;
  if (part.brep()) noteFile(*part.brep()->atom());
  if (part.wireframeBrep()) noteFile(*part.wireframeBrep()->atom());
  for (int i = 0; i < part.numIndexedBreps(); ++i)
    if (const JtkBrep* brep = part.indexedBrep(i)) noteFile(*brep->atom());
}

void JtkExportRun::noteFile(const JtSceneObject& object) {
  const jt::FileImage* file = jt::fileOf(object);
  if (file && readFiles_.try_emplace(file, file).second) sourceFiles_.insert(file->name());
}

/// The files that values of a node are copied from.
void JtkExportRun::noteFiles(const JtNode& node) {
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; node.getProperty(i, key, value); ++i) noteFile(*value);
}

/// Memory holds what is being written, not what was read for it before.
void JtkExportRun::releaseSources() {
  for (const auto& [file, held] : readFiles_) file->releasePages();
  readFiles_.clear();
}

/// A source that nobody else holds cannot be met again: nothing need be kept for others.
void JtkExportRun::forgetUnused(const JtNode* source) {
  const auto held = sources_.find(source);
  // One reference here, one of the part.
  if (!source || (held != sources_.end() && held->second->refCount() > 2)) return;
  const auto eraseFrom = [&](auto& map, auto first, const auto& sourceOf) {
    auto end = first;
    while (end != map.end() && sourceOf(*end) == source) ++end;
    map.erase(first, end);
  };
  eraseFrom(reported_, reported_.lower_bound({source, {}, {}, {}}),
            [](const auto& entry) { return std::get<0>(entry); });
  if (held == sources_.end()) return;
  contentBySource_.erase(source);
  eraseFrom(filesBySource_, filesBySource_.lower_bound({source, {}}),
            [](const auto& entry) { return entry.first.first; });
  sources_.erase(held);
}

// --- Part files

/// Where the part has its file; what differs between places of the file is on an instance above it.
jt::Ref<JtNode> JtkExportRun::partInFile(JtkPart& part) {
  PartFile file;
  FileKey key{part.geometrySource(), nameOf(part).units()};
  for (int i = 0; i < part.numProperties(); ++i) {
    const JtkProperty& property = *part.property(i);
    key.second += u'\0' + property.key().units() + u'\0' + property.stringValue().units();
    if (property.valueType() != JtkProperty::ValueType::STRING) key.first = nullptr;
  }
  if (part.numChildren() > 0 || part.isHidden()) key.first = nullptr;
  const auto known = key.first ? filesBySource_.find(key) : filesBySource_.end();
  if (known != filesBySource_.end()) {
    file = known->second;
  } else {
    file = writePartFile(part);
    if (key.first) {
      filesBySource_[key] = file;
      sources_.emplace(key.first, const_cast<JtNode*>(key.first));
    }
  }
  ++report_.files[file.file].parts;
  countTriangles(part, file.triangles);
  auto reference = jt::make<JtPartition>();
  reference->setFileName(JtString(file.reference));
  if (file.bounds) reference->setBounds(*file.bounds);
  if (part.numAttributes() == 0 && known == filesBySource_.end()) return jt::Ref<JtNode>(reference);
  auto instance = jt::make<JtInstance>();
  jtk::writeAttributes(part, *instance);
  bringTextures(*instance, part.geometrySource(), nameOf(part), *place_);
  instance->setChild(reference.get());
  return jt::Ref<JtNode>(instance);
}

JtkExportRun::PartFile JtkExportRun::writePartFile(JtkPart& part) {
  const auto place = folder_->add(nameOf(part), exporter_.dryRun_);
  checkGeometry(part, *place);
  const std::uint64_t triangles = jtk::triangleCount(part);
  const auto content = newPartition(exporter_.version_);
  const auto node = jt::make<VisPartNode>();
  jtk::writeValues(part, *node);
  noteFiles(*node);
  jtk::writeShapes(part, *node);
  if (exporter_.geometry_ == JtkCADExporter::EXACT_GEOMETRY) jtk::writeBreps(part, *node);
  content->addChild(node.get());
  content->growBounds();
  jt::SaveReport saved;
  try {
    saved = content->save(place.get(), saveOptions());
  } catch (const JtFormatError& error) {
    if (isFinal(error)) throw;
    leaveOut(part.geometrySource(), nameOf(part), "geometry", error.what());
    while (node->removeChild(0)) {
    }
    saved = content->save(place.get(), saveOptions());
  }
  for (const auto& reason : lostBreps(*node, droppedSegments(saved)))
    leaveOut(part.geometrySource(), nameOf(part), "exact geometry", reason);
  jtk::ExportedFile& file = report_.files.emplace_back();
  file.file = saved.file;
  if (!exporter_.dryRun_) file.bytes = saved.bytes;
  bytesDone_ += file.bytes.value_or(0);
  report_.alsoSaved.push_back(std::move(saved));
  releaseSources();
  return {folder_->reference(), content->bounds(), report_.files.size() - 1, triangles};
}

// --- One file

jt::Ref<JtNode> JtkExportRun::partInSpool(JtkPart& part) {
  auto node = jt::make<VisPartNode>();
  jtk::writeValues(part, *node);
  noteFiles(*node);
  jtk::writeAttributes(part, *node);
  bringTextures(*node, part.geometrySource(), nameOf(part), *place_);
  JtNode* source = const_cast<JtNode*>(part.geometrySource());
  std::shared_ptr<Content>* known = nullptr;
  if (source) {
    const auto [entry, isNew] = contentBySource_.try_emplace(source);
    if (isNew) sources_.emplace(source, source);
    known = &entry->second;
    if (*known) {
      countTriangles(part, (*known)->triangles);
      if ((*known)->isStored)
        deliver(**known, *node, nameOf(part));
      else
        (*known)->receivers.emplace_back(node, nameOf(part));
      return jt::Ref<JtNode>(node);
    }
  }
  const auto content = std::make_shared<Content>();
  if (known) *known = content;
  checkGeometry(part, *place_);
  content->source = source;
  content->triangles = jtk::triangleCount(part);
  countTriangles(part, content->triangles);
  content->shell = jt::make<VisPartNode>();
  content->receivers.emplace_back(node, nameOf(part));
  jtk::writeShapes(part, *content->shell);
  if (exporter_.geometry_ == JtkCADExporter::EXACT_GEOMETRY) jtk::writeBreps(part, *content->shell);
  pending_.push_back(content);
  pendingBytes_ += jtk::sizeOf(part);
  if (pendingBytes_ >= jtk::spoolGroupSize(storedBytes_)) flush();
  return jt::Ref<JtNode>(node);
}

/// Stores the geometry that waits, in one file: the system maps some tens of thousands.
void JtkExportRun::flush() {
  auto contents = std::move(pending_);
  pending_.clear();
  storedBytes_ += std::exchange(pendingBytes_, 0);
  if (contents.empty()) return;
  try {
    store(contents);
  } catch (const JtFormatError& error) {
    if (isFinal(error)) throw;
    std::erase_if(contents, [&](const auto& content) { return !hasForm(*content); });
    if (!contents.empty()) store(contents);
  }
  releaseSources();
}

/// Encodes without storing anything.
jt::SaveReport JtkExportRun::encode(JtPartition& content) const {
  jt::SaveOptions options = saveOptions();
  options.dryRun = true;
  return content.save(jt::make<JtFSStorageLocation>(JtString(), JtString("spool.jt")).get(),
                      options);
}

/// False for geometry that cannot be encoded: it is left out.
bool JtkExportRun::hasForm(Content& content) {
  const auto alone = newPartition(exporter_.version_);
  alone->addChild(content.shell.get());
  try {
    encode(*alone);
    return true;
  } catch (const JtFormatError& error) {
    if (isFinal(error)) throw;
    content.leftOut.emplace_back("geometry", error.what());
    hand(content);
    return false;
  }
}

void JtkExportRun::store(const std::vector<std::shared_ptr<Content>>& contents) {
  const auto volume = newPartition(exporter_.version_);
  for (const auto& content : contents) volume->addChild(content->shell.get());
  jt::SaveReport report;
  jt::Ref<JtPartition> stored = volume;
  if (exporter_.dryRun_) {
    report = encode(*volume);
  } else {
    stored = spool_->store(*volume, saveOptions(), report);
    bytesDone_ += report.bytes;
  }
  noteWarnings(report);
  const auto dropped = droppedSegments(report);
  for (std::size_t i = 0; i < contents.size(); ++i) {
    Content& content = *contents[i];
    JtNode* shell = stored->child(static_cast<int>(i));
    if (!shell) throw JtFormatError("verify_failed", "the spool lost a part");
    for (const auto& reason : lostBreps(*content.shell, dropped))
      content.leftOut.emplace_back("exact geometry", reason);
    for (int index = 0; index < shell->numChildren(); ++index)
      if (!isEmptied(*shell->child(index))) content.shapes.emplace_back(shell->child(index));
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    for (int index = 0; shell->getProperty(index, key, value); ++index)
      content.breps.push_back({jt::Ref<JtPropAtom>(key), jt::Ref<JtPropAtom>(value)});
    hand(content);
  }
}

/// Gives stored geometry to the parts that wait for it.
void JtkExportRun::hand(Content& content) {
  content.isStored = true;
  content.shell = nullptr;
  for (const auto& [part, name] : content.receivers) deliver(content, *part, name);
  content.receivers.clear();
}

void JtkExportRun::deliver(const Content& content, VisPartNode& part, const JtString& name) {
  for (const auto& shape : content.shapes) part.addChild(shape.get());
  for (const jt::Property& brep : content.breps)
    part.JtNode::addProperty(brep.key.get(), brep.value.get(), true);
  for (const auto& [what, reason] : content.leftOut) leaveOut(content.source, name, what, reason);
}

// --- The report

void JtkExportRun::failAtSource(const std::string& reason) {
  throw JtFormatError("source_unreadable", reason);
}

/// True for an error that no other content of the part can cure; throws for one of a source.
bool JtkExportRun::isFinal(const JtFormatError& error) const {
  if (!jt::isReadFailure(error.code())) return isOutputFailure(error.code());
  if (sourceFiles_.contains(error.where().file)) failAtSource(error.what());
  return true;
}

void JtkExportRun::noteWarnings(const jt::SaveReport& report) {
  for (const jt::Diagnostic& warning : report.warnings) {
    const bool isKnown = std::ranges::any_of(warnings_, [&](const jt::Diagnostic& other) {
      return other.code == warning.code && other.message == warning.message;
    });
    if (!isKnown) warnings_.push_back(warning);
  }
}

void JtkExportRun::bringTextures(const JtNode& node, const JtNode* source, const JtString& name,
                                 const JtStorageLocation& place) {
  for (int i = 0; i < node.numAttributes(); ++i) {
    const JtAttribute& attribute = *node.attribute(i);
    if (const std::string reason = images_.bring(attribute, place); !reason.empty())
      leaveOut(source, name, "texture image",
               "it is the file \"" +
                   static_cast<const JtTextureImage&>(attribute).fileName().stringToMbs() +
                   "\": " + reason);
  }
}

void JtkExportRun::leaveOut(const JtNode* source, const JtString& part, const char* what,
                            const std::string& reason) {
  if (source && !reported_.emplace(source, part.units(), what, reason).second) return;
  report_.leftOut.push_back({part, what, reason});
}

void JtkExportRun::showProgress() const {
  if (exporter_.progress_) exporter_.progress_({partsDone_, report_.parts, bytesDone_});
}
