#include <algorithm>
#include <unordered_set>

#include "JtInspect.h"
#include "base/ParallelFor.h"
#include "file/elements/MetaDataFields.h"
#include "file/graph/SceneReader.h"
#include "file/pmi/PMIElement.h"
#include "file/save/SceneWriter.h"
#include "file/segments/SegmentObjects.h"
#include "file/segments/WireframeElement.h"
#include "file/shapes/ShapeSegment.h"
#include "inspect/ShapeCheck.h"

namespace jt {

namespace {

using namespace file;

constexpr std::size_t kMostFindings = 10000;  // a hostile file may have millions of flaws
constexpr std::size_t kGrowth = 2;            // room of a sink for each of its bytes
constexpr std::size_t kBlock = 64;            // segments whose shapes are decoded side by side

class Verifier {
 public:
  Verifier(Ref<Container> container, std::vector<Diagnostic>& findings)
      : container_(std::move(container)),
        variants_([this] { return examineVariants(*container_); }),
        findings_(findings) {}

  void run(const std::function<void(double)>& progress) {
    Ref<JtPartition> root;
    try {
      source_ = SceneSource::open(container_);
      root = SceneReader(source_).read();
      findings_.insert(findings_.end(), root->notes().begin(), root->notes().end());
    } catch (const JtFormatError& error) {
      findings_.insert(findings_.end(), container_->notes().begin(), container_->notes().end());
      add(error);
    }
    if (source_) {
      elements();
      references();
    }
    std::unordered_set<JtGuid> ids;
    const auto toc = container_->toc();
    for (std::size_t i = 0; i < toc.size(); ++i) {
      if (i % kBlock == 0) decodeShapes(i, std::min(toc.size(), i + kBlock));
      if (!ids.insert(toc[i].id).second)
        add(true, "duplicate_segment", toc[i], {},
            "the table of contents names the segment twice; the first row counts");
      segment(i);
      if (progress) progress(static_cast<double>(i + 1) / static_cast<double>(toc.size()));
    }
    walk();
  }

 private:
  void add(bool isError, const char* code, const TocEntry& entry,
           std::optional<std::uint64_t> offset, std::string message) {
    if (findings_.size() < kMostFindings)
      findings_.push_back(
          {code, std::move(message), segmentText(entry.type(), entry.id), offset, isError});
  }
  void add(const JtFormatError& error) {
    if (findings_.size() < kMostFindings) findings_.push_back(error.diagnostic());
  }

  /// Every element decodes, and encodes to the bytes that it was decoded from.
  void elements() {
    ByteSink again;
    Links links;
    MemoryShare memory = container_->share();
    for (std::uint32_t element = 0; element < source_->elementCount(); ++element) {
      const ElementKind* kind = nullptr;
      std::string damage;
      const Ref<JtSceneObject> object =
          SceneReader::readElement(*source_, element, links, kind, &damage, &memory);
      memory.clear();  // gone with the next element
      const bool isAtom = element >= source_->firstAtom();
      if (!damage.empty()) {
        if (isAtom)
          add(true, "damaged_element", source_->entry(), source_->offset(element), damage);
        continue;
      }
      if (!source_->kind(element)) {
        add(false, "unknown_element", source_->entry(), source_->offset(element),
            "element of unknown type " + source_->frame(element).typeId.text() +
                ", carried as it is");
        continue;
      }
      again.shrink(0);
      Writer writer(again, source_->format());
      writer.setLinks(links);
      kind->write(writer, *object);
      const auto body = source_->body(element);
      if (!std::ranges::equal(again.bytes(), body))
        add(false, "unusual_form", source_->entry(), source_->offset(element),
            std::string(kind->name) + " would be written in another form when it is edited");
    }
  }

  /// Rows, keys, values and late-loaded segments exist.
  void references() {
    for (const PropertyRow& row : source_->rows()) {
      if (source_->find(row.owner) == SceneSource::kNone)
        add(true, "dangling_owner", source_->entry(), row.pairs - 4,
            "the property table names element " + std::to_string(row.owner) +
                ", which does not exist");
      source_->eachPair(row.pairs, [&](std::int32_t key, std::int32_t value) {
        for (const std::int32_t id : {key, value}) {
          const std::uint32_t element = source_->find(id);
          if (!source_->isAtom(element))
            add(true, "dangling_property", source_->entry(), row.pairs,
                "a property of element " + std::to_string(row.owner) + " names atom " +
                    std::to_string(id) + ", which does not exist");
        }
      });
    }
    const ElementKind* lateLoaded = findElementKind(JtLateLoadedPropAtom::classTypeID());
    for (std::uint32_t element = source_->firstAtom(); element < source_->elementCount();
         ++element) {
      if (source_->kind(element) != lateLoaded) continue;
      const auto atom = source_->atom(element);
      const auto* late = as<JtLateLoadedPropAtom>(atom.get());
      if (late && !container_->find(late->segmentId()))
        add(false, "dangling_segment", source_->entry(), source_->offset(element),
            "a late-loaded property names segment " + late->segmentId().text() +
                ", which is not in the file");
    }
  }

