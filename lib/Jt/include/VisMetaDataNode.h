#pragma once

#include <atomic>
#include <map>
#include <memory>

#include "JtGroup.h"
#include "JtMetaData.h"
#include "JtPMI.h"

/// A group that can carry metadata and PMI: an assembly, a component.
class JT_API VisMetaDataNode : public JtGroup {
 public:
  VisMetaDataNode() = default;
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override;

  /// Makes sure that the node's metadata segment, if it has one, is in memory; from then on
  /// property look-ups see its entries behind the node's own properties. False when the segment is
  /// missing or damaged; the reason is in `jt::lastError()`. Reads the segment the first time only.
  /// Safe from several threads, as is ensurePMI.
  bool ensureMetaData();
  /// The metadata, or null when the node has none or it is not loaded. Not owned.
  const JtMetaData* metaData() const noexcept {
    return metaDataState_.load(std::memory_order_acquire) == LoadState::read ? metaData_.get()
                                                                             : nullptr;
  }

  /// Makes sure that the node's PMI, if it has any, is in memory. False when the segment is missing
  /// or cannot be read; the reason is in `jt::lastError()`, and a save in the same version keeps it
  /// as it is. Reads the segment the first time only.
  bool ensurePMI();
  /// The PMI, which is loaded when it is not in memory; null when the node has none or it cannot be
  /// read. Not owned. A change is saved with the node's file.
  PMIDataManager* pmi();
  /// Gives the node this PMI in the place of what it had; null: none. The node takes a reference.
  /// The save drops a segment that nothing else names.
  void setPMI(PMIDataManager* pmi);

  using JtGroup::addProperty;
  /// Adds a property under a key text. Host properties live in the property table of the scene
  /// graph, not in the metadata segment. Ownership and result as the base operation.
  bool addProperty(const JtString& key, JtPropAtom* value, bool replace);
  /// Also removes the key from the metadata when it is loaded; the save then writes the segment
  /// anew.
  bool deleteProperty(const JtPropAtom* key) override;

 protected:
  /// Without what was loaded.
  VisMetaDataNode(const VisMetaDataNode& other)
      : JtGroup(other), metaVersion_(other.metaVersion_) {}
  JtPropAtom* extraProperty(const JtString& key) const override;
  /// Of a segment that is loaded on demand.
  enum class LoadState : std::uint8_t { unread, read, failed };

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion metaVersion_;
  // What is loaded is in its place before its state says so.
  std::atomic<LoadState> metaDataState_{LoadState::unread};
  std::atomic<LoadState> pmiState_{LoadState::unread};
  jt::Ref<JtMetaData> metaData_;
  jt::Ref<PMIDataManager> pmi_;
  // Atoms made for metadata entries that somebody looked up.
  mutable std::unique_ptr<std::map<JtString, jt::Ref<JtPropAtom>>> metaAtoms_;
};
