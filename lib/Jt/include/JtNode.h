#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "JtAttribute.h"
#include "JtInlineList.h"
#include "JtParentList.h"
#include "JtPropAtom.h"
#include "JtSceneObject.h"
#include "JtTrailingBytes.h"

namespace jt {

/// One property of a node: key and value, both shared with other properties.
struct Property {
  Ref<JtPropAtom> key;
  Ref<JtPropAtom> value;
};

/// The properties of a node, in stored order.
using PropertyList = std::vector<Property, ObjectAllocator<Property>>;

}  // namespace jt

/// A node of the scene graph. The graph is acyclic; a node may have several parents. Parents own
/// their children by reference count, nodes own their attributes and properties; a node does not
/// own its parents. One thread edits a graph at a time; several may read it.
class JT_API JtNode : public JtSceneObject {
 public:
  JtNode() = default;
  ~JtNode() override;
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// A copy of the node with its attributes and properties (shared) and without parents or
  /// children.
  jt::Ref<JtBase> clone() const override;

  // --- Parents and children

  int numParents() const noexcept { return static_cast<int>(parents_.size()); }
  /// The parent of that index, in the order in which they took the node; null when there is none.
  JtNode* parent(int index) const noexcept;
  virtual int numChildren() const noexcept { return 0; }
  /// The child of that index, or null.
  virtual JtNode* child(int /*index*/) const noexcept { return nullptr; }

  // --- Attributes, in list order

  /// How many attributes the node has.
  int numAttributes() const noexcept { return static_cast<int>(attributes_.size()); }
  /// The attribute of that index, or null.
  JtAttribute* attribute(int index) const noexcept;
  /// False when there is none. Neither pointer owns; the qualifier is always null.
  bool getAttribute(int index, JtAttribute*& attribute, JtPathQual*& qualifier) const;
  /// Appends; the node takes a reference. False for null or for a node that is carried unread.
  bool appendAttribute(JtAttribute* attribute, JtPathQual* qualifier = nullptr);
  bool replaceAttribute(int index, JtAttribute* attribute, JtPathQual* qualifier = nullptr);
  bool removeAttribute(int index);

  // --- Properties, in stored order

  /// How many properties the node has.
  int numProperties() const;
  /// False when there is none. Neither pointer owns.
  bool getProperty(int index, JtPropAtom*& key, JtPropAtom*& value) const;
  /// Looks a property up by the text of its key.
  /// @param value     the value, not owned, or null when the node has no such property
  /// @param inherited look at the ancestors too (nearest first) when the node has none
  /// @return whether the node's properties could be read
  bool lookupProperty(const JtPropAtom* key, JtPropAtom*& value, bool inherited = false) const;
  /// The value under a key text, or null. Not owned.
  JtPropAtom* property(const JtString& key) const;
  /// Adds a property; the node takes references on both atoms. When the key is there already:
  /// `replace` puts the new value in its place, otherwise nothing changes and the result is false.
  virtual bool addProperty(JtPropAtom* key, JtPropAtom* value, bool replace);
  /// Removes a property by the text of its key; false when there was none.
  virtual bool deleteProperty(const JtPropAtom* key);
  /// True when a property was added, replaced or removed since the node was read.
  bool propertiesModified() const noexcept { return propertiesModified_; }

  /// Node flag "ignore": the node and what is below it is hidden on this path.
  bool isIgnored() const noexcept { return (nodeFlags_ & 1U) != 0; }
  /// No effect on a node of which nothing could be read.
  void setIgnored(bool on);
  std::uint32_t nodeFlags() const noexcept { return nodeFlags_; }

  /// True for a node whose data this library could not read: it keeps its place in the graph and is
  /// written back as it was; its attributes and children cannot be changed.
  bool isOpaque() const noexcept { return opaque_; }

 protected:
  JtNode(const JtNode& other);
  /// The value under a key text outside the property table, or null. See VisMetaDataNode.
  virtual JtPropAtom* extraProperty(const JtString& /*key*/) const { return nullptr; }
  void attachTo(JtNode& parent) { parents_.push_back(&parent); }
  void detachFrom(const JtNode& parent) noexcept { parents_.remove(&parent); }
  static void attach(JtNode& child, JtNode& parent) { child.attachTo(parent); }
  static void detach(JtNode& child, const JtNode& parent) noexcept { child.detachFrom(parent); }
  /// As record() for the parents of a node. Once it has returned, attaching a node that had no
  /// parents cannot fail.
  static void recordParents(JtNode& child);
  /// Takes a graph down without recursion and without memory: drops the nodes that it is given and,
  /// where that ends them, everything below, when it ends itself.
  class JT_API Dismantler {
   public:
    Dismantler() = default;
    ~Dismantler();
    Dismantler(const Dismantler&) = delete;
    Dismantler& operator=(const Dismantler&) = delete;
    /// Takes over a reference on a node that was detached from its former parent.
    void add(jt::Ref<JtNode> node) noexcept;

   private:
    JtNode* first_ = nullptr;
  };
  /// Detaches all children and gives the references on them away.
  virtual void releaseChildren(Dismantler& /*out*/) noexcept {}
  /// Gives up every link to a child, for a journal that records; the child is not detached.
  virtual void disown(const JtNode& /*child*/) {}
  /// Takes the links to what goes on living away, as the end of the node would, but so that they
  /// can come back (AbandonedNode.cpp).
  void abandoned() const noexcept override;

 private:
  friend struct jt::file::FieldAccess;

  jt::PropertyList& properties() const {
    if (propertyRow_.load(std::memory_order_acquire) != 0) readProperties();
    return properties_;
  }
  void readProperties() const;

  jt::LocalVersion nodeVersion_;
  bool opaque_ = false;
  bool propertiesModified_ = false;
  std::uint32_t nodeFlags_ = 0;
  // Row of the file's property table that still holds the properties; 0 when they are in memory.
  mutable std::atomic<std::uint32_t> propertyRow_{0};
  jt::ParentList parents_;
  jt::InlineList<jt::Ref<JtAttribute>> attributes_;
  mutable jt::PropertyList properties_;
  jt::TrailingBytes trailingBytes_;
};
