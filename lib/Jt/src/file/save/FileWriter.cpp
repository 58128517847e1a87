#include "file/save/FileWriter.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "JtByteText.h"
#include "JtInspect.h"
#include "base/ParallelFor.h"
#include "file/save/SavePlan.h"
#include "file/segments/SegmentObjects.h"
#include "file/segments/XtBrep.h"
#include "file/shapes/ShapeGeometry.h"
#include "file/shapes/ShapeSegment.h"

namespace jt::file {

namespace {

/// Segments of these types are kept even when no atom names them: links may exist that only their
/// producer knows.
bool isDroppable(std::int32_t type) {
  return (type >= 2 && type <= 18 && type != 5) || type == 20 || type == 24;
}

std::unordered_set<JtGuid> segmentsNamedIn(SceneSource& source) {
  std::unordered_set<JtGuid> named;
  const ElementKind* lateLoaded = findElementKind(JtLateLoadedPropAtom::classTypeID());
  for (std::uint32_t element = source.firstAtom(); element < source.elementCount(); ++element) {
    if (source.kind(element) != lateLoaded) continue;
    const auto atom = source.atom(element);
    if (const auto* late = as<JtLateLoadedPropAtom>(atom.get())) named.insert(late->segmentId());
  }
  return named;
}

/// Visits the late-loaded values of nodes.
template <class Visit>
void eachLateLoaded(const std::vector<const JtNode*>& nodes, const Visit& visit) {
  for (const JtNode* node : nodes) {
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    for (int i = 0; node->getProperty(i, key, value); ++i)
      if (const auto* late = as<JtLateLoadedPropAtom>(value)) visit(*node, *late);
  }
}

/// The files that nodes name MultiXT segments of.
std::unordered_set<const Container*> filesOfPools(const std::vector<const JtNode*>& nodes) {
  std::unordered_set<const Container*> files;
  eachLateLoaded(nodes, [&](const JtNode&, const JtLateLoadedPropAtom& late) {
    const SceneSource* source = SceneSource::sourceOf(late);
    const TocEntry* entry = source ? source->container().find(late.segmentId()) : nullptr;
    if (entry && entry->type() == kMultiXtSegment) files.insert(&source->container());
  });
  return files;
}

}  // namespace

FileWriter::FileWriter(const JtPartition& partition, const JtPartition& top,
                       const std::vector<const JtNode*>& nodes, const SaveOptions& options)
    : partition_(partition),
      top_(top),
      options_(options),
      container_(partition.container()),
      source_(FieldAccess::scene(partition).get()),
      version_(options.version.value_or(partition.version())),
      format_{version_.major, version_.minor, container_ && container_->format().bigEndian},
      encoding_(
          partition.shapeEncoding().value_or(options.shapeEncoding.value_or(ShapeEncoding{}))),
      sameForm_(container_ && container_->format().sameFormAs(format_)),
      sameVersion_(container_ && container_->format() == format_),
      nodes_(nodes),
      isSceneChanged_(SceneWriter::isChanged(nodes_, source_)),
      converter_(format_, encoding_, options.compressionLevel),
      places_(container_, converter_) {}

/// Every version that was read can be written back; others only where the whole form is known.
void FileWriter::checkVersion() const {
  constexpr FileVersion kKnown[] = {{8, 1}, {8, 2}, {9, 5}, {10, 0}, {10, 2}};
  if (sameVersion_ || std::ranges::find(kKnown, version_) != std::end(kKnown)) return;
  throw JtFormatError("unsupported_version",
                      "JT version " + version_.text() +
                          " cannot be written; 8.1, 8.2, 9.5, 10.0 and 10.2 can, and the version "
                          "that a file was read in");
}

bool FileWriter::isUntouched(const std::vector<ChangedObject>& changedObjects) const {
  return sameVersion_ && &partition_ == &top_ && !options_.rewriteSceneGraph && !isSceneChanged_ &&
         changedObjects.empty();
}

SaveReport FileWriter::save(JtStorageLocation& location) {
  checkVersion();
  report_.file = jt::bytesOfText(location.displayName());
  report_.version = version_;
  std::vector<FilePiece> pieces;
  Buffer front;
  std::vector<ChangedObject> changedObjects = SceneWriter::changedMetaData(nodes_);
  if (isUntouched(changedObjects)) {
    for (const TocEntry& entry : container_->toc())
      report_.segments.push_back(copied(entry).action);
    pieces.push_back({container_->image().bytes(), &container_->image(), 0});
  } else {
    for (ChangedObject& changed : changedObjects)
      converter_.setChanged(*changed.entry, std::move(changed.object), changed.reason);
    std::optional<std::unordered_set<const Container*>> named;
    converter_.setHasPools([&](const Container& from) {
      // Those of the file itself stay, whether they are named or not.
      if (&from == container_) return true;
      if (!named) named = filesOfPools(nodes_);
      return named->contains(&from);
    });
    if (container_ && !sameForm_) converter_.convertShapes(*container_);
    SavePlan plan(nodes_, encoding_, format_, converter_);
    writeScene(plan);
    front = frontMatter();
    pieces.push_back({front.bytes(), nullptr, 0});
    std::vector<const Segment*> order;
    for (const auto* list : {&segments_, &gaps_})
      for (const Segment& segment : *list)
        if (segment.action.kind != SegmentAction::Kind::dropped) order.push_back(&segment);
    std::stable_sort(order.begin(), order.end(), [](const auto* a, const auto* b) {
      return a->sourceOffset < b->sourceOffset;
    });
    for (const Segment* segment : order)
      pieces.push_back(
          {segment->bytes, segment->source, segment->source ? segment->offsetInSource : 0});
    for (const Segment& segment : segments_) report_.segments.push_back(segment.action);
    noteLostGeometry();
    converter_.setHasPools({});
  }
  if (!options_.dryRun) {
    for (const FilePiece& piece : pieces) report_.bytes += piece.bytes.size();
    store(location, pieces);
  }
  return std::move(report_);
}

/// Reports what is dropped for each part that has it.
void FileWriter::noteLostGeometry() {
  std::unordered_map<JtGuid, const SegmentAction*> lost;
  for (const SegmentAction& action : report_.segments)
    if (action.kind == SegmentAction::Kind::dropped && isExactGeometry(action.type))
      lost.emplace(action.id, &action);
  if (lost.empty()) return;
  const JtString nameKey("JT_PROP_NAME");
  eachLateLoaded(nodes_, [&](const JtNode& node, const JtLateLoadedPropAtom& late) {
    const auto found = lost.find(late.segmentId());
    if (found == lost.end()) return;
    const auto* name = as<JtStringPropAtom>(node.property(nameKey));
    report_.lostGeometry.push_back({name ? name->value().stringToMbs() : std::string(),
                                    node.objectId(), found->first, found->second->type,
                                    found->second->reason});
  });
}

void FileWriter::writeScene(SavePlan& plan) {
  const bool isZlib = packingOf(kSceneSegment, format_) == Packing::zlib;
  ZlibPacker packer(options_.compressionLevel);
  SceneWriter writer(nodes_, source_, format_, plan, places_);
  constexpr std::size_t kManyNodes = 10'000;
  sideBySide(
      isSceneChanged_ && nodes_.size() > kManyNodes, [&] { writer.collectGraph(); },
      [&] {
        if (isSceneChanged_) plan.growBounds(top_);
      });
  EncodedScene scene = writer.encode(isZlib ? &packer : nullptr);
  report_.warnings = std::move(scene.warnings);
  sceneId_ = container_ ? container_->sceneEntry().id : JtGuid::random();
  sceneReason_ = !container_       ? "it is new"
                 : !sameVersion_   ? "the version changes"
                 : isSceneChanged_ ? "the scene graph was changed"
                                   : "asked for";
  const auto pack = [&] {
    const auto content = scene.bytes.bytes();
    Buffer packed =
        isZlib ? wrapSegment(packer.finish(content).bytes(), sceneId_, kSceneSegment, format_)
               : writeSegment(content, sceneId_, kSceneSegment, format_, options_.compressionLevel);
    scene.bytes = {};
    return packed;
  };
  std::size_t sceneSegment = 0;
  if (container_)
    sceneSegment = planExisting(scene);
  else
    addSegment(sceneId_, kSceneSegment, {}, sceneReason_);
  Buffer packed = planNew(scene.newSegments, pack);
  segments_[sceneSegment].bytes = packed.bytes();
  segments_[sceneSegment].owned = std::move(packed);
  planForeign();
  if (sameForm_ && &partition_ == &top_) planGaps();
}

FileWriter::Segment FileWriter::copied(const TocEntry& entry) const {
  return {{entry.id, entry.type(), SegmentAction::Kind::copied, {}},
          {},
          container_->segmentBytes(entry),
          &container_->image(),
          entry.offset,
          entry.offset,
          false};
}

FileWriter::Segment FileWriter::rewritten(const TocEntry& entry, Buffer bytes,
                                          std::string reason) const {
  Segment segment{{entry.id, entry.type(), SegmentAction::Kind::rewritten, std::move(reason)},
                  std::move(bytes),
                  {},
                  nullptr,
                  0,
                  entry.offset,
                  false};
  segment.bytes = segment.owned.bytes();
  return segment;
}

/// A segment with what was changed in it, in the form of the new file.
FileWriter::Segment FileWriter::converted(const TocEntry& entry) {
  const ConvertedSegment& result = converter_.convert(*container_, entry);
  for (const Diagnostic& loss : result.losses) warn(loss.code, loss.message);
  if (result.isSame) return copied(entry);
  if (result.isDropped()) return dropped(entry, result.reason);
  Segment segment = rewritten(entry, {}, result.reason);
  segment.bytes = result.bytes->bytes();
  return segment;
}

FileWriter::Segment FileWriter::dropped(const TocEntry& entry, std::string reason) const {
  Segment segment = copied(entry);
  segment.action.kind = SegmentAction::Kind::dropped;
  segment.action.reason = std::move(reason);
  return segment;
}

/// Returns the index of the scene graph's segment, whose bytes are still to come.
std::size_t FileWriter::planExisting(const EncodedScene& scene) {
  std::size_t sceneSegment = 0;
  const bool whole = &partition_ == &top_;
  const std::unordered_set<JtGuid> named(scene.namedSegments.begin(), scene.namedSegments.end());
  const std::unordered_set<JtGuid> before = segmentsNamedIn(*source_);
  std::uint64_t total = 0;
  const std::span<const TocEntry> rows = container_->toc();
  for (const TocEntry& entry : rows) {
    total += entry.length;
    if (total > container_->image().bytes().size())
      throw JtFormatError("segments_overlap",
                          "the segments of the file overlap; it cannot be saved",
                          container_->position(entry));
    const bool isScene = &entry == &rows[container_->sceneRow()];
    const bool isLost = !isScene && isDroppable(entry.type()) && !named.contains(entry.id) &&
                        (!whole || before.contains(entry.id));
    if (isScene) {
      sceneSegment = segments_.size();
      segments_.push_back(rewritten(entry, {}, sceneReason_));
    } else if (isLost && !converter_.convert(*container_, entry).isDropped()) {
      segments_.push_back(dropped(entry, "nothing names it any more"));
    } else {
      segments_.push_back(converted(entry));
    }
  }
  return sceneSegment;
}

void FileWriter::addSegment(const JtGuid& id, std::int32_t type, Buffer bytes, std::string reason) {
  Segment& segment = segments_.emplace_back();
  segment.action = {id, type, SegmentAction::Kind::added, std::move(reason)};
  segment.owned = std::move(bytes);
  segment.bytes = segment.owned.bytes();
  segment.sourceOffset = std::numeric_limits<std::uint64_t>::max();  // behind everything
}

/// Returns what `packScene` made; it has a core beside those that encode shapes.
Buffer FileWriter::planNew(const std::vector<NewSegment>& made,
                           const std::function<Buffer()>& packScene) {
  std::vector<Buffer> bytes(made.size());
  std::vector<codec::Report> losses(made.size());
  // Objects of applications serialise on the caller's thread only.
  std::vector<std::size_t> shapes;
  for (std::size_t i = 0; i < made.size(); ++i) {
    if (as<ShapeGeometry>(made[i].object.get())) {
      shapes.push_back(i);
    } else {
      bytes[i] = encodeNew(made[i], losses[i]);
    }
  }
  Buffer scene;
  parallelFor(1 + shapes.size(), [&](std::size_t i) {
    if (i == 0)
      scene = packScene();
    else
      bytes[shapes[i - 1]] = encodeNew(made[shapes[i - 1]], losses[shapes[i - 1]]);
  });
  for (std::size_t i = 0; i < made.size(); ++i) {
    for (const Diagnostic& loss : losses[i].warnings) warn(loss.code, loss.message);
    addSegment(made[i].id, made[i].type, std::move(bytes[i]), "it is new");
  }
  return scene;
}

/// Segments of the files that nodes came from.
void FileWriter::planForeign() {
  for (const auto& [from, entry, id] : places_.foreign()) {
    const ConvertedSegment& result = converter_.convert(*from, *entry);
    for (const Diagnostic& loss : result.losses) warn(loss.code, loss.message);
    if (result.isDropped()) {
      addSegment(entry->id, entry->type(), {}, result.reason);
      segments_.back().action.kind = SegmentAction::Kind::dropped;
      continue;
    }
    const auto bytes = result.isSame ? from->segmentBytes(*entry) : result.bytes->bytes();
    if (id == entry->id) {
      addSegment(id, entry->type(), {}, "it comes from another file");
      segments_.back().bytes = bytes;
      if (result.isSame) {  // copied by the system, without being brought into memory
        segments_.back().source = &from->image();
        segments_.back().offsetInSource = entry->offset;
      }
    } else {
      addSegment(id, entry->type(), renamedSegment(bytes, id, format_),
                 "it comes from another file, and its id " + entry->id.text() +
                     " is that of another segment here");
    }
  }
}

/// Safe from several threads for shape geometry.
Buffer FileWriter::encodeNew(const NewSegment& segment, codec::Report& losses) const {
  const auto* geometry = as<ShapeGeometry>(segment.object.get());
  if (!geometry) {
    SegmentBuilder made(format_);
    made.add(*segment.object, &losses);
    return std::move(made).finish(segment.id, segment.type, options_.compressionLevel);
  }
  return writeShapeSegment(*geometry->mesh(), segment.id, segment.type, format_,
                           optionsOf(encoding_), losses, options_.compressionLevel);
}

/// Once for each text: what holds for one shape holds for thousands.
void FileWriter::warn(const std::string& code, const std::string& message) {
  const bool isKnown = std::ranges::any_of(report_.warnings, [&](const Diagnostic& warning) {
    return warning.code == code && warning.message == message;
  });
  if (!isKnown) report_.warnings.push_back({code, message});
}

/// Bytes that belong to no segment are carried along, between the same neighbours.
void FileWriter::planGaps() {
  const auto all = container_->image().bytes();
  struct Range {
    std::uint64_t begin;
    std::uint64_t end;
  };
  std::vector<Range> used{{0, FileHeader::size(container_->format())}};
  const std::uint64_t toc = container_->header().tocOffset;
  used.push_back({toc, toc + 4 + container_->toc().size() * TocEntry::size(container_->format())});
  for (const TocEntry& entry : container_->toc())
    used.push_back({entry.offset, entry.offset + entry.length});
  used.push_back({all.size(), all.size()});
  std::sort(used.begin(), used.end(),
            [](const Range& a, const Range& b) { return a.begin < b.begin; });
  std::uint64_t at = 0;
  for (const Range& range : used) {
    if (range.begin > at) {
      Segment& gap = gaps_.emplace_back();
      gap.bytes =
          all.subspan(static_cast<std::size_t>(at), static_cast<std::size_t>(range.begin - at));
      gap.source = &container_->image();
      gap.offsetInSource = at;
      gap.sourceOffset = at;
      gap.isGap = true;
    }
    at = std::max(at, range.end);
  }
}

std::string FileWriter::versionText() const {
  if (sameVersion_) return container_->versionText();
  constexpr std::size_t kTextSize = 75;
  std::string text = "Version " + version_.text() + " JT  Jtw 0.1";
  text.resize(kTextSize, ' ');
  return text + " \n\r\n ";
}

/// Header and table of contents; the segments follow without gaps.
Buffer FileWriter::frontMatter() {
  ByteSink out;
  Writer writer(out, format_);
  const std::string text = versionText();
  writer.append(std::as_bytes(std::span(text)));
  FileHeader header{format_.bigEndian ? std::uint8_t{1} : std::uint8_t{0}, 0,
                    FileHeader::size(format_), sceneId_};
  fields(writer, header);

  std::vector<Segment*> order;
  std::int32_t rows = 0;
  for (auto* list : {&segments_, &gaps_})
    for (Segment& segment : *list) {
      if (segment.action.kind == SegmentAction::Kind::dropped) continue;
      order.push_back(&segment);
      if (!segment.isGap) ++rows;
    }
  std::stable_sort(order.begin(), order.end(),
                   [](const auto* a, const auto* b) { return a->sourceOffset < b->sourceOffset; });
  std::uint64_t at =
      header.tocOffset + 4 + static_cast<std::uint64_t>(rows) * TocEntry::size(format_);
  std::unordered_map<const Segment*, std::uint64_t> offsets;
  for (const Segment* segment : order) {
    offsets[segment] = at;
    at += segment->bytes.size();
  }
  if (!format_.has(Feature::wideToc) &&
      at > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max()))
    throw JtFormatError("too_large", "the file would take " + std::to_string(at) +
                                         " bytes; version " + version_.text() +
                                         " allows 2 GiB, 10.0 more");
  writer("entryCount", rows);
  for (const Segment& segment : segments_) {
    if (segment.action.kind == SegmentAction::Kind::dropped) continue;
    TocEntry entry{segment.action.id, offsets[&segment],
                   static_cast<std::uint32_t>(segment.bytes.size()),
                   static_cast<std::uint32_t>(segment.action.type) << 24};
    fields(writer, entry);
  }
  return std::move(out).take();
}

