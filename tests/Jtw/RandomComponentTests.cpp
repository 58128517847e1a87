// Random sequences of what a host does to a component, beside a plain model of it.

#include <rapidcheck.h>

#include "../Jt/support/Choices.h"
#include "ComponentFixture.h"
#include "ComponentModel.h"
#include "DocumentStore.h"
#include "MemoryStream.h"

namespace {

using Object = ComponentModel::Object;

constexpr float kUnits[] = {0.1F, 1.0F, 10.0F, 1000.0F, 25.4F};

std::string narrow(const std::wstring& text) {
  return ApiSysStringConvertors::UnicodeToRWCString(text);
}

/// What is reported of an object, one line.
struct Line {
  std::string text;
  Line& add(const std::string& value) {
    text += value + '|';
    return *this;
  }
  Line& add(long value) { return add(std::to_string(value)); }
  Line& add(const RTTran3D& place) {
    std::ostringstream out;
    for (const double value : place.values()) out << value + 0.0 << ' ';
    return add(out.str());
  }
  Line& add(const std::optional<ApiGraColor>& color) {
    if (!color) return add("default");
    return add(color->red()).add(color->green()).add(color->blue());
  }
};

class RandomComponent : public RegistryFixture {
 protected:
  /// One sequence; the numbers decide.
  void run(std::vector<std::uint32_t> numbers) {
    Choices choices(std::move(numbers));
    registry().releaseAllRoots();
    document_ = newDocument(choices.oneIn(8));
    root_ = open(document_);
    RC_ASSERT(root_ && jtw::loadWrappers(*root_));
    ComponentModel model;
    while (choices.any()) {
      step(model, choices);
      RC_ASSERT(componentText() == modelText(model));
    }
    saveAndReopen(model, false);
    RC_ASSERT(componentText() == modelText(model));
  }

 private:
  /// An empty component. Most lie in a stream: many times faster than a file that goes to the disk.
  ApiDocumentRef newDocument(bool inFile) {
    const ApiDocumentRef file =
        documentAt(folder_.folder("random" + std::to_string(++runs_) + ".kpak"));
    if (!inFile && !empty_.empty())
      return host::withStream(documentAt("random"),
                              CComPtr<IStream>(MemoryStream::create(empty_).get()),
                              ApiDocument::StreamDuty::should);
    JtwRoot& root = *registry().computeNewDocRoot(file);
    root.setKey(ApiProtoKey(1));
    RC_ASSERT(root.write(false));
    const auto image = JtStorageManager::current()->open(*root.getStorageLocation());
    empty_.assign(image->bytes().begin(), image->bytes().end());
    registry().releaseRoot(file);
    return file;
  }
  static ApiProtoKey key(long value) { return ApiProtoKey(value); }
  static RTTran3D place(Choices& choices) {
    const auto number = [&choices] { return static_cast<double>(choices.of(50)); };
    const double scale = choices.oneIn(4) ? 2 : 1;
    const bool turned = choices.oneIn(3);
    return turned ? RTTran3D({0, scale, 0}, {-scale, 0, 0}, {0, 0, scale}, {number(), 0, number()})
                  : RTTran3D({scale, 0, 0}, {0, scale, 0}, {0, 0, scale}, {number(), number(), 0});
  }
  static std::wstring word(Choices& choices) {
    std::wstring text;
    for (std::size_t left = choices.of(5); left > 0; --left) {
      const std::uint32_t pick = choices.number();
      text += static_cast<wchar_t>(pick % 4 == 0   ? 0x10000 + pick % 0xFFFFF
                                   : pick % 4 == 1 ? pick % 0xD800
                                                   : pick % 128);
    }
    return choices.oneIn(6) ? text + L".part;" : text;
  }
  static Object& anyOf(ComponentModel& model, Choices& choices) {
    return *std::next(model.keyed().begin(), static_cast<long>(choices.of(model.keyed().size())))
                ->second;
  }
  /// A key that is there, or now and then one that is not.
  static long keyOf(ComponentModel& model, Choices& choices) {
    return choices.oneIn(9) ? 7777 : anyOf(model, choices).key;
  }

