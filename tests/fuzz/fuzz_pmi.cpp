// The body of a PMI element, in the form that the first byte chooses: reported, read, written back,
// written in the other forms, merged with itself, and edited; then it is the PMI of a component,
// whose annotations are read, changed and written back. A finding is content that is not written
// back as it was, that some version cannot hold, that cannot be read again, or that an edit of
// other PMI changes.

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "ApiDocument.h"
#include "ApiDocumentRef.h"
#include "DmKrUtilsStreamStorageLocation.h"
#include "DocumentStore.h"
#include "JtwManager.h"
#include "JtwPMIAnnotation.h"
#include "JtwPMIs.h"
#include "JtwTree.h"
#include "MemoryStream.h"
#include "StartedLibrary.h"
#include "VisMetaDataNode.h"
#include "file/pmi/PMIElement.h"
#include "file/pmi/PMITags.h"

namespace {

using namespace jt;
using namespace jt::file;

constexpr Format kForms[] = {{8, 1, false}, {9, 5, false}, {10, 0, false}, {10, 5, false},
                             {8, 1, true},  {9, 5, true},  {10, 0, true},  {10, 5, true}};

[[noreturn]] void finding(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

class Silent : public FieldListener {
  void field(std::size_t, std::size_t, const char*, const char*, const std::string&) override {}
};

/// The content as it is read from another form.
PMIData rewritten(const PMIData& data, const Format& format) {
  ByteSink out;
  codec::Report losses;
  try {
    writePMI(out, data, format, losses);
  } catch (const JtFormatError&) {
    finding("a version cannot hold the content");
  }
  try {
    return readPMI(out.bytes(), format, 0);
  } catch (const JtFormatError&) {
    finding("what was written cannot be read");
  }
}

std::size_t entityCount(const PMIData& data) { return PMIAccess::make(data)->entities().size(); }

std::size_t linkCount(const PMIData& data) {
  const auto links = PMIAccess::make(data)->links();
  return static_cast<std::size_t>(std::ranges::count_if(
      links, [](const auto& link) { return link.source && link.destination; }));
}

void convert(const PMIData& data) {
  const bool isUnderstood = [&] {
    PMIData copy(data);
    return !copy.form.opaqueRest && (copy.cadTags.flag == 0 || decodeCadTags(copy));
  }();
  for (const Format& format : kForms) {
    const PMIData again = rewritten(data, format);
    if (entityCount(again) != entityCount(data))
      finding("entities are lost on the way to another version");
    if (isUnderstood && linkCount(again) != linkCount(data))
      finding("links are lost on the way to another version");
  }
}

/// One entity in a view more, one entity less.
void addAndRemove(PMIDataManager& manager) {
  PMIGenericEntity entity;
  entity.texts.emplace_back().stringId = manager.stringId(JtString("added"));
  entity.texts[0].indices = {0, 20000, 40000};
  entity.texts[0].vertices.resize(80000);
  const std::size_t links = linkCount(manager.data());
  const PMITypedID view = manager.addModelView({});
  manager.addAssociation(manager.addGenericEntity(entity), view, 98);
  if (linkCount(manager.data()) <= links) finding("an added link leads nowhere");
  manager.removeGenericEntity(0);
}

void edit(const PMIData& data, const Format& format) {
  const Ref<PMIDataManager> manager = PMIAccess::make(data);
  const std::size_t count = entityCount(data);
  try {
    manager->merge(*PMIAccess::make(data));
    if (entityCount(manager->data()) != 2 * count) finding("a merge loses entities");
    manager->removeGenericEntity(0);
    addAndRemove(*manager);
    const std::size_t edited = entityCount(manager->data());
    if (entityCount(rewritten(manager->data(), format)) != edited)
      finding("edited entities are not read again");
    manager->makeGeneric();
    if (manager->pmiDataGenericArray().size() != edited)
      finding("entities are lost on the way to generic ones");
  } catch (const JtFormatError&) {
    return;  // not editable
  }
}

// --- The component that has the PMI

using Stream = CComPtr<MemoryStream>;
using EntityBytes = std::vector<std::byte>;

/// A file with one node that has the content.
Stream fileWith(const PMIData& data, const Format& format) {
  const auto partition = make<JtPartition>();
  const auto node = make<VisMetaDataNode>();
  partition->addChild(node.get());
  node->setPMI(PMIAccess::make(data).get());
  SaveOptions options;
  options.version =
      FileVersion{format.major, format.minor == 5 && format.major == 10 ? 2 : format.minor};
  const auto stream = MemoryStream::create();
  const auto location = make<DmKrUtilsStreamStorageLocation>();
  location->setStreamObject(new DmKrUtilsStreamObject(CComPtr<IStream>(stream.get())));
  partition->save(location.get(), options);
  return stream;
}

/// An opened component with its annotations.
class Opened {
 public:
  explicit Opened(const Stream& stream)
      : document_(host::withStream(ApiDocumentRef(std::make_shared<ApiDocument>("fuzzed")),
                                   CComPtr<IStream>(stream.get()),
                                   ApiDocument::StreamDuty::should)) {
    auto error = JtwRoot::JT_PATH_NOT_FOUND;
    root_ = JtwManager::the().computeExistingDocRoot(document_, JtwRoot::JT_LOAD_WITH_UNIT_PROPERTY,
                                                     error);
    if (!root_ || !jtw::loadWrappers(*root_)) finding("a component cannot be opened");
    for (const jtw::TreeEntry& entry : jtw::tree(*root_, *root_))
      if (entry.node->type() == JtwNode::JT_PMI_ANNOTATION_NODE)
        annotations.push_back(static_cast<JtwPMIAnnotation*>(entry.node));
  }
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;
  ~Opened() { JtwManager::the().releaseRoot(document_); }

  JtwRoot& root() { return *root_; }
  const PMIDataManager* pmi() {
    auto* holder = as<VisMetaDataNode>(root_->jtNode());
    return holder ? holder->pmi() : nullptr;
  }
  /// The entities as generic ones: their codes, lines and properties, in order.
  std::vector<EntityBytes> entities() {
    std::vector<EntityBytes> all;
    if (!pmi()) return all;
    const auto shown = pmi()->generic();
    for (const PMIGenericEntity& entity : shown->pmiDataGenericArray()) {
      EntityBytes& text = all.emplace_back();
      const auto add = [&text](const auto& numbers) {
        const auto bytes = std::as_bytes(std::span(numbers));
        text.insert(text.end(), bytes.begin(), bytes.end());
      };
      add(std::array{entity.type, entity.parentType, entity.userFlags});
      add(entity.base.frame);
      add(entity.lines.vertices);
      add(entity.lines.indices);
      for (const PMIProperty& property : entity.properties) {
        add(property.key.text.units());
        add(property.value.text.units());
      }
    }
    return all;
  }

  std::vector<JtwPMIAnnotation*> annotations;

 private:
  ApiDocumentRef document_;
  JtwRoot* root_ = nullptr;
};

/// One annotation is added and one renamed: all others stay.
void annotate(const PMIData& data, const Format& format) {
  const Stream stream = fileWith(data, format);
  std::vector<EntityBytes> expected;
  bool isWritten = false;
  {
    Opened opened(stream);
    expected = opened.entities();
    if (!opened.root().write(false)) finding("an unchanged component cannot be written");
    if (opened.entities() != expected) finding("writing changed PMI that nobody changed");
    opened.root().setKey(ApiProtoKey(1));
    JtwPMIAnnotation* made = opened.root().createPMIAnnotationNode(
        ApiProtoKey(99), opened.root().key(), RTTran3D::fromTranslation({1, 2, 3}));
    if (!made) return;
    made->annotationData().annotationType = API_PMI_NOTE;
    made->annotationData().textLines = {"added"};
    if (!opened.annotations.empty()) {
      const auto changed = static_cast<std::ptrdiff_t>(opened.annotations[0]->id());
      opened.annotations[0]->setName(L"renamed");
      expected.erase(expected.begin() + changed);
    }
    isWritten = opened.root().write(false);
  }
  if (!isWritten) return;
  Opened again(stream);
  const std::vector<EntityBytes> found = again.entities();
  auto at = found.begin();
  for (const EntityBytes& entity : expected) {
    at = std::find(at, found.end(), entity);
    if (at == found.end()) finding("an edit changed PMI of others");
    ++at;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  startLibrary();
  const Format& format = kForms[data[0] % std::size(kForms)];
  const auto body = std::as_bytes(std::span(data, size)).subspan(1);
  try {
    Silent silent;
    try {
      tracePMI(body, format, 0, silent);
    } catch (const JtFormatError&) {
      // Reported as far as it goes.
    }
    const PMIData read = readPMI(body, format, 0);
    ByteSink out;
    codec::Report losses;
    writePMI(out, read, format, losses);
    if (!std::ranges::equal(out.bytes(), body)) finding("not written back as it was read");
    convert(read);
    edit(read, format);
    annotate(read, format);
  } catch (const JtFormatError&) {
    return 0;
  }
  return 0;
}
