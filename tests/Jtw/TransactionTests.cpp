// Transactions over a component: rolled back, undone and redone.

#include <rapidcheck.h>

#include <fstream>
#include <iterator>

#include "../Jt/support/Choices.h"
#include "../Jt/support/Differences.h"
#include "ApiSysStringConvertors.h"
#include "ComponentFixture.h"
#include "DmKrUtilsStreamStorageLocation.h"
#include "JtExportRoot.h"
#include "JtwFrameLists.h"
#include "JtwPMIs.h"
#include "JtwTransaction.h"
#include "MemoryStream.h"
#include "RandomChange.h"

namespace {

/// A component of two blocks with a part, frames and annotations, opened from its file.
class Transactions : public RegistryFixture {
 protected:
  Transactions() { open(); }

  static ApiProtoKey key(long value) { return ApiProtoKey(value); }
  static RTTran3D at(double x, double y = 0, double z = 0) {
    return RTTran3D::fromTranslation({x, y, z});
  }

  void open() {
    document_ = documentAt(folder_.folder("gear.kpak"));
    JtwRoot& made = *registry().computeNewDocRoot(document_);
    made.setKey(key(1));
    made.createBlockNode(key(2), key(1), at(10));
    made.createBlockNode(key(3), key(2), at(0, 5));
    made.createEntityNode(key(4), key(3), at(0, 0, 7))->setName(L"Bolt");
    for (const auto& [itsKey, parent] : {std::pair(5L, 2L), {6, 2}, {7, 3}})
      made.createFrameNode(key(itsKey), key(parent), at(0.1, static_cast<double>(itsKey)));
    note(made, 8, 2);
    EXPECT_TRUE(jtw::storeFramesInTheirForm(static_cast<JtwCollection&>(*node(made, 2))));
    EXPECT_TRUE(jtw::storeFramesInTheirForm(static_cast<JtwCollection&>(*node(made, 3))));
    EXPECT_TRUE(made.write(false)) << jt::lastError();
    registry().releaseRoot(document_);
    bytes_ = fileBytes();
    root_ = RegistryFixture::open(document_);
    EXPECT_TRUE(jtw::loadWrappers(*root_));
  }

  static JtwPMIAnnotation& note(JtwRoot& root, long itsKey, long parent) {
    JtwPMIAnnotation& made = *root.createPMIAnnotationNode(key(itsKey), key(parent), at(0.3, 5, 7));
    made.setName(L"Note " + std::to_wstring(itsKey));
    ApiWmPMIAnnotationData data;
    data.annotationType = API_PMI_NOTE;
    data.textLines = {"left", "right"};
    data.graphics.textHeight = 2;
    data.graphics.geomPolylineSet = {{{0.1, 2, 3}, {4, 5, 6}}};
    made.setAnnotationData(data);
    return made;
  }
  static JtwNode* node(JtwRoot& root, long itsKey) {
    JtwNode* found = nullptr;
    root.getNodeByKey(key(itsKey), found);
    return found;
  }
  JtwNode* node(long itsKey) { return node(*root_, itsKey); }

