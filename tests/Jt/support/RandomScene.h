#pragma once

#include <algorithm>
#include <type_traits>
#include <vector>

#include "JtInstance.h"
#include "JtLOD.h"
#include "JtMaterial.h"
#include "JtPartition.h"
#include "JtStyles.h"
#include "JtSwitch.h"
#include "JtXform.h"
#include "VisPartNode.h"
#include "support/Choices.h"

// Random scenes.

/// Makes and changes the scene below a partition.
class Author {
 public:
  Author(JtPartition& root, Choices& choices) : root_(root), choices_(choices) { gather(root); }

  void addNode() {
    const jt::Ref<JtNode> node = makeNode();
    if (!hang(*node)) return;
    gather(*node);
    while (choices_.oneIn(2)) addAttribute(*node);
    while (choices_.oneIn(2)) addProperty(*node);
  }

  /// All nodes, each once.
  const std::vector<JtNode*>& nodes() const { return nodes_; }

  void edit() {
    JtNode& node = *nodes_[choices_.of(nodes_.size())];
    switch (choices_.of(8)) {
      case 0:
        return addNode();
      case 1:
        return addAttribute(node);
      case 2:
        return addProperty(node);
      case 3:
        node.removeAttribute(0);
        return;
      case 4: {
        JtPropAtom* key = nullptr;
        JtPropAtom* value = nullptr;
        if (node.getProperty(0, key, value)) node.deleteProperty(key);
        return;
      }
      case 5:
        node.setIgnored(choices_.oneIn(2));
        return;
      case 6:
        if (node.numAttributes() > 0) change(*node.attribute(0));
        return;
      default:
        if (auto* group = jt::as<JtGroup>(&node)) group->removeChild(0);
        nodes_.clear();
        gather(root_);
    }
  }

  void change(JtAttribute& attribute) {
    attribute.setState(JtAttributeState::ignore, choices_.oneIn(2));
    attribute.setFinal(choices_.oneIn(3));
    if (auto* xform = jt::as<JtXform>(&attribute)) {
      jt::Matrix4 matrix = jt::kIdentity;
      while (choices_.oneIn(2)) matrix[choices_.of(16)] = choices_.real();
      xform->setMatrix(matrix);
    }
    if (auto* material = jt::as<JtMaterial>(&attribute)) {
      const auto [red, green, blue] = choices_.point();
      material->setDiffuseColor(red, green, blue, choices_.real());
      material->setAmbientColor(blue, red, green);
      material->setReflectivity(choices_.real());
      material->setBumpiness(choices_.real());
      material->setOverrideVertexColors(choices_.oneIn(2));
    }
    if (auto* style = jt::as<JtDrawStyle>(&attribute))
      style->set(JtDrawStyle::Flag::flatShading, choices_.oneIn(2));
    if (auto* line = jt::as<JtLineStyle>(&attribute)) {
      line->setLineType(static_cast<JtLineType>(choices_.of(8)));
      line->setWidth(choices_.real());
    }
    if (auto* point = jt::as<JtPointStyle>(&attribute)) point->setSize(choices_.real());
  }

 private:
  void gather(JtNode& top) {
    nodes_.push_back(&top);
    for (std::size_t i = nodes_.size() - 1; i < nodes_.size(); ++i)
      for (int child = 0; child < nodes_[i]->numChildren(); ++child)
        if (std::find(nodes_.begin(), nodes_.end(), nodes_[i]->child(child)) == nodes_.end())
          nodes_.push_back(nodes_[i]->child(child));
  }

  bool hang(JtNode& node) {
    bool hangs = false;
    do {
      JtNode* parent = nodes_[choices_.of(nodes_.size())];
      auto* instance = jt::as<JtInstance>(parent);
      auto* group = jt::as<JtGroup>(parent);
      if (auto* partition = jt::as<JtPartition>(parent);
          partition && !partition->fileName().isEmpty())
        group = nullptr;
      if (instance && instance->numChildren() == 0)
        hangs = instance->setChild(&node) || hangs;
      else if (group)
        hangs = group->addChild(&node) || hangs;
    } while (choices_.oneIn(4));  // several parents
    return hangs || root_.addChild(&node);
  }

