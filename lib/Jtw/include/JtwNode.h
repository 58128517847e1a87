#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ApiGlobalUniqueId.h"
#include "ApiGraColor.h"
#include "ApiProtoKey.h"
#include "AttachmentType.h"
#include "JtNode.h"
#include "JtString.h"
#include "JtwExport.h"
#include "RTTran3D.h"
#include "RWClassic.h"

class JtwNode;
class JtwRoot;

namespace jtw {
struct WalkMemo;
/// The color of a node of any kind: its own or the nearest one above it, up to the root.
/// @param isDefault true when there is none
JTW_API ApiGraColor colorOf(JtwNode& node, bool& isDefault);
}  // namespace jtw

/// One object of an opened component as the host sees it: a wrapper over one JT node. What the host
/// knows of the object (key, name, unit, place, color, ...) is in properties and attributes of
/// the JT node and is saved with it; the wrapper only caches what is found by walking up the scene
/// graph: location, unit and color.
///
/// The "component parent" of a node is its nearest ancestor, by first parents, whose JT node
/// carries a prototype key; the component node itself counts as one also while it has no key.
///
/// Wrappers belong to their root and live as long as it does, unless JtwRoot::deleteNode ends them.
/// A wrapper holds a reference on its JT node, so that a node that was cut out of the graph stays
/// usable. Copies share JT node and root and belong to nobody; they must not outlive the root.
/// Nothing here throws for a missing or mistyped property: it counts as absent.
class JTW_API JtwNode {
 public:
  enum JT_NODE_TYPE : std::uint32_t {
    JT_ROOT_NODE = 0,
    JT_LINK_NODE = 1,
    JT_ENTITY_NODE = 2,
    JT_FRAME_NODE = 3,
    JT_BLOCK_NODE = 4,
    JT_SUB_DEVICE_NODE = 5,
    JT_PMI_ANNOTATION_NODE = 6,
  };

  /// A wrapper over nothing: every getter gives the empty value.
  JtwNode() = default;
  /// A wrapper over `node` in the component of `root`; enters no map.
  JtwNode(JtNode* node, JtwRoot* root);
  JtwNode(const JtwNode&) = default;
  JtwNode& operator=(const JtwNode&) = default;
  virtual ~JtwNode();

  /// The prototype key; the null key when the node has none.
  virtual ApiProtoKey key();
  /// Gives a node without key its key and enters it in the root's map. False, and nothing changes,
  /// when the node has a key, when the root maps `key` to a node, and for the null key or one that
  /// does not fit in 32 bits.
  virtual bool setKey(const ApiProtoKey& key);
  /// The kind of object.
  virtual JT_NODE_TYPE type() = 0;
  /// 1 when the object can hold others, as JtwCollection; else 0.
  virtual int isCollection() { return 0; }
  /// The name without file extension; that of the instance above when the node has none.
  virtual RWClassicWString name();
  /// Stores the name on the JT node; the instance above keeps its own.
  virtual void setName(const RWClassicWString& name);
  /// Placement in the component, in millimetres: the identity without a parent node.
  virtual RTTran3D absLoc();
  /// Placement relative to the component parent, in millimetres. Computed once and cached: later
  /// changes of the scene graph do not show until forgetCached().
  virtual RTTran3D relLoc();
  /// Millimetres per unit of length of the node: its own unit or the nearest above it. Cached with
  /// the location.
  virtual float measurementUnitRatio();
  /// Stores the unit of that ratio and removes the units of everything below. False, and nothing
  /// changes, when no unit has exactly this ratio. The cached ratio stays.
  virtual bool setMeasurementUnitRatio(float ratio);
  /// Places the node relative to its component parent by writing the node's own transform, in
  /// single precision. The translation is in the node's unit of length, unlike that of relLoc():
  /// see jtw::setPlacement() for millimetres. Nothing is written when the location equals the one
  /// that the node has now, whatever is cached: a node that has moved is moved back. What is cached
  /// stays, so that relLoc() shows the change after forgetCached(). The component itself is placed
  /// relative to its file; see JtwRoot::internalRelLoc().
  virtual void setRelLoc(const RTTran3D& location);
  /// The host's text; empty when there is none.
  virtual RWClassicCString attributes();
  /// The empty text removes the property.
  virtual void setAttributes(const RWClassicCString& text);
  /// The key of the component parent; null when there is none.
  virtual ApiProtoKey parent();
  /// Hangs the node, and nothing but it, below another keyed node. False when `key` is unknown or
  /// names the node itself or something below it.
  virtual bool setParent(const ApiProtoKey& key);
  /// Both stay as given when the node is not attached.
  virtual void getAttachmentParent(ApiProtoKey& key, AttachmentType& type);
  /// A key that does not fit in 32 bits changes nothing.
  virtual void setAttachmentParent(const ApiProtoKey& key, AttachmentType type);
  /// Gives the node a material of its own and takes the materials away from everything below.
  /// @param forced the material wins over a final one further up
  /// @param overrideVertexColors the material hides colors stored with the vertices
  virtual void setColor(const ApiGraColor& color, bool forced, bool overrideVertexColors);
  /// The null id when there is none.
  virtual ApiGlobalUniqueId globalUniqueId();
  /// The null id changes nothing.
  virtual void setGlobalUniqueId(const ApiGlobalUniqueId& id);
  /// True when the host must keep the object as it is, not united with its neighbours.
  virtual bool isPreserved(bool /*deep*/) { return false; }
  /// Nothing here; see JtwEntity, JtwBlock and JtwPMI.
  virtual void setPreserved(bool /*preserved*/) {}
  /// An id that the host keeps; empty when there is none.
  virtual RWClassicCString relStringId() const;
  /// The empty text changes nothing.
  virtual void setRelStringId(const RWClassicCString& id);
  /// True for frames and PMI annotations.
  virtual bool isOfTypePMI() { return false; }

