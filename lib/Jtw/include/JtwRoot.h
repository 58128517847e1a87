#pragma once

#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "ApiDocument.h"
#include "ApiDocumentRef.h"
#include "ApiProtoKey.h"
#include "IStream.h"
#include "JtPartition.h"
#include "JtRefCounted.h"
#include "JtString.h"
#include "JtwCollection.h"
#include "JtwExport.h"
#include "JtwPMIList.h"
#include "RTAutoPtr.h"
#include "RTTran3D.h"
#include "RWClassic.h"

class JtBufferProperty;
class JtPropAtom;
class JtStorageLocation;
class JtwBlock;
class JtwEntity;
class JtwFrame;
class JtwLink;
class JtwManager;
class JtwPMI;
class JtwPMIAnnotation;
class JtwSubDevice;
class VisMetaDataNode;

namespace jtw {
class KeyTable;
class Reading;
class RootEdits;
class WrapperTable;
struct RootLink;
struct WalkMemo;
}  // namespace jtw

/// The top of the wrapper tree of one host document: it holds the partition with the document's JT
/// data, the JT node that represents the component in it, and every wrapper made over that. Roots
/// are made, initialised and destroyed by JtwManager; one thread uses a root at a time.
class JTW_API JtwRoot : public JtwCollection {
 public:
  /// How the JT data is taken in when a component is opened. Values above 2 act as 2, except that a
  /// switch yields the representation it shows.
  enum JT_LOADING_REPRESENTATION : unsigned {
    JT_LOAD_WITH_UNIT_PROPERTY = 0,  ///< recorded unit scales count; a switch yields what it shows
    JT_LOAD_PLAIN = 1,               ///< as 0, but recorded unit scales are not read
    JT_LOAD_ALTERNATE_REP = 2,       ///< a switch yields its alternative; a document without PMI
                                     ///< mode is not wrapped and keeps its transforms
  };

  /// Why JT data could not be opened. An opening that failed always ends with the last value; which
  /// of the others holds is what hasJtData() reports.
  enum OPEN_JT_ERR : unsigned {
    JT_PATH_NOT_FOUND = 0,     ///< no JT file name, and the place to look in does not exist
    JT_FILE_NOT_FOUND = 1,     ///< no JT file name in a place that exists
    JT_INITIALIZE_FAILED = 2,  ///< what every failed opening ends with
  };

  /// The binary data that the host keeps on a component.
  enum JT_BUFFER : unsigned {
    JT_KIN_BUFFER = 0,
    JT_KIN_MODELING_BUFFER = 1,
    JT_KIN_TECHNO_BUFFER = 2,
    JT_MOP_BUFFER = 3,
    JT_DOT_KIN_BUFFER = 4,
    JT_GM_KIN_BUFFER = 5,
    JT_PLC_LOGIC_BLOCK = 6,
    JT_KIN_TECHNO_DOUBLE_BUFFER = 7,
  };

  /// Destroys the wrappers, then lets go of the partition: closes it, or in viewer mode leaves it
  /// to the viewer.
  ~JtwRoot() override;

  // --- The component (JtwRoot.cpp)

  JT_LOADING_REPRESENTATION loadingRep() const { return loadingRep_; }
  /// True when the partition held a component node of the host's own kind.
  bool isJtKR() const { return isJtKR_; }
  /// True when the viewer's partition could not be shared and the data was opened once more.
  bool isNewCopy() const { return isNewCopy_; }
  /// True when the JT data was a switch marked for the host, of which one representation was taken.
  bool hasKrSwitch() const { return hasKrSwitch_; }
  /// The opened partition, not owned; null when nothing is open.
  JtPartition* partition() const { return partition_.get(); }

  /// The version of the host data that is written: 2.
  static unsigned currentVersion() { return currentVersion_; }
  /// The release that wrote that version of the host data; empty for an unknown version.
  static RWClassicCString getVersionAsString(unsigned version);

  /// Whether the document has JT data to be opened: a stream, or a JT file.
  /// @param error the reason when it has not, else untouched; the text is in jt::lastError()
  static bool hasJtData(const ApiDocumentRef& document, OPEN_JT_ERR& error);
  /// Where the partition lies, not owned; null when it lies nowhere yet.
  JtStorageLocation* getStorageLocation() const;
  /// Points the partition at a file for the next write. Nothing on disk is touched.
  /// @param location the folder, with a trailing separator
  /// @param name     the file's name in it
  /// @return false when there is no partition or no name
  bool updateStorageLocation(const RWClassicCString& location, const RWClassicCString& name);

