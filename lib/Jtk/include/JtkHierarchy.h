#pragma once

#include <vector>

#include "JtString.h"
#include "JtkAttribute.h"
#include "JtkEntity.h"
#include "JtkProperty.h"

/// A node of a toolkit hierarchy: an assembly, a part or an instance of one.
class JTK_API JtkHierarchy : public JtkEntity {
 public:
  /// The name to display.
  const JtString& name() const noexcept { return name_; }
  void setName(const JtString& name) { name_ = name; }
  /// The file that an export writes, relative to its output folder; empty: the exporter chooses.
  const JtString& fileName() const noexcept { return fileName_; }
  void setFileName(const JtString& name) { fileName_ = name; }

  /// Adds a property; one with the same key is replaced. The node takes a reference.
  /// @return 1; 0 for null
  int addProperty(JtkProperty* property);
  int numProperties() const noexcept { return static_cast<int>(properties_.size()); }
  /// Not owned; null when there is none.
  JtkProperty* property(int index) const noexcept;
  JtkProperty* property(const JtString& key) const noexcept;
  /// @return 1; 0 when the node does not have it
  int removeProperty(const JtkProperty* property);

  /// Appends an attribute; the node takes a reference. @return 1; 0 for null
  int addAttribute(JtkAttribute* attribute);
  /// Counts the attributes of a type, JtkEntity::ATTRIBUTE for all.
  int numAttributes(TypeID type = ATTRIBUTE) const noexcept;
  /// The attribute of that index among those of the type; not owned, null when there is none.
  JtkAttribute* attribute(TypeID type, int index) const noexcept;
  /// @return 1; 0 when the node does not have it
  int removeAttribute(const JtkAttribute* attribute);

  /// Sets the unit of length as a code of jtk::UnitCode. It is a label: no length is converted.
  /// @return 1; 0 for a code that is none, without effect
  int setUnits(int code);
  /// 0 when the node has no unit.
  int units() const noexcept { return units_; }

  /// True for a node that viewers do not show, nor what is below it.
  bool isHidden() const noexcept { return hidden_; }
  void setHidden(bool on) noexcept { hidden_ = on; }

  /// The nodes directly below, in order, one that is there several times as often; not owned.
  std::vector<JtkHierarchy*> nodesBelow() const;
  /// One of these by its index; null beyond the last one.
  virtual JtkHierarchy* nodeBelow(int /*index*/) const noexcept { return nullptr; }
  /// Calls `act` for this node and all below it, each once, without taking memory. `act` must not
  /// throw, change the hierarchy, or walk it in this way.
  void visitDistinct(void (*act)(JtkHierarchy& node) noexcept) noexcept;

 protected:
  ~JtkHierarchy() override;

  /// Takes a hierarchy down without recursion and without memory: drops the nodes that it is given
  /// and, where that ends them, everything below, when it ends itself.
  class JTK_API Dismantler {
   public:
    Dismantler() = default;
    ~Dismantler();
    Dismantler(const Dismantler&) = delete;
    Dismantler& operator=(const Dismantler&) = delete;
    /// Takes over a reference on a node.
    void add(jt::Ref<JtkHierarchy> node) noexcept;

   private:
    JtkHierarchy* first_ = nullptr;
  };
  /// Gives the references on the nodes below away.
  virtual void releaseChildNodes(Dismantler& /*out*/) noexcept {}

 private:
  JtString name_;
  JtString fileName_;
  std::vector<jt::Ref<JtkProperty>> properties_;
  std::vector<jt::Ref<JtkAttribute>> attributes_;
  int units_ = 0;
  bool hidden_ = false;
  JtkHierarchy* next_ = nullptr;  ///< in a Dismantler or a walk; of the walk's last one, itself
};

namespace jtk {
/// A node and all below it, each once, in no particular order; not owned.
JTK_API std::vector<JtkHierarchy*> distinctNodes(JtkHierarchy& top);
/// True when `node` is `top` or below it.
JTK_API bool isWithin(const JtkHierarchy* node, JtkHierarchy& top);
}  // namespace jtk
