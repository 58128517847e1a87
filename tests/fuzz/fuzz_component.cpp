// A component: a file is opened as a document, edited at random through the component layer and the
// scene graph below, saved, exported as a file of its own, saved in another version, and read back.
// Findings are also a dry run that changes the scene, edits that cannot be taken back, and a saved
// file that means something else.
//
// The last byte of an input is the number of bytes in front of it that choose the edits; all before
// them is the file.

#include <cstdio>
#include <cstdlib>

#include "ApiDocument.h"
#include "ApiDocumentRef.h"
#include "DmKrUtilsStreamStorageLocation.h"
#include "DocumentStore.h"
#include "Jt.h"
#include "JtExportRoot.h"
#include "JtInstance.h"
#include "JtwEntity.h"
#include "JtwManager.h"
#include "JtwTransaction.h"
#include "JtwTree.h"
#include "MemoryStream.h"
#include "SegmentMutator.h"
#include "StartedLibrary.h"
#include "support/Choices.h"
#include "support/SceneText.h"

namespace {

constexpr std::size_t kMostSteps = 24;
constexpr std::size_t kMostNodes = 2000;

[[noreturn]] void report(const char* finding) {
  std::fprintf(stderr, "%s\n", finding);
  std::abort();
}

jt::Ref<DmKrUtilsStreamStorageLocation> locationOf(const CComPtr<MemoryStream>& stream) {
  auto location = jt::make<DmKrUtilsStreamStorageLocation>();
  location->setStreamObject(new DmKrUtilsStreamObject(CComPtr<IStream>(stream.get())));
  return location;
}

jt::Ref<JtPartition> opened(const CComPtr<MemoryStream>& stream) {
  JtPartition* raw = nullptr;
  JtPartition::openPartition(locationOf(stream).get(), nullptr, raw, smallLimits());
  jt::Ref<JtPartition> partition(raw);
  raw->unref();
  return partition;
}

bool saysThatSomethingIsLost(const jt::SaveReport& saved) {
  return !saved.warnings.empty() ||
         std::ranges::any_of(saved.segments, [](const jt::SegmentAction& action) {
           return action.kind == jt::SegmentAction::Kind::dropped;
         });
}

/// Saves into memory and reads back. What was saved in the form that it has, and with no word of a
/// loss, must mean the same.
void saveAndCompare(JtPartition& partition, const jt::SaveOptions& options) {
  const bool isChanged = partition.isContentModified();
  const auto stream = MemoryStream::create();
  jt::SaveReport saved;
  try {
    saved = partition.save(locationOf(stream).get(), options);
  } catch (const JtFormatError&) {
    return;  // refused
  }
  const auto again = opened(stream);
  if (options.version || saysThatSomethingIsLost(saved)) return;
  if (isChanged) partition.growBounds();  // as the save does
  const std::string kept = SceneText::of(*again);
  const std::string held = SceneText::of(partition);
  if (kept == held) return;
  std::fprintf(stderr, "held: %s\n\nsaved: %s\n\n", held.c_str(), kept.c_str());
  report("the saved file means something else");
}

class Session {
 public:
  Session(JtwRoot& root, Choices& choices) : root_(root), choices_(choices) {}

  void edit() {
    for (std::size_t i = 0; i < kMostSteps && choices_.any(); ++i) {
      if (choices_.oneIn(2)) {
        editScene();
      } else {
        editComponent();
      }
    }
  }

 private:
  JtwNode& object() {
    const auto all = jtw::tree(root_, root_);
    return all.empty() ? static_cast<JtwNode&>(root_) : *all[choices_.of(all.size())].node;
  }

  JtNode& node() {
    std::vector<JtNode*> all{root_.partition()};
    for (std::size_t i = 0; i < all.size() && all.size() < kMostNodes; ++i)
      for (int child = 0; child < all[i]->numChildren(); ++child)
        all.push_back(all[i]->child(child));
    return *all[choices_.of(all.size())];
  }

  RTTran3D place() { return RTTran3D::fromTranslation({choices_.oneIn(2) ? 5.0 : 7.0, 0, 3}); }

  void editComponent() {
    JtwNode& one = object();
    const ApiProtoKey key = one.key();
    const ApiProtoKey other = object().key();
    switch (choices_.of(10)) {
      case 0:
        one.setName(L"new");
        break;
      case 1:
        one.setAttributes("text");
        break;
      case 2:
        one.setColor(ApiGraColor(10, 20, 30), choices_.oneIn(2), choices_.oneIn(3));
        break;
      case 3:
        one.setRelLoc(place());
        break;
      case 4:
        root_.createEntityNode(ApiProtoKey(1000 + static_cast<long>(choices_.of(9))), key, place());
        break;
      case 5:
        root_.createFrameNode(ApiProtoKey(2000 + static_cast<long>(choices_.of(9))), key, place());
        break;
      case 6:
        root_.cloneEntityNode(key, choices_.oneIn(2));
        break;
      case 7:
        root_.deleteNode(key);
        break;
      case 8:
        one.setParent(other);
        break;
      default:
        one.setMeasurementUnitRatio(25.4F);
        break;
    }
  }

