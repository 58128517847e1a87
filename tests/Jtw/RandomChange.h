#pragma once

#include <string>

#include "../Jt/support/Choices.h"
#include "JtwPMIAnnotation.h"
#include "JtwRoot.h"
#include "JtwTree.h"

/// One change, as a script of the program would make it. What is refused changes nothing.
inline void randomChange(JtwRoot& root, Choices& choices) {
  const auto key = [&choices] { return ApiProtoKey(1 + static_cast<long>(choices.of(24))); };
  const auto place = [&choices] {
    const auto number = [&choices] { return static_cast<double>(choices.of(50)) / 7; };
    return RTTran3D::fromTranslation({number(), number(), number()});
  };
  const ApiProtoKey itsKey = key();
  JtwNode* node = nullptr;
  root.getNodeByKey(itsKey, node);
  const auto text = std::to_string(choices.number());
  switch (choices.of(16)) {
    case 0:
    case 1: {
      const auto type = static_cast<JtwNode::JT_NODE_TYPE>(1 + choices.of(6));
      JtwNode* made = jtw::createNode(root, type, itsKey, key(), place());
      if (made && type == JtwNode::JT_PMI_ANNOTATION_NODE) {
        auto& data = static_cast<JtwPMIAnnotation*>(made)->annotationData();
        data.annotationType = choices.oneIn(2) ? API_PMI_NOTE : API_PMI_GROOVE_WELD;
        data.textLines = {text};
      }
      return;
    }
    case 2:
      root.deleteNode(itsKey);
      return;
    case 3:
      root.cloneEntityNode(itsKey, choices.oneIn(2));
      return;
    case 4:
      root.setBuffer(JtwRoot::JT_MOP_BUFFER, text.data(), static_cast<unsigned>(choices.of(9)));
      return;
    default:
      break;
  }
  if (!node) return;
  switch (choices.of(10)) {
    case 0:
    case 1:
      // A PMI whose new parent cannot take it is in no list, but stays in the file.
      if (const ApiProtoKey parent = key(); node != &root) {
        JtwNode* above = nullptr;
        root.getNodeByKey(parent, above);
        if (above && above->isCollection() != 0) node->setParent(parent);
      }
      return;
    case 2:
      return jtw::setPlacement(*node, place());
    case 3: {
      const ApiGraColor color(static_cast<std::uint8_t>(choices.number()), 7, 9);
      return node->setColor(color, choices.oneIn(2), choices.oneIn(2));
    }
    case 4: {
      constexpr float kUnits[] = {0.1F, 1.0F, 10.0F, 1000.0F, 25.4F};
      node->setMeasurementUnitRatio(kUnits[choices.of(std::size(kUnits))]);
      return;
    }
    case 5:
      return node->setAttributes(choices.oneIn(3) ? "" : text);
    case 6:
      return node->setGlobalUniqueId(ApiGlobalUniqueId(text));
    case 7:
      return node->setAttachmentParent(key(), static_cast<AttachmentType>(choices.of(5)));
    case 8:
      if (JtNode* above = node->jtNode(); !node->isOfTypePMI() && choices.oneIn(2))
        above->setIgnored(choices.oneIn(2));
      return;
    default:
      return node->setName(std::wstring(text.begin(), text.end()));
  }
}