  JT_NODE_TYPE type() override { return JT_ROOT_NODE; }
  using JtwNode::name;
  /// The name of the component node; the partition's when it has none.
  RWClassicWString name() override;
  /// The identity: a component is placed by whoever uses it.
  RTTran3D absLoc() override;
  /// The identity too; see internalRelLoc().
  RTTran3D relLoc() override;
  /// What the component node's own transforms, and those above it, amount to, in millimetres. Not
  /// the identity only when they were not pushed down to the children while opening, or after
  /// setRelLoc(), which sets it. Cached as relLoc() of other nodes is.
  RTTran3D internalRelLoc();

  // --- Wrappers and nodes (JtwRootNodes.cpp)

  /// Looks a wrapper up. The out-argument is null for an unknown key.
  /// @return false, with the out-argument untouched, only when no wrapper has a key
  bool getNodeByKey(const ApiProtoKey& key, JtwNode*& node) const;
  /// Enters a wrapper under a key and takes ownership of it.
  /// @return false when the key is in use or `node` is null
  bool addNodeToMapByKey(const ApiProtoKey& key, JtwNode* node);
  /// The same under the wrapper's own key.
  bool addNodeToMap(JtwNode* node);
  /// Forgets a key; the wrapper lives on and its owner is the caller unless another key or its JT
  /// node is mapped to it, or the root has adopted it. @return false when the key is unknown
  bool removeNodeFromMapByKey(const ApiProtoKey& key);
  /// Enters the wrapper over a JT node and takes ownership of it.
  /// @return false, changing nothing, when the JT node has a wrapper
  bool addNodeByJtNode(JtNode* jtNode, JtwNode* node);
  /// The wrapper over a JT node, not owned, or null.
  JtwNode* nodeByJtNode(JtNode* jtNode) const;
  /// Takes a wrapper out of both maps, whatever keys it is mapped by; its owner is the caller from
  /// then on.
  void forgetNode(JtwNode& node);
  /// Takes ownership of a PMI that has no key: no map has it until it gets one. Null: nothing.
  void adoptPMI(JtwPMI* pmi);
  /// All wrappers that have a key. Valid until a wrapper is added or removed.
  const RWClassicTValHashDictionary<ApiProtoKey, JtwNode*>& getAllNodes() const;

  /// The creators make a JT node (frames and annotations: none) with its wrapper under the wrapper
  /// of `parentKey`. The root owns the result. Null, changing nothing, when `key` is in use or
  /// `parentKey` unknown, or when a frame's or annotation's parent is no collection.
  /// @param relLoc the place relative to the parent. The translation is in the unit of length that
  /// the new node has from its parent, as in JtwNode::setRelLoc(); that of a frame or annotation is
  /// in millimetres. jtw::createNode() takes millimetres for all kinds.
  JtwEntity* createEntityNode(const ApiProtoKey& key, const ApiProtoKey& parentKey,
                              const RTTran3D& relLoc);
  JtwBlock* createBlockNode(const ApiProtoKey& key, const ApiProtoKey& parentKey,
                            const RTTran3D& relLoc);
  JtwLink* createLinkNode(const ApiProtoKey& key, const ApiProtoKey& parentKey,
                          const RTTran3D& relLoc);
  JtwSubDevice* createSubDeviceNode(const ApiProtoKey& key, const ApiProtoKey& parentKey,
                                    const RTTran3D& relLoc);
  JtwFrame* createFrameNode(const ApiProtoKey& key, const ApiProtoKey& parentKey,
                            const RTTran3D& relLoc);
  JtwPMIAnnotation* createPMIAnnotationNode(const ApiProtoKey& key, const ApiProtoKey& parentKey,
                                            const RTTran3D& relLoc);
  /// An entity without a key, for approximated geometry; placed as those of the other creators.
  JtwEntity* createApxEntityNode(const ApiProtoKey& parentKey, const RTTran3D& relLoc);
  /// A copy of the entity of that key, under the same parent and with a free key; null when the key
  /// names no entity. @param withGeometry whether what lies below the part node is copied too
  JtwEntity* cloneEntityNode(const ApiProtoKey& key, const bool& withGeometry);
  /// Deletes the object of that key with its JT node; its PMI stays with its collection. Allowed
  /// during a walk (JtwTraverse): what was deleted is not visited any more, and its wrapper is
  /// destroyed when the walk ends.
  /// @return false when the key is unknown
  bool deleteNode(const ApiProtoKey& key);