  JtwNode* make(ComponentModel::Type type, long itsKey, long parent, const RTTran3D& place) {
    switch (type) {
      case JtwNode::JT_LINK_NODE:
        return root_->createLinkNode(key(itsKey), key(parent), place);
      case JtwNode::JT_FRAME_NODE:
        return root_->createFrameNode(key(itsKey), key(parent), place);
      case JtwNode::JT_BLOCK_NODE:
        return root_->createBlockNode(key(itsKey), key(parent), place);
      case JtwNode::JT_SUB_DEVICE_NODE:
        return root_->createSubDeviceNode(key(itsKey), key(parent), place);
      case JtwNode::JT_PMI_ANNOTATION_NODE:
        return root_->createPMIAnnotationNode(key(itsKey), key(parent), place);
      default:
        return root_->createEntityNode(key(itsKey), key(parent), place);
    }
  }

  void step(ComponentModel& model, Choices& choices) {
    switch (choices.of(9)) {
      case 0:
      case 1:
      case 2: {
        const auto type = static_cast<ComponentModel::Type>(1 + choices.of(6));
        const long itsKey = 2 + static_cast<long>(choices.of(60));
        const long parent = keyOf(model, choices);
        const RTTran3D where = place(choices);
        RC_ASSERT((make(type, itsKey, parent, where) != nullptr) ==
                  model.create(type, itsKey, parent, where));
        return;
      }
      case 3: {
        Object& object = anyOf(model, choices);
        const long parent = keyOf(model, choices);
        if (&object == &model.root()) return;
        RC_ASSERT(wrapper(object).setParent(key(parent)) == model.move(object, parent));
        return;
      }
      case 4: {
        const long itsKey = keyOf(model, choices);
        RC_ASSERT(root_->deleteNode(key(itsKey)) == model.erase(itsKey));
        return;
      }
      case 5: {
        const long itsKey = keyOf(model, choices);
        const bool deep = choices.oneIn(2);
        JtwEntity* copy = root_->cloneEntityNode(key(itsKey), deep);
        RC_ASSERT((copy ? copy->key().getAsLong() : 0) == model.clone(itsKey, deep));
        return;
      }
      case 6:
        if (choices.oneIn(3)) return saveAndReopen(model, choices.oneIn(2));
        if (Object& parent = anyOf(model, choices); !parent.isPmi()) {
          const RTTran3D where = place(choices);
          root_->createApxEntityNode(key(parent.key), where);
          model.createWithoutKey(parent, where);
        }
        return;
      default:
        set(anyOf(model, choices), model, choices);
    }
  }

  /// One value of an object.
  void set(Object& object, ComponentModel& model, Choices& choices) {
    JtwNode& node = wrapper(object);
    if (!object.isPmi()) node.forgetCached();
    switch (choices.of(8)) {
      case 0: {
        if (object.type == JtwNode::JT_ROOT_NODE) return;
        object.name = word(choices);
        return node.setName(object.name);
      }
      case 1: {
        if (object.type == JtwNode::JT_ROOT_NODE) return;
        const RTTran3D where = place(choices);
        model.setPlace(object, where);
        return node.setRelLoc(where);
      }
      case 2: {
        const ApiGraColor color(static_cast<std::uint8_t>(choices.number()), 7,
                                static_cast<std::uint8_t>(choices.number()));
        object.isPmi() ? void(object.color = color) : model.setColor(object, color);
        return node.setColor(color, choices.oneIn(2), choices.oneIn(2));
      }
      case 3: {
        const float ratio = kUnits[choices.of(std::size(kUnits))];
        if (node.setMeasurementUnitRatio(ratio)) model.setUnit(object, ratio);
        return;
      }
      case 4:
        object.attributes = narrow(word(choices));
        return node.setAttributes(object.attributes);
      case 5:
        object.id = "id" + std::to_string(choices.number());
        return node.setGlobalUniqueId(ApiGlobalUniqueId(object.id));
      case 6:
        object.attachment = {keyOf(model, choices), static_cast<int>(choices.number())};
        return node.setAttachmentParent(key(object.attachment->first),
                                        static_cast<AttachmentType>(object.attachment->second));
      default:
        if (object.isCollection()) return;
        object.shown = choices.oneIn(2);
        static_cast<JtwLeaf&>(node).setDisplayState(object.shown);
    }
  }

  JtwNode& wrapper(const Object& object) {
    JtwNode* node = nullptr;
    RC_ASSERT(root_->getNodeByKey(key(object.key), node) && node);
    return *node;
  }

