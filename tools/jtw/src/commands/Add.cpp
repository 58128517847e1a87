#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "AnnotationEdits.h"
#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "JtwBlock.h"
#include "JtwEntity.h"
#include "JtwFrame.h"
#include "JtwLink.h"
#include "JtwPMIAnnotation.h"
#include "JtwSubDevice.h"
#include "NodeEdits.h"
#include "NodeView.h"
#include "Session.h"
#include "ValueText.h"

namespace tool {
namespace {

using Creator = JtwNode* (*)(JtwRoot&, const ApiProtoKey& key, const ApiProtoKey& parent);

template <auto create>
JtwNode* make(JtwRoot& root, const ApiProtoKey& key, const ApiProtoKey& parent) {
  return (root.*create)(key, parent, RTTran3D());
}

struct Kind {
  std::string_view name;
  Creator create;
};

constexpr std::array kKinds{
    Kind{"block", make<&JtwRoot::createBlockNode>},
    Kind{"link", make<&JtwRoot::createLinkNode>},
    Kind{"sub-device", make<&JtwRoot::createSubDeviceNode>},
    Kind{"entity", make<&JtwRoot::createEntityNode>},
    Kind{"frame", make<&JtwRoot::createFrameNode>},
    Kind{"annotation", make<&JtwRoot::createPMIAnnotationNode>},
};

const Kind& findKind(const std::string& name) {
  std::string names;
  for (const Kind& kind : kKinds) {
    if (name == kind.name) return kind;
    names += (names.empty() ? "" : ", ") + std::string(kind.name);
  }
  failUsage("there is no kind '" + name + "'; those that can be added are: " + names);
}

/// The words behind the kind, with those options among them that are short for one.
std::vector<std::string> settingsOf(const Arguments& arguments) {
  const auto& words = arguments.positional();
  std::vector<std::string> settings(words.begin() + 2, words.end());
  for (const char* name : {"name", "loc", "size", "layer", "plane"})
    if (const std::string* value = arguments.value(name))
      settings.push_back(std::string(name) + "=" + *value);
  std::string text;
  for (const std::string& line : arguments.values("text"))
    text += (text.empty() ? "" : "\n") + line;
  if (!text.empty()) settings.push_back("text=" + text);
  return settings;
}

}  // namespace

ExitCode runAdd(Session& session) {
  const Arguments& arguments = session.arguments();
  const Kind& kind = findKind(session.argument(1));
  const std::string* keyText = arguments.value("key");
  const std::string* parentText = arguments.value("parent");
  const ObjectName parentName(parentText ? *parentText : "root");

  Component component(session, session.argument(0), !arguments.has("dry-run"));
  const bool isAnnotation = kind.name == "annotation";
  const std::string* typeName = arguments.value("type");
  if (isAnnotation && !typeName) failUsage("an annotation needs a type: --type Note");
  const ApiPMIType type = isAnnotation ? parseAnnotationType(component, *typeName) : API_PMI_NONE;
  const bool isAuto = !keyText || *keyText == "auto";
  const ApiProtoKey wanted = isAuto ? ApiProtoKey() : component.newKey(*keyText);
  const std::size_t parentIndex = component.findCollection(parentName, wanted);
  const ApiProtoKey parent = component.entries()[parentIndex].node->key();
  const ApiProtoKey key = isAuto ? component.newKey("auto") : wanted;
  if (!kind.create(component.root(), key, parent))
    failRefused(component.document(), "not_supported",
                "object " + parentName.text + " takes nothing new: it is not part of this file");
  component.relist();
  const std::string keyName = std::to_string(key.getAsLong());
  const std::size_t index = component.find(ObjectName(keyName));
  JtwNode& made = *component.entries()[index].node;
  if (isAnnotation) static_cast<JtwPMIAnnotation&>(made).annotationData().annotationType = type;
  NodeEdits(component, index, settingsOf(arguments)).apply();
  if (const std::string* leader = arguments.value("leader"); leader && isAnnotation) {
    const RTTran3D move = parseLocation("leader", *leader);
    placeAnnotation(static_cast<JtwPMIAnnotation&>(made), move * made.relLoc());
  }
  return saveAndReport(
      session, component,
      "added " + std::string(kind.name) + " " + keyName + " under " +
          std::to_string(parent.getAsLong()),
      [&](JsonWriter& json) {
        json.member("key", key.getAsLong());
        json.member("parent", parent.getAsLong());
        writeNodeResult(json, component, index);
      },
      component.placeCount(index));
}

}  // namespace tool
