#pragma once

#include <utility>
#include <vector>

#include "JtwLeaf.h"

class JtwCollection;

/// What the host knows of a frame or a PMI; kept in memory only.
struct JtwNwObjData {
  RWClassicWString name;
  bool displayState = true;
  ApiProtoKey key;
  RWClassicCString attributes;
  ApiProtoKey attachmentParent;
  AttachmentType attachmentType = ATTACHMENT_DEFAULT;
  ApiGlobalUniqueId globalUniqueId;
  bool preserved = false;
  RWClassicCString relStringId;

  friend bool operator==(const JtwNwObjData&, const JtwNwObjData&) = default;
};

/// A frame or a piece of product and manufacturing information that hangs on a collection. It has
/// no JT node of its own: it wraps the collection's and keeps its data in a record. Location and
/// color are the cached ones of the base class, stored as given, relative to the collection, in
/// millimetres.
class JTW_API JtwPMI : public JtwLeaf {
 public:
  JtwPMI() = default;
  /// Hangs on `collection`, which need not list it yet; the root files it under the collection's JT
  /// node.
  JtwPMI(JtwCollection* collection, JtwRoot* root);
  /// A copy has the data and hangs on the same collection, but no list or map knows it.
  JtwPMI(const JtwPMI& other);
  JtwPMI& operator=(const JtwPMI& other);
  /// Leaves every list and the root's maps.
  ~JtwPMI() override;

  ApiProtoKey key() override { return data_.key; }
  /// False, and nothing changes, for a key that is not greater than 0 or that the root maps to a
  /// node. A PMI that has a key takes another one too; the old entry of the map stays until the PMI
  /// is deleted. The root records the key as given (JtwRoot::PMIMaxProtoKey).
  bool setKey(const ApiProtoKey& key) override;
  RWClassicWString name() override { return data_.name; }
  void setName(const RWClassicWString& name) override { data_.name = name; }
  RTTran3D absLoc() override;
  RTTran3D relLoc() override { return relLoc_; }
  void setRelLoc(const RTTran3D& location) override { relLoc_ = location; }
  float measurementUnitRatio() override { return 0.0F; }
  bool setMeasurementUnitRatio(float /*ratio*/) override { return false; }
  RWClassicCString attributes() override { return data_.attributes; }
  void setAttributes(const RWClassicCString& text) override { data_.attributes = text; }
  ApiProtoKey parent() override;
  /// Leaves the list of its collection, then joins the collection of that key. False when there is
  /// none: it then is in no list and still names the old collection.
  bool setParent(const ApiProtoKey& key) override;
  void getAttachmentParent(ApiProtoKey& key, AttachmentType& type) override;
  void setAttachmentParent(const ApiProtoKey& key, AttachmentType type) override;
  /// Stores the color; the flags mean nothing here.
  void setColor(const ApiGraColor& color, bool forced, bool overrideVertexColors) override;
  ApiGlobalUniqueId globalUniqueId() override { return data_.globalUniqueId; }
  void setGlobalUniqueId(const ApiGlobalUniqueId& id) override { data_.globalUniqueId = id; }
  bool isPreserved(bool /*deep*/) override { return data_.preserved; }
  void setPreserved(bool preserved) override { data_.preserved = preserved; }
  RWClassicCString relStringId() const override { return data_.relStringId; }
  void setRelStringId(const RWClassicCString& id) override { data_.relStringId = id; }
  bool isOfTypePMI() override { return true; }

  /// Kept in the record; the file has it with the entity.
  void setDisplayState(bool displayed) override { data_.displayState = displayed; }
  bool displayState() override { return data_.displayState; }
  /// The stored color, never looked up elsewhere.
  const ApiGraColor& color(bool& isDefault) override;

  /// The collection that it hangs on; null after clearParent().
  JtwCollection* collection() const noexcept { return collection_; }
  /// Leaves the collection.
  void clearParent();
  /// The JT node under which the root files it; null when it does not.
  const JtNode* originJtNode() const noexcept { return origin_.get(); }
  /// Files it under another JT node (null: nowhere); a change takes its id away.
  void setOriginJtNode(const JtNode* node);
  /// A number that its origin knows it by; -1 when none.
  int id() const noexcept { return id_; }
  void setId(int id) noexcept { id_ = id; }
  /// The record; valid as long as the object.
  JtwNwObjData* KrData() noexcept { return &data_; }

  /// The key that the file has for this PMI, as far as it was read or written.
  const ApiProtoKey& storedKey() const noexcept { return storedKey_; }
  /// Records that the PMI was read from or written to the entity with that index.
  void setStored(int id);
  /// Makes the next write replace everything that the host has of the entity; otherwise an entity
  /// keeps its geometry and all of its appearance but the color of the text.
  void renew() noexcept { renewed_ = true; }
  bool isRenewed() const noexcept { return renewed_; }
  /// Attributes of the entity that the PMI had on a JT node before, names and values, for the
  /// entity that it gets now: those that mean nothing to the host.
  const std::vector<std::pair<JtString, JtString>>& carriedAttributes() const noexcept {
    return carried_;
  }

  /// As setKey() for a key that was read from the file: nothing is recorded.
  bool takeStoredKey(const ApiProtoKey& key);

 private:
  void setCollection(JtwCollection* collection);
  /// Leaves its collection and every other list of PMI that it is in.
  void leaveLists();
  /// The root forgets the key and owns the PMI without one.
  void giveUpKey();

  friend class JtwCollection;
  friend class JtwNode;
  friend class JtwRoot;

  JtwCollection* collection_ = nullptr;
  JtwNwObjData data_;
  int id_ = -1;
  ApiProtoKey storedKey_;
  bool renewed_ = false;
  std::vector<std::pair<JtString, JtString>> carried_;
  jt::Ref<const JtNode> origin_;
  // One element for each entry in a collection's list, so that no list keeps a dead PMI.
  std::vector<JtwCollection*> listedIn_;
  unsigned filings_ = 0;                // how often the root files it under a JT node
  const JtNode* filedUnder_ = nullptr;  // the last of them, while it is known
};