  void saveAndReopen(ComponentModel& model, bool asNewCopy) {
    for (const auto& [itsKey, object] : model.keyed())
      if (object->isCollection()) static_cast<JtwCollection&>(wrapper(*object)).storeFrames();
    RC_ASSERT(root_->write(asNewCopy));
    registry().releaseRoot(document_);
    root_ = open(document_);
    RC_ASSERT(root_ != nullptr);
    model.reopen();
  }

  static void addTree(std::string& text, const Object& object, int depth) {
    text += Line{std::to_string(depth)}.add(object.type).add(object.key).text + '\n';
    for (const Object* child : object.children) addTree(text, *child, depth + 1);
    for (const Object* pmi : object.pmis) addTree(text, *pmi, depth + 1);
  }

  static std::string modelText(const ComponentModel& model) {
    std::string text;
    for (const auto& [itsKey, object] : model.keyed()) {
      Line line;
      line.add(itsKey).add(object->type).add(object->parent ? object->parent->key : 0);
      if (object->type != JtwNode::JT_ROOT_NODE) line.add(narrow(ComponentModel::nameOf(*object)));
      line.add(model.relLoc(*object)).add(model.absLoc(*object));
      line.add(std::to_string(model.ratio(*object)));
      line.add(object->attributes).add(object->id);
      const std::pair<long, int> none(object->isPmi() ? 0 : -1, object->isPmi() ? 0 : -1);
      line.add(object->attachment.value_or(none).first);
      line.add(object->attachment.value_or(none).second);
      if (!object->isCollection()) line.add(model.colorOf(*object)).add(object->shown);
      text += line.text + '\n';
    }
    addTree(text, model.root(), 0);
    return text;
  }

  std::string componentText() {
    RC_ASSERT(jtw::loadWrappers(*root_));
    std::map<ApiProtoKey, JtwNode*> nodes(root_->getAllNodes().begin(), root_->getAllNodes().end());
    for (const auto& [itsKey, node] : nodes)
      if (!node->isOfTypePMI()) node->forgetCached();  // that of a PMI is its own
    std::string text;
    for (const auto& [itsKey, node] : nodes) text += nodeText(itsKey, *node) + '\n';
    for (const auto& [node, depth] : jtw::tree(*root_, *root_))
      text +=
          Line{std::to_string(depth)}.add(node->type()).add(node->key().getAsLong()).text + '\n';
    return text;
  }

  std::string nodeText(const ApiProtoKey& itsKey, JtwNode& node) {
    RC_ASSERT(node.key() == itsKey);
    const bool isPmi = node.isOfTypePMI();
    if (!isPmi) RC_ASSERT(root_->nodeByJtNode(node.jtNode()) == &node);
    JtwNode* parent = node.parentNode();
    RC_ASSERT((parent ? parent->key() : ApiProtoKey()) == node.parent());
    Line line;
    line.add(itsKey.getAsLong()).add(node.type()).add(node.parent().getAsLong());
    if (node.type() != JtwNode::JT_ROOT_NODE) line.add(narrow(node.name()));
    line.add(node.relLoc()).add(node.absLoc());
    line.add(std::to_string(node.measurementUnitRatio()));
    line.add(node.attributes()).add(node.globalUniqueId().getAsString());
    ApiProtoKey attachedTo(-1);
    auto attachment = static_cast<AttachmentType>(-1);
    node.getAttachmentParent(attachedTo, attachment);
    line.add(attachedTo.getAsLong()).add(attachment);
    if (node.isCollection() == 0) {
      auto& leaf = static_cast<JtwLeaf&>(node);
      bool isDefault = false;
      const ApiGraColor color = leaf.color(isDefault);
      line.add(isDefault ? std::nullopt : std::optional(color)).add(leaf.displayState());
    }
    return line.text;
  }

  ApiDocumentRef document_;
  JtwRoot* root_ = nullptr;
  std::vector<std::byte> empty_;
  int runs_ = 0;
};

TEST_F(RandomComponent, IsWhatTheModelSays) {
  const bool holds = rc::check([this] {
    run(*rc::gen::resize(
        400, rc::gen::container<std::vector<std::uint32_t>>(rc::gen::arbitrary<std::uint32_t>())));
  });
  EXPECT_TRUE(holds);
}

}  // namespace