  /// Files a PMI under the JT node it belongs to, or takes it out again. Neither owns.
  void addJtwPMIToMap(const JtNode* jtNode, JtwPMI* pmi);
  void removeJtwPMIFromMap(const JtNode* jtNode, JtwPMI* pmi);
  /// The PMI filed under a JT node, in the order of filing.
  RWClassicTValOrderedVector<JtwPMI*> getJtwPMIsOfNode(const JtNode* jtNode) const;
  /// Files the PMI of a JT node under the JT node of the collection that each hangs on.
  void setJtwPMIsOfNodeToCollection(JtNode* jtNode);
  /// The wrappers of all JT nodes that can carry PMI, in no order.
  std::vector<JtwNode*> pmiCarriers();

  /// The greatest key known to have been given to a PMI of this component, deleted ones included;
  /// the null key when none is recorded. Recorded whenever a PMI is given a key, and for PMI that
  /// were read from the file when they are deleted.
  ApiProtoKey PMIMaxProtoKey() const;
  /// Records it on the component node. A key that does not fit in 32 bits changes nothing.
  void setPMIMaxProtoKey(const ApiProtoKey& key);

  /// Writes changed PMI into their JT nodes (jtw::writePMIs) and then the component's JT data to
  /// the file or the document's stream that it lies in.
  /// @param asNewCopy writes what lies below the component node instead of the partition as it is
  /// @return false when the root was not opened, its partition is closed, it has no place to go to,
  /// a transaction (JtwTransaction) is open, PMI cannot be written, or the save failed: the text is
  /// then in jt::lastError(), and the old data as it was
  bool write(bool asNewCopy);
  /// As write(), with options of the save, and returns what became of each segment; nothing where
  /// write() returns false.
  std::optional<jt::SaveReport> writeReported(bool asNewCopy, const jt::SaveOptions& options = {});

  // --- Binary data (JtwRootBuffers.cpp)

  /// Whether the component has that buffer, be it empty or unreadable.
  bool hasBuffer(JT_BUFFER buffer) const;
  /// Keeps a copy of `size` bytes on the component; size 0 removes what there was.
  /// @return false for an unknown buffer, without component node, and for more than 2^31 - 1 bytes
  bool setBuffer(JT_BUFFER buffer, const char* data, unsigned size);
  /// A copy of the bytes; null when there are none.
  /// @param version the version they were written with; untouched when there are none
  /// @param found   whether the component has the buffer
  /// @param size    how many bytes; untouched when there are none
  RTAutoPtr<char> getBuffer(JT_BUFFER buffer, unsigned& version, bool& found, unsigned& size);

 protected:
  /// A root without document. @param loadingRep what walks show of the component
  explicit JtwRoot(JT_LOADING_REPRESENTATION loadingRep);
  JtwRoot();
  /// A further root over the same partition and component node, with no wrappers yet. The last of
  /// the copies closes the partition.
  JtwRoot(const JtwRoot& other);
  JtwRoot& operator=(const JtwRoot& other);

  /// Finds the component node in the partition or builds it, and records the document's structure.
  /// Built means: the only child becomes the component, unless it is a part; otherwise a new node
  /// takes all children. The component's transforms go down to its children.
  bool initializeComponentNode(const ApiDocumentRef& document);
  /// Opens what lies at `location` with all its sub-partitions and keeps it as the partition.
  /// @return whether it could be opened; the reason is in jt::lastError()
  bool openPartitionAt(JtStorageLocation* location);
  /// Replaces the partition (null: none) and forgets the component node.
  void setPartition(jt::Ref<JtPartition> partition);
  /// Saves the partition, or what lies below `node` when it is not null, in its own place. Not
  /// while a transaction is open. Nothing when it failed; the text is in jt::lastError().
  std::optional<jt::SaveReport> writeToDatastore(JtNode* node, const jt::SaveOptions& options);
  /// Puts wrappers over other JT nodes: every wrapper over a key of the map goes to its value.
  void rebindNodes(const std::unordered_map<JtNode*, JtNode*>& replacements);

  /// Makes `group` the parent of the component node for as long as the root lives.
  bool regroup(jt::Ref<JtGroup> group);