void FileWriter::store(JtStorageLocation& location, const std::vector<FilePiece>& pieces) {
  const Ref<JtStorageManager> manager = JtStorageManager::current();
  StorageSaveOptions storage = options_.storage;
  const JtStorageLocation* own = partition_.storageLocation();
  const bool inPlace = own && own->displayName() == location.displayName();
  if (inPlace && !storage.expected) {
    const auto known = FieldAccess::savedAs(partition_).find(report_.file);
    if (known != FieldAccess::savedAs(partition_).end()) storage.expected = known->second;
    // A partition that was given another place goes there for the first time.
    if (!storage.expected && container_ && container_->image().name() == report_.file)
      storage.expected = container_->image().identity();
  }
  constexpr std::size_t kMostWarnings = 8;
  report_.warnings.reserve(report_.warnings.size() + kMostWarnings);
  Diagnostic notReopened{"saved_not_reopened",
                         "saved, but the new file cannot be opened; open it again before the "
                         "next save"};
  // What was encoded may come from bytes that changed meanwhile.
  if (container_) container_->image().checkPresent();
  StorageSaveResult result = manager->save(location, pieces, storage);
  // From here on the save is done, and nothing may make a failure of it.
  if (inPlace && !result.identity && storage.expected) {
    try {
      result.identity = manager->open(location)->identity();
    } catch (...) {
      result.identity = storage.expected;
      report_.warnings.push_back(std::move(notReopened));
    }
  }
  if (inPlace) savedAs_ = result.identity;
  std::ranges::move(result.warnings, std::back_inserter(report_.warnings));
}

}  // namespace jt::file
