#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "ApiGraColor.h"
#include "ApiSysStringConvertors.h"
#include "JtwNode.h"

/// What a component must be like, kept as plainly as possible: the objects that have been made, by
/// key, and what was set on each.
class ComponentModel {
 public:
  using Type = JtwNode::JT_NODE_TYPE;
  struct Object {
    Type type = JtwNode::JT_ROOT_NODE;
    long key = 0;              // 0: none
    Object* parent = nullptr;  // of a PMI: the collection that it names, listed there or not
    std::vector<Object*> children;
    std::vector<Object*> pmis;
    std::wstring name;
    std::wstring nameWhenEmpty;
    RTTran3D place;
    std::optional<ApiGraColor> color;
    std::optional<float> unit;
    std::string attributes;
    std::string id;
    std::optional<std::pair<long, int>> attachment;
    bool shown = true;

    bool isPmi() const {
      return type == JtwNode::JT_FRAME_NODE || type == JtwNode::JT_PMI_ANNOTATION_NODE;
    }
    bool isCollection() const { return !isPmi() && type != JtwNode::JT_ENTITY_NODE; }
  };

  ComponentModel() { keyed_[1] = &add(JtwNode::JT_ROOT_NODE, 1); }

  Object* find(long key) const {
    const auto found = keyed_.find(key);
    return found == keyed_.end() ? nullptr : found->second;
  }
  const std::map<long, Object*>& keyed() const { return keyed_; }
  Object& root() const { return *keyed_.at(1); }

  bool create(Type type, long key, long parentKey, const RTTran3D& place) {
    Object* parent = find(parentKey);
    Object made;
    made.type = type;
    if (!parent || find(key) || (made.isPmi() ? !parent->isCollection() : parent->isPmi()))
      return false;
    Object& object = add(type, key);
    keyed_[key] = &object;
    if (object.isPmi()) greatestOfPmi_ = std::max(greatestOfPmi_, key);
    hang(object, *parent);
    setPlace(object, place);
    return true;
  }

  void createWithoutKey(Object& parent, const RTTran3D& place) {
    Object& object = add(JtwNode::JT_ENTITY_NODE, 0);
    hang(object, parent);
    setPlace(object, place);
  }

  bool erase(long key) {
    Object* object = find(key);
    if (!object || object == &root()) return false;
    unlist(*object);
    for (Object* child : object->children) child->parent = nullptr;
    for (auto& each : all_)  // also the PMI that name it without being listed
      if (each->isPmi() && each->parent == object) each->parent = nullptr;
    keyed_.erase(key);
    return true;
  }

  bool move(Object& object, long parentKey) {
    Object* parent = find(parentKey);
    if (object.isPmi()) {
      unlist(object);
      if (!parent || !parent->isCollection()) return false;
      hang(object, *parent);
      return true;
    }
    if (!parent || parent->isPmi()) return false;
    for (const Object* up = parent; up; up = up->parent)
      if (up == &object) return false;
    if (object.parent == parent) return true;
    unlist(object);
    hang(object, *parent);
    return true;
  }

  /// @return the key of the copy; 0 when there is none
  long clone(long key, bool deep) {
    Object* original = find(key);
    if (!original || original->type != JtwNode::JT_ENTITY_NODE || !original->parent) return 0;
    Object& copy = copyOf(*original, deep);
    copy.key = std::max(keyed_.rbegin()->first, greatestOfPmi_) + 1;
    copy.nameWhenEmpty = nameOf(*original);
    keyed_[copy.key] = &copy;
    hang(copy, *original->parent);
    return copy.key;
  }

  void setPlace(Object& object, const RTTran3D& place) {
    if (object.isPmi() || !(place == relLoc(object))) object.place = place;
  }
  void setColor(Object& object, const ApiGraColor& color) {
    below(object, [](Object& each) { each.color.reset(); });
    object.color = color;
  }
  void setUnit(Object& object, float ratio) {
    below(object, [](Object& each) { each.unit.reset(); });
    object.unit = ratio;
  }

  /// What saving and opening again leaves: what hangs together with the root, and frames in a list.
  void reopen() {
    std::vector<Object*> left;
    below(root(), [&left](Object& object) {
      std::erase_if(object.pmis,
                    [](const Object* pmi) { return pmi->type != JtwNode::JT_FRAME_NODE; });
      left.push_back(&object);
      left.insert(left.end(), object.pmis.begin(), object.pmis.end());
    });
    keyed_.clear();
    for (Object* object : left) {
      object->nameWhenEmpty.clear();
      if (object->key != 0) keyed_[object->key] = object;
      if (!object->isPmi()) continue;
      if (!object->color) object->color = ApiGraColor();
    }
  }

  float ratio(const Object& object) const {
    if (object.isPmi()) return 0;
    for (const Object* up = &object; up; up = up->parent)
      if (up->unit) return *up->unit;
    return 1;
  }
  RTTran3D relLoc(const Object& object) const {
    if (object.type == JtwNode::JT_ROOT_NODE) return {};
    RTTran3D place = object.place;
    if (!object.isPmi())
      place.setTranslation(place.getTranslation() * static_cast<double>(ratio(object)));
    return place;
  }
  RTTran3D absLoc(const Object& object) const {
    return object.parent ? absLoc(*object.parent) * relLoc(object) : RTTran3D();
  }
  std::optional<ApiGraColor> colorOf(const Object& object) const {
    if (object.isPmi()) return object.color;
    for (const Object* up = &object; up; up = up->parent)
      if (up->color) return up->color;
    return std::nullopt;
  }
  static std::wstring nameOf(const Object& object) {
    std::wstring name = object.name;
    if (!object.isPmi()) JtwNode::removeNameExtension(name);
    return name.empty() ? object.nameWhenEmpty : name;
  }

 private:
  Object& add(Type type, long key) {
    all_.push_back(std::make_unique<Object>());
    all_.back()->type = type;
    all_.back()->key = key;
    return *all_.back();
  }
  static void hang(Object& object, Object& parent) {
    object.parent = &parent;
    (object.isPmi() ? parent.pmis : parent.children).push_back(&object);
  }
  /// Out of the parent's list; a PMI still names its collection.
  static void unlist(Object& object) {
    if (object.parent)
      std::erase(object.isPmi() ? object.parent->pmis : object.parent->children, &object);
    if (!object.isPmi()) object.parent = nullptr;
  }
  template <class Act>
  static void below(Object& object, Act act) {
    act(object);
    for (Object* child : object.children) below(*child, act);
  }
  Object& copyOf(const Object& original, bool deep) {
    Object& copy = add(original.type, 0);
    copy.name = original.name;
    copy.place = original.place;
    copy.color = original.color;
    copy.unit = original.unit;
    copy.attributes = original.attributes;
    copy.attachment = original.attachment;
    copy.shown = original.shown;
    if (deep)
      for (const Object* child : original.children) hang(copyOf(*child, true), copy);
    return copy;
  }

  std::vector<std::unique_ptr<Object>> all_;
  std::map<long, Object*> keyed_;
  long greatestOfPmi_ = 0;  // of those that are gone, too
};