  void segment(std::size_t index) {
    const TocEntry& entry = container_->toc()[index];
    try {
      const SegmentHeader header = container_->segmentHeader(entry);
      if (header.id != entry.id || header.type != entry.type() ||
          static_cast<std::uint32_t>(header.length) != entry.length)
        add(true, "segment_header_mismatch", entry, entry.offset,
            "the segment's header says " + segmentText(header.type, header.id) + ", " +
                std::to_string(header.length) + " bytes; the table of contents says " +
                std::to_string(entry.length) + " bytes");
      if (source_ && &entry == &source_->entry()) return;  // was read above
      const SegmentContent content = container_->load(entry);
      if (!isShapeSegment(entry.type()) && !container_->packingHeader(entry))
        add(false, "no_compression_header", entry, entry.offset,
            "the segment has no compression header; it is carried as it is");
      if (isShapeSegment(entry.type())) {
        for (Diagnostic& note : shapeFindings_[index % kBlock])
          if (findings_.size() < kMostFindings) findings_.push_back(std::move(note));
        return;
      }
      for (const SegmentElement& element : segmentElements(content.bytes, container_->format())) {
        metaData(entry, element);
        pmi(entry, element);
        wireframe(entry, element);
      }
    } catch (const JtFormatError& error) {
      add(error.within(container_->position(entry)));
    }
  }

  /// The findings of a block of segments, found on all cores.
  void decodeShapes(std::size_t first, std::size_t end) {
    shapeFindings_.assign(end - first, {});
    parallelFor(end - first, [&](std::size_t i) {
      const TocEntry& entry = container_->toc()[first + i];
      if (isShapeSegment(entry.type()))
        shapeFindings_[i] = checkShape(*container_, entry, variants_);
    });
  }

  static std::string namesOf(unsigned variants) {
    std::string names;
    for (unsigned i = 0; i < codec::Variant::kCount; ++i)
      if ((variants >> i & 1U) != 0) names += (names.empty() ? "" : " or ") + std::to_string(i);
    return names;
  }

  /// One producer wrote all shapes of a file, so the walk is a matter of the file.
  void walk() {
    if (variants_.metInstead() == 0) return;
    const unsigned ofFile = variants_.ofFile();
    const bool isExpected = (ofFile & 1U) != 0;
    findings_.push_back(
        {"mesh_walk_variant",
         isExpected ? "some surfaces of the file are walked in variant " +
                          namesOf(variants_.metInstead()) +
                          ", the others in the expected 0; each is read in its own"
                    : "the surfaces of the file are walked in variant " + namesOf(ofFile) +
                          ", not the expected 0; those that do not fit 0 are read in that"});
  }

  void metaData(const TocEntry& entry, const SegmentElement& element) {
    if (element.frame.typeId != JtMetaData::classTypeID()->guid()) return;
    JtMetaData data;
    MemoryShare memory = container_->share();
    Reader reader(element.body, container_->format(), element.bodyOffset);
    reader.countIn(memory);
    MetaDataFields::run(reader, data);
    ByteSink again;
    memory.take(kGrowth * element.body.size());
    Writer writer(again, container_->format());
    MetaDataFields::run(writer, data);
    if (!std::ranges::equal(again.bytes(), element.body))
      add(false, "unusual_form", entry, element.offset,
          "the metadata would be written in another form when it is edited");
  }

  /// PMI that cannot be read is no error of the file: producers differ, and it is carried as it is.
  void pmi(const TocEntry& entry, const SegmentElement& element) {
    if (element.frame.typeId != PMIDataManager::classTypeID()->guid()) return;
    const Format& format = container_->format();
    try {
      MemoryShare memory = container_->share();
      const PMIData data = readPMI(element.body, format, element.bodyOffset, &memory);
      if (data.form.opaqueRest)
        add(false, "unknown_pmi_end", entry, element.bodyOffset,
            "what follows the entities of the PMI is not understood; it is carried as it is");
      memory.take(memory.used() + kGrowth * element.body.size());  // writing makes a copy
      ByteSink again;
      codec::Report losses;
      writePMI(again, data, format, losses);
      if (!std::ranges::equal(again.bytes(), element.body))
        add(false, "unusual_form", entry, element.offset,
            "the PMI would be written in another form when it is edited");
    } catch (const DocumentLimitError&) {
      throw;
    } catch (const JtFormatError& error) {
      add(false, "unreadable_pmi", entry, error.where().offset.value_or(element.bodyOffset),
          error.message() + "; it is carried as it is");
    }
  }

  /// Nor is a wireframe that cannot be read, for the same reason. The form of 8.x is not known.
  void wireframe(const TocEntry& entry, const SegmentElement& element) {
    const Format& format = container_->format();
    if (element.frame.typeId != JtWireframeRep::classTypeID()->guid() ||
        !format.has(Feature::readableWireframes))
      return;
    try {
      MemoryShare memory = container_->share();
      readWireframe(element.body, format, element.bodyOffset, &memory);
    } catch (const DocumentLimitError&) {
      throw;
    } catch (const JtFormatError& error) {
      add(false, "unreadable_wireframe", entry, error.where().offset.value_or(element.bodyOffset),
          error.message() + "; it is carried as it is");
    }
  }

  Ref<Container> container_;
  Ref<SceneSource> source_;
  codec::VariantChoice variants_;
  std::vector<std::vector<Diagnostic>> shapeFindings_;  // of the segments of a block
  std::vector<Diagnostic>& findings_;
};

}  // namespace

std::vector<Diagnostic> verify(const JtStorageLocation& location, const ReadLimits& limits,
                               const std::function<void(double)>& progress) {
  std::vector<Diagnostic> findings;
  try {
    Verifier(Container::open(JtStorageManager::current()->open(location), limits), findings)
        .run(progress);
  } catch (const JtFormatError& error) {
    findings.push_back(error.diagnostic());
  } catch (const std::bad_alloc&) {
    findings.push_back({"out_of_memory", "the file needs more memory than there is", {}, {}, true});
  }
  return findings;
}

}  // namespace jt