  /// The color of the component node or the nearest one above it; the search ends here.
  ApiGraColor evaluateColor(bool& isDefault) override;

  /// What jt::lastError() says after an exception that is no std::exception.
  static constexpr const char* kUnknownException = "an exception of unknown type was thrown";

 private:
  friend class JtwManager;
  friend class JtwNode;
  friend class JtwPMI;
  friend class JtwTraverse;
  friend class jtw::Reading;
  friend class jtw::RootEdits;

  bool initialize(const ApiDocumentRef& document, OPEN_JT_ERR& error);
  bool initializeAsNew(const ApiDocumentRef& document);
  bool openOrShare(const ApiDocumentRef& document, OPEN_JT_ERR& error);
  void openPartition(const ApiDocumentRef& document, OPEN_JT_ERR& error);
  /// A new location without references, or null.
  static JtStorageLocation* computeLocation(const ApiDocumentRef& document, OPEN_JT_ERR& error);
  static bool getStreamFromDocument(const ApiDocumentRef& document, CComPtr<IStream>& stream);
  static void setJtError(const RWClassicCString& path, OPEN_JT_ERR& error);
  VisMetaDataNode* findComponentNode() const;
  void buildComponentNode();
  void markComponent(JtNode& component);
  /// The structure that a component of the host's own kind shows once its metadata is there.
  ApiDocument::Structure readStructure(const ApiDocumentRef& document, VisMetaDataNode& component);
  void handleKrJtSwitch();
  void handleXformOnComponent(VisMetaDataNode* component);
  /// PMI that outlive their collection do not keep its JT node alive, and with it what hangs below.
  void partPMIsFromNode(JtwNode& node);
  /// Takes a PMI from every JT node that it is filed under.
  void removeJtwPMIFromMap(JtwPMI& pmi);
  /// Raises the recorded greatest key of PMI to `key`.
  void recordPMIKey(const ApiProtoKey& key);
  /// Does so for the PMI that go with a node: its own and those of everything below.
  void recordPMIKeysBelow(JtNode* node);
  /// Takes a wrapper out of every map and list; it ends now or with the walk in progress.
  void destroyNode(JtwNode& node);
  bool isDeleted(const JtwNode* node) const { return !deleted_.empty() && deleted_.contains(node); }
  void beginWalk() noexcept { ++walks_; }
  void endWalk() noexcept;
  bool uninitialize();
  void destroyNodes();
  /// Destroys all wrappers but the root, which is as it was before the first walk. Those that a
  /// walk in progress knows end with it.
  void forgetWrappers() noexcept;

  bool getFreeApiProtoKey(ApiProtoKey& key) const;

  static JtString getBufferPropertyName(JT_BUFFER buffer);
  static jt::Ref<JtPropAtom> createBufferPropertyKey(JT_BUFFER buffer);
  jt::Ref<JtBufferProperty> readBuffer(JtPropAtom* value, bool& found) const;

  static const unsigned currentVersion_;

  // A wrapper in either of the first two maps or in unkeyedPMIs_ is destroyed with the root.
  std::unique_ptr<jtw::WrapperTable> nodesByJtNode_;
  std::unique_ptr<jtw::WalkMemo> memo_;  // while somebody only reads
  std::unique_ptr<jtw::KeyTable> nodesByKey_;
  JT_LOADING_REPRESENTATION loadingRep_ = JT_LOAD_WITH_UNIT_PROPERTY;
  jt::Ref<JtPartition> partition_;
  bool isJtKR_ = false;
  bool hasKrSwitch_ = false;
  bool isNewCopy_ = false;
  RWClassicTValHashDictionary<const JtNode*, JtwPMIList> pmisByJtNode_{64};

  std::unordered_set<JtwNode*> unkeyedPMIs_;
  unsigned walks_ = 0;  // walks in progress; until the last one ends, deleted wrappers are kept
  std::unordered_map<const JtwNode*, std::unique_ptr<JtwNode>> deleted_;
  unsigned forgotten_ = 0;               // grows whenever a JT node loses its wrapper
  unsigned openError_ = 0;               // not 0 after a failed opening
  jt::Ref<JtGroup> group_;               // holds a component node that was taken out of its graph
  std::shared_ptr<void> sharers_;        // one owner for each root over the same partition
  std::shared_ptr<jtw::RootLink> link_;  // what transactions and histories know the root by
};