  std::string fileBytes() const {
    std::ifstream in(folder_.folder("gear.kpak") + "/gear.jt", std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  /// What a save would write, opened: the component as it is.
  jt::Ref<JtPartition> copy() {
    const auto place = jt::make<DmKrUtilsStreamStorageLocation>();
    place->setStreamObject(
        new DmKrUtilsStreamObject(CComPtr<IStream>(MemoryStream::create().get())));
    root_->partition()->save(place.get());
    JtPartition* opened = nullptr;
    JtPartition::openPartition(place.get(), nullptr, opened);
    return jt::Ref<JtPartition>::adopt(opened);
  }
  static std::vector<std::string> differences(const JtPartition& a, const JtPartition& b) {
    return Differences(a, b).lines();
  }

  /// What a host sees of the component, but for what no file keeps: the order of frames among
  /// annotations, and the color of an annotation.
  std::string view() {
    EXPECT_TRUE(jtw::loadWrappers(*root_));
    std::vector<std::string> lines;
    std::size_t pmis = 0;
    const auto all = jtw::tree(*root_, *root_);
    for (const auto& [node, depth] : all)
      if (!node->isOfTypePMI()) node->forgetCached();
    for (const auto& [node, depth] : all) {
      lines.push_back(lineOf(*node, depth));
      pmis = node->isOfTypePMI() ? pmis + 1 : 0;
      std::sort(lines.end() - static_cast<std::ptrdiff_t>(pmis), lines.end());
    }
    std::string text;
    for (const std::string& line : lines) text += line + '\n';
    return text;
  }
  std::string lineOf(JtwNode& node, int depth) {
    std::ostringstream out;
    out << depth << ' ' << node.parent().getAsLong() << ' ' << node.type() << ' '
        << node.key().getAsLong() << ' ' << ApiSysStringConvertors::UnicodeToRWCString(node.name())
        << ' ' << node.attributes() << ' ' << node.globalUniqueId().getAsString();
    const RTTran3D place = node.absLoc();
    for (const double value : place.values()) out << ' ' << value + 0.0;
    bool isDefault = false;
    const ApiGraColor color = jtw::colorOf(node, isDefault);
    if (node.type() == JtwNode::JT_FRAME_NODE) isDefault = false;
    if (!isDefault && node.type() != JtwNode::JT_PMI_ANNOTATION_NODE)
      out << " #" << int{color.red()} << ',' << int{color.blue()};
    ApiProtoKey attached;
    AttachmentType type = ATTACHMENT_DEFAULT;
    node.getAttachmentParent(attached, type);
    out << " on " << attached.getAsLong() << ' ' << type << ' ' << node.measurementUnitRatio()
        << ' ' << root_->PMIMaxProtoKey().getAsLong();
    return out.str();
  }

  /// Something of everything.
  void edit() {
    node(4)->setName(L"Nut");
    node(4)->setColor(ApiGraColor(10, 20, 30), true, true);
    node(3)->setRelLoc(at(1, 2, 3));
    node(3)->setMeasurementUnitRatio(10);
    node(5)->setRelLoc(at(0.7, 8, 9));
    node(7)->setParent(key(2));
    node(8)->setName(L"changed");
    node(8)->setRelLoc(at(0.9, 1, 2));
    root_->deleteNode(key(6));
    root_->createFrameNode(key(20), key(3), at(0.11))->setName(L"tip");
    note(*root_, 21, 3);
    root_->cloneEntityNode(key(4), true);
    root_->createLinkNode(key(30), key(1), at(4));
    node(3)->setParent(key(30));
    node(2)->setAttachmentParent(key(30), static_cast<AttachmentType>(2));
    root_->setBuffer(JtwRoot::JT_KIN_BUFFER, "abc", 3);
  }

  ApiDocumentRef document_;
  JtwRoot* root_ = nullptr;
  std::string bytes_;
};

TEST_F(Transactions, RollingBackLeavesTheComponentAndItsFileAsTheyWere) {
  const std::string before = view();
  const auto original = copy();
  {
    JtwTransaction transaction(*root_);
    ASSERT_TRUE(transaction.begin()) << jt::lastError();
    EXPECT_TRUE(transaction.isOpen());
    edit();
    EXPECT_TRUE(jtw::writePMIs(*root_));
    EXPECT_NE(view(), before);
    EXPECT_TRUE(root_->partition()->isContentModified());
    EXPECT_FALSE(root_->write(false));
    EXPECT_NE(jt::lastError().find("transaction"), std::string::npos);
    EXPECT_TRUE(transaction.rollBack());
    EXPECT_FALSE(transaction.isOpen());
    EXPECT_FALSE(transaction.rollBack());
    EXPECT_FALSE(transaction.commit());
  }
  EXPECT_FALSE(root_->partition()->isContentModified());
  EXPECT_EQ(view(), before);
  EXPECT_EQ(differences(*copy(), *original), std::vector<std::string>());
  {
    JtwTransaction left(*root_);
    ASSERT_TRUE(left.begin());
    edit();
  }
  EXPECT_EQ(view(), before);
  EXPECT_EQ(fileBytes(), bytes_);
  EXPECT_TRUE(root_->write(false));
  EXPECT_EQ(fileBytes(), bytes_);
}

TEST_F(Transactions, AreUndoneAndRedoneInTurn) {
  JtwHistory history(*root_);
  std::vector<std::string> views{view()};
  const std::function<void()> edits[] = {
      [this] { edit(); }, [this] { root_->deleteNode(key(2)); },
      [this] { root_->createFrameNode(key(40), key(30), at(0.3)); }};
  for (const auto& make : edits) {
    JtwTransaction transaction(history);
    ASSERT_TRUE(transaction.begin()) << jt::lastError();
    make();
    ASSERT_TRUE(transaction.commit()) << jt::lastError();
    views.push_back(view());
  }
  {
    JtwTransaction nothing(history);
    ASSERT_TRUE(nothing.begin());
    ASSERT_TRUE(nothing.commit());
  }
  ASSERT_EQ(history.undoCount(), 3U) << "a transaction without changes is not kept";
  for (int round = 0; round < 2; ++round) {
    for (std::size_t i = 3; i-- > 0;) {
      ASSERT_TRUE(history.undo()) << jt::lastError();
      EXPECT_EQ(view(), views[i]);
    }
    EXPECT_FALSE(history.undo());
    EXPECT_FALSE(root_->partition()->isContentModified());
    EXPECT_TRUE(root_->write(false));
    EXPECT_EQ(fileBytes(), bytes_);
    for (std::size_t i = 1; i <= 3; ++i) {
      ASSERT_TRUE(history.redo()) << jt::lastError();
      EXPECT_EQ(view(), views[i]);
    }
    EXPECT_FALSE(history.redo());
  }
  // What was redone is what is saved.
  EXPECT_TRUE(root_->write(false)) << jt::lastError();
  ASSERT_TRUE(history.undo());
  JtwTransaction other(history);
  ASSERT_TRUE(other.begin());
  root_->setName(L"other");
  ASSERT_TRUE(other.commit());
  EXPECT_EQ(history.redoCount(), 0U);
  registry().releaseRoot(document_);
  EXPECT_FALSE(history.undo());
  EXPECT_NE(jt::lastError().find("not open"), std::string::npos);
  root_ = RegistryFixture::open(document_);
  EXPECT_EQ(view(), views[3]);
}

TEST_F(Transactions, BeginWithWhatTheWrappersHold) {
  node(5)->setName(L"before");
  JtwTransaction transaction(*root_);
  ASSERT_TRUE(transaction.begin());
  node(5)->setName(L"within");
  ASSERT_TRUE(transaction.rollBack());
  view();
  EXPECT_EQ(node(5)->name(), L"before");
}

TEST_F(Transactions, AreRefusedWhereTheyCannotBeHad) {
  JtwHistory history(*root_, 1);
  JtwTransaction outer(history);
  ASSERT_TRUE(outer.begin());
  JtwTransaction inner(*root_);
  EXPECT_FALSE(inner.begin());
  EXPECT_FALSE(outer.begin());
  EXPECT_FALSE(history.undo());
  node(4)->setName(L"one");
  ASSERT_TRUE(outer.commit());
  ASSERT_TRUE(inner.begin());
  EXPECT_TRUE(inner.commit());

  struct Walk : JtwTraverse {
    using JtwTraverse::JtwTraverse;
    bool actOnNode(JtwNode*) override {
      EXPECT_FALSE(history->undo());
      EXPECT_FALSE(transaction->begin());
      return true;
    }
    bool postActOnNode(JtwNode*) override { return true; }
    JtwHistory* history = nullptr;
    JtwTransaction* transaction = nullptr;
  } walk(root_);
  walk.history = &history;
  walk.transaction = &inner;
  EXPECT_TRUE(walk.execute());

  ASSERT_TRUE(outer.begin());
  node(4)->setName(L"two");
  ASSERT_TRUE(outer.commit());
  EXPECT_EQ(history.undoCount(), 1U);
  node(4)->setName(L"three");
  EXPECT_FALSE(history.undo());
  EXPECT_EQ(jt::lastErrorCode(), "changed_since");
  EXPECT_EQ(node(4)->name(), L"three");

  ASSERT_TRUE(outer.begin());
  node(4)->setName(L"four");
  registry().releaseRoot(document_);
  EXPECT_FALSE(outer.commit());
  EXPECT_FALSE(outer.isOpen());
  root_ = RegistryFixture::open(document_);
  ASSERT_TRUE(JtwTransaction(*root_).begin());
}

TEST_F(Transactions, FailWhenFramesCannotBeWritten) {
  JtNode& block = *node(2)->jtNode();
  JtwTransaction transaction(*root_);
  ASSERT_TRUE(transaction.begin());
  const std::string before = text(block, "KrWmFrames");
  setText(block, "KrWmFrames", "no list");
  node(5)->setName(L"changed");
  EXPECT_FALSE(transaction.commit());
  EXPECT_NE(jt::lastError(), "");
  EXPECT_FALSE(transaction.isOpen());
  EXPECT_EQ(text(block, "KrWmFrames"), before);
  EXPECT_FALSE(root_->partition()->isContentModified());
}

TEST_F(Transactions, LeaveASharedPartToThoseThatStillHaveIt) {
  const auto instance = jt::make<JtInstance>();
  instance->setChild(node(4)->jtNode());
  jt::as<JtGroup>(node(2)->jtNode())->addChild(instance.get());
  ASSERT_EQ(node(4)->parent(), key(3));
  JtwTransaction transaction(*root_);
  ASSERT_TRUE(transaction.begin());
  ASSERT_TRUE(root_->deleteNode(key(3)));
  EXPECT_EQ(node(4)->parent(), key(2)) << "the block that was deleted is no parent any more";
  ASSERT_TRUE(transaction.rollBack());
  view();
  EXPECT_EQ(node(4)->parent(), key(3));
  EXPECT_EQ(node(4)->jtNode()->numParents(), 2);
}

TEST_F(Transactions, DoNotUndoThatAComponentWasOpened) {
  JtwTransaction transaction(*root_);
  ASSERT_TRUE(transaction.begin());
  const ApiDocumentRef other = documentAt(folder_.folder("other.kpak"));
  JtwRoot& opened = *registry().computeNewDocRoot(other);
  opened.setKey(key(1));
  node(4)->setName(L"new");
  ASSERT_TRUE(transaction.rollBack());
  EXPECT_NE(opened.jtNode()->parent(0), nullptr);
}

TEST_F(Transactions, UndoTheCopyOfAComponent) {
  auto& root = static_cast<JtExportRoot&>(*root_);
  const std::string before = view();
  const auto target = jt::make<JtPartition>();
  JtNode* const component = root.jtNode();
  JtwTransaction transaction(root);
  ASSERT_TRUE(transaction.begin());
  root.copyToPartition(target.get());
  ASSERT_NE(root.jtNode(), component);
  ASSERT_TRUE(root.disconnect());
  ASSERT_TRUE(transaction.rollBack());
  EXPECT_EQ(root.jtNode(), component);
  EXPECT_EQ(target->numChildren(), 0);
  EXPECT_EQ(view(), before);
}

TEST_F(Transactions, ComeBackFromRandomScripts) {
  const bool holds = rc::check([this] {
    Choices choices(*rc::gen::resize(
        200, rc::gen::container<std::vector<std::uint32_t>>(rc::gen::arbitrary<std::uint32_t>())));
    registry().releaseRoot(document_);
    root_ = RegistryFixture::open(document_);
    const auto original = copy();
    JtwHistory history(*root_);
    std::vector<std::string> views{view()};
    while (choices.any()) {
      JtwTransaction transaction(history);
      RC_ASSERT(transaction.begin());
      for (std::size_t left = choices.of(8) + 1; left > 0; --left) randomChange(*root_, choices);
      const bool isKept = !choices.oneIn(3);
      RC_ASSERT((isKept ? transaction.commit() : transaction.rollBack()));
      if (isKept && history.undoCount() == views.size()) views.push_back(view());
      RC_ASSERT(view() == views.back());
    }
    const auto last = copy();
    for (std::size_t i = views.size() - 1; i-- > 0;) {
      RC_ASSERT(history.undo());
      RC_ASSERT(view() == views[i]);
    }
    RC_ASSERT(!root_->partition()->isContentModified());
    RC_ASSERT(differences(*copy(), *original).empty());
    for (std::size_t i = 1; i < views.size(); ++i) {
      RC_ASSERT(history.redo());
      RC_ASSERT(view() == views[i]);
    }
    RC_ASSERT(differences(*copy(), *last).empty());
    RC_ASSERT(fileBytes() == bytes_);
  });
  EXPECT_TRUE(holds);
}

}  // namespace