  template <class Shape>
  jt::Ref<JtNode> shape() {
    auto made = jt::make<Shape>();
    made->setStatistics({{choices_.point(), choices_.point()},
                         choices_.real(),
                         {1, static_cast<std::int32_t>(choices_.number())},
                         {1, 1},
                         {-1, 7}});
    if constexpr (std::is_base_of_v<JtVertexShape, Shape>)
      made->setVertexBindings(std::uint64_t{choices_.number()} << 32 | choices_.number());
    return made;
  }

  jt::Ref<JtNode> makeNode() {
    switch (choices_.of(14)) {
      case 0:
        return jt::make<JtGroup>();
      case 1:
        return jt::make<JtInstance>();
      case 2:
        return jt::make<VisPartNode>();
      case 3:
        return jt::make<VisMetaDataNode>();
      case 4:
        return jt::make<JtLOD>();
      case 5: {
        auto lod = jt::make<JtRangeLOD>();
        lod->setCenter(choices_.point());
        lod->setRangeLimits({choices_.real(), choices_.real()});
        return lod;
      }
      case 6: {
        auto node = jt::make<JtSwitch>();
        node->setSelectedChild(static_cast<int>(choices_.number()));
        return node;
      }
      case 7: {
        auto partition = jt::make<JtPartition>();
        partition->setFileName(choices_.text());
        partition->setBounds({choices_.point(), choices_.point()});
        return partition;
      }
      case 8:
        return shape<JtTriStripSet>();
      case 9:
        return shape<JtPolylineSet>();
      case 10:
        return shape<JtPointSet>();
      case 11:
        return shape<JtPolygonSet>();
      case 12:
        return shape<JtNullShape>();
      default:
        return jt::make<JtNode>();
    }
  }

  void addAttribute(JtNode& node) {
    if (!attributes_.empty() && choices_.oneIn(3)) {
      node.appendAttribute(attributes_[choices_.of(attributes_.size())].get());
      return;
    }
    jt::Ref<JtAttribute> made;
    switch (choices_.of(5)) {
      case 0:
        made = jt::make<JtXform>();
        break;
      case 1:
        made = jt::make<JtMaterial>();
        break;
      case 2:
        made = jt::make<JtDrawStyle>();
        break;
      case 3:
        made = jt::make<JtLineStyle>();
        break;
      default:
        made = jt::make<JtPointStyle>();
    }
    change(*made);
    node.appendAttribute(made.get());
    attributes_.push_back(made);
  }

  void addProperty(JtNode& node) {
    jt::Ref<JtPropAtom> value;
    switch (choices_.of(6)) {
      case 0:
        value = jt::make<JtStringPropAtom>(choices_.text());
        break;
      case 1:
        value = jt::make<JtInt32PropAtom>(static_cast<int>(choices_.number()));
        break;
      case 2:
        value = jt::make<JtFloatPropAtom>(choices_.real());
        break;
      case 3:
        value = jt::make<JtDatePropAtom>(jt::DateFields{2024, 11, 31, 23, 59, 59});
        break;
      case 4:
        value = jt::make<JtVector4fPropAtom>(
            std::array{choices_.real(), choices_.real(), choices_.real(), choices_.real()});
        break;
      default:
        value = jt::make<JtPtrPropAtom>();
    }
    value->setStateFlags(choices_.oneIn(4) ? choices_.number() : 0);
    node.addProperty(jt::make<JtStringPropAtom>(choices_.text()).get(), value.get(),
                     choices_.oneIn(2));
  }

  JtPartition& root_;
  Choices& choices_;
  std::vector<JtNode*> nodes_;
  std::vector<jt::Ref<JtAttribute>> attributes_;
};