  void editScene() {
    JtNode& one = node();
    auto* group = jt::as<JtGroup>(&node());
    switch (choices_.of(6)) {
      case 0:
        if (group) group->addChild(Jt::clone(&one).get());
        break;
      case 1:
        one.setIgnored(choices_.oneIn(2));
        break;
      case 2:
        one.removeAttribute(static_cast<int>(choices_.of(3)));
        break;
      case 3:
        if (const JtAttribute* attribute = node().attribute(0))
          one.appendAttribute(const_cast<JtAttribute*>(attribute));
        break;
      case 4:
        if (auto* holder = jt::as<VisMetaDataNode>(&one)) {
          holder->ensureMetaData();
          holder->ensurePMI();
        }
        break;
      default:
        one.addProperty(jt::make<JtStringPropAtom>(JtString("edited")).get(),
                        jt::make<JtInt32PropAtom>(7).get(), choices_.oneIn(2));
        break;
    }
  }

  JtwRoot& root_;
  Choices& choices_;
};

/// More edits of what was saved, all of them taken back.
void editInVain(JtwRoot& root, Choices& choices) {
  JtwHistory history(root);
  JtwTransaction transaction(history);
  if (!transaction.begin()) return;
  const std::string before = SceneText::of(*root.partition());
  Session(root, choices).edit();
  if (choices.oneIn(2)) {
    transaction.rollBack();
  } else if (transaction.commit() && history.undoCount() > 0) {
    const std::string after = SceneText::of(*root.partition());
    if (!history.undo() || !history.redo()) report("what was done cannot be undone and redone");
    if (SceneText::of(*root.partition()) != after) report("what was redone is something else");
    history.undo();
  }
  if (SceneText::of(*root.partition()) != before) report("what was undone is still there");
}

void exportPartition(JtExportRoot& root) {
  const auto target = jt::make<JtPartition>();
  target->setVersion(root.partition()->version());
  root.copyToPartition(target.get());
  saveAndCompare(*target, {});
}

void run(const CComPtr<MemoryStream>& stream, Choices& choices) {
  JtwManager& registry = JtwManager::the();
  const ApiDocumentRef document =
      host::withStream(ApiDocumentRef(std::make_shared<ApiDocument>("fuzzed")),
                       CComPtr<IStream>(stream.get()), ApiDocument::StreamDuty::should);
  auto error = JtwRoot::JT_PATH_NOT_FOUND;
  JtwRoot* root = registry.computeExistingDocRoot(
      document, static_cast<JtwRoot::JT_LOADING_REPRESENTATION>(choices.of(3)), error);
  if (root && jtw::loadWrappers(*root)) {
    Session(*root, choices).edit();
    JtPartition& partition = *root->partition();
    const std::string before = SceneText::of(partition);
    jt::SaveOptions options;
    options.dryRun = true;
    try {
      partition.save(nullptr, options);
    } catch (const JtFormatError&) {
    }
    if (SceneText::of(partition) != before) report("a dry run changed the scene");
    saveAndCompare(partition, {});
    constexpr jt::FileVersion kVersions[] = {{8, 1}, {9, 5}, {10, 0}, {10, 2}};
    options.dryRun = false;
    options.version = kVersions[choices.of(4)];
    saveAndCompare(partition, options);
    root->write(false);
    if (JtExportRoot* exported = registry.exportRoot(document)) exportPartition(*exported);
  }
  registry.releaseAllRoots();
  root = registry.computeExistingDocRoot(document, JtwRoot::JT_LOAD_PLAIN, error);
  if (root && jtw::loadWrappers(*root)) editInVain(*root, choices);
  registry.releaseAllRoots();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  startLibrary();
  const std::size_t edits = std::min<std::size_t>(data[size - 1], size - 1);
  const auto bytes = std::as_bytes(std::span(data, size - 1 - edits));
  std::vector<std::uint32_t> numbers(data + bytes.size(), data + size - 1);
  Choices choices(std::move(numbers));
  run(MemoryStream::create({bytes.begin(), bytes.end()}), choices);
  return 0;
}

/// The file and the edits are changed apart, the file mostly in the unpacked content of a segment.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
  if (size < 2) return LLVMFuzzerMutate(data, size, maxSize);
  std::size_t edits = std::min<std::size_t>(data[size - 1], size - 1);
  std::vector<std::uint8_t> script(data + (size - 1 - edits), data + size - 1);
  std::size_t file = size - 1 - edits;
  if (seed % 3 == 0) {
    script.resize(96);
    edits = LLVMFuzzerMutate(script.data(), edits, script.size());
    script.resize(edits);
  }
  const std::size_t room = maxSize > edits + 1 ? maxSize - edits - 1 : 0;
  if (file > room) return size;
  if (seed % 3 == 1) file = mutateSegment(data, file, room, seed / 3);
  if (seed % 3 == 2) file = LLVMFuzzerMutate(data, file, room);
  std::copy(script.begin(), script.end(), data + file);
  data[file + edits] = static_cast<std::uint8_t>(edits);
  return file + edits + 1;
}