 protected:
  /// The color of the node or the nearest one above it, up to the root; cached.
  /// @param isDefault true when there is none
  virtual ApiGraColor evaluateColor(bool& isDefault);

 public:
  /// The wrapper over the component parent, or null.
  JtwNode* parentNode();
  /// The JT node; null only in a default-constructed wrapper. Not owned by the caller.
  JtNode* jtNode() const noexcept { return jtNode_.get(); }
  /// Points the wrapper at another JT node. The root's maps and the caches stay as they are.
  void setJtNode(JtNode* node) { jtNode_ = jt::Ref<JtNode>(node); }
  /// The root of the component; not owned.
  JtwRoot* root() const noexcept { return root_; }

  /// Takes the key property away and forgets what is cached. A frame or annotation has no key
  /// property: it keeps its key unless that is removed from the map, and belongs to the root in
  /// either case.
  /// @param removeFromMap also take the key out of the root's map
  void reset(bool removeFromMap);
  /// Forgets the cached location, unit and color of this wrapper.
  void forgetCached();
  /// On a part: stores the thread ids of the instances above it, topmost first, with backslashes
  /// between them. False only when the part has such a property already.
  bool setConcatOccId();
  /// The name as stored, or that of the instance above.
  RWClassicWString nameWithExtension();

  /// How many entities in the PMI of the JT node the host knows: all that a walk has gathered.
  /// PMI are written only while the host knows all entities.
  std::size_t gatheredPMIs() const noexcept { return gatheredPMIs_; }
  void setGatheredPMIs(std::size_t count) noexcept { gatheredPMIs_ = count; }

  /// The name of a JT node, without and with its file extension; empty for null.
  static RWClassicWString name(JtNode* node);
  static RWClassicWString nameWithExtension(const JtNode* node);
  /// Cuts off ".part;N;N:", ".asm;N;N:", ".part;" or ".asm;" (N: digits and '-', perhaps none) at
  /// the end.
  static void removeNameExtension(RWClassicWString& name);
  /// True for digits, perhaps behind one '-'; true for "-" alone, false for the empty text.
  static bool isInteger(const char* text);

  /// Makes the shared key atoms; before any wrapper is used.
  static void init();
  /// Releases them.
  static void fini();

 protected:
  /// The key that a JT node carries; the null key when there is none, and for null.
  static ApiProtoKey keyImpl(JtNode* node);
  /// The parent as the scene graph's author saw it: beyond an instance and a plain group.
  JtNode* findRealParent();
  /// The JT node of the component parent, or null.
  JtNode* getGmParent(JtNode* node);
  /// False when the wrapped node is `candidate` or above it.
  bool checkParentValidity(JtNode* candidate);
  /// The diffuse color of the node's first material; false when it has none.
  static bool computeNodeColor(JtNode* node, ApiGraColor& color);
  /// Index of the first material or transform; -1 when there is none.
  static int getColorAttrIndex(JtNode* node);
  static int getXformAttrIndex(JtNode* node);
  /// Removes the first material of the node and of each node below it.
  static void removeColorAttribute(JtNode* node);
  /// Removes the unit of the node and of each node below it.
  static void removeMeasurementUnitsProperty(JtNode* node);
  void collectOccId(JtString& out) const;

 private:
  bool endsWalk(const JtNode* node) const;
  /// The first parent, unless the walk up to the component parent ends there; or null.
  JtNode* nextOfWalk(const JtNode& node) const;
  /// What the root remembers of walks, or null.
  jtw::WalkMemo* memo() const noexcept;
  void computeLocation();
  bool findOwnColor();

  friend class JtwRoot;
  friend ApiGraColor jtw::colorOf(JtwNode& node, bool& isDefault);

  /// How many entries of the root's maps lead to this wrapper. Copies are in no map, and assignment
  /// changes no map.
  struct MapEntries {
    MapEntries() = default;
    MapEntries(const MapEntries& /*other*/) noexcept {}
    MapEntries& operator=(const MapEntries& /*other*/) noexcept { return *this; }

    unsigned byKey = 0;
    unsigned byJtNode = 0;
  };

  jt::Ref<JtNode> jtNode_;
  MapEntries entries_;
  JtwNode* nextToEnd_ = nullptr;  // while the root ends: the next wrapper; of the last one, itself
  std::size_t gatheredPMIs_ = 0;

 protected:
  JtwRoot* root_ = nullptr;
  RTTran3D relLoc_;
  float unitRatio_ = 1.0F;
  bool locationValid_ = false;
  ApiGraColor color_;
  bool colorEvaluated_ = false;
  bool colorIsDefault_ = true;
};
