#pragma once

#include <vector>

#include "ApiObjType.h"
#include "JtwExport.h"
#include "RWClassic.h"

class JtGroup;
class JtNode;
class JtwCollection;
class JtwEntity;
class JtwNode;
class JtwPMI;
class JtwRoot;
class VisMetaDataNode;
class VisPartNode;

/// A depth-first walk over an opened component; hosts derive their own walks from it. The walk also
/// makes the wrappers that are missing and enters them in the root's maps. It never changes the
/// scene graph. A JT node that several paths reach is visited once, on the first of them.
///
/// Answers of the visiting operations: false on the way down leaves out what is below the node;
/// false on the way up ends the walk. The walk in progress is kept in static state: one walk at a
/// time, but a visiting operation may run another walk to its end.
class JTW_API JtwTraverse {
 public:
  /// A walk over the whole component.
  explicit JtwTraverse(JtwRoot* root);
  /// A walk over what hangs below the JT node of `start`.
  JtwTraverse(JtwRoot* root, JtwNode* start);
  JtwTraverse(const JtwTraverse&) = default;
  JtwTraverse& operator=(const JtwTraverse&) = default;
  virtual ~JtwTraverse();

 private:
  /// For the root, on the way down.
  virtual bool actOnRoot(JtwRoot* root);

 public:
  /// For the root, when the walk leaves it.
  virtual bool postActOnRoot(JtwRoot* root);
  /// For every entity and collection but the root, on the way down; also for each PMI of a node for
  /// which preActOnPMI() says so.
  virtual bool actOnNode(JtwNode* node) = 0;
  /// For every collection but the root, when the walk leaves it.
  virtual bool postActOnNode(JtwNode* node) = 0;
  /// Whether to go below a collection; asked after it was acted on.
  virtual bool shouldContinue(JtwNode* node);
  /// Under the alternate loading representation: for an entity whose key belongs to another node.
  /// The entity is destroyed afterwards.
  virtual bool actOnNonDisplayedNode(JtwNode* node);
  /// For a collection or an entity with PMI or frames, before those are walked; only if the answer
  /// is true they are acted on: frames first, then annotations by their PMI type, in list order
  /// among those of one type. The default answer is false. PMI of a JT file are gathered before,
  /// by the first walk: those of a part hang on the collection above it.
  virtual bool preActOnPMI(JtwNode* node);

  /// Runs the walk. False when the root has no JT node or the graph cannot be read.
  bool execute();
  /// Explodes what a native file groups: its assemblies, which no host has marked, are passed over,
  /// and what they hold is met as if it hung below the nearest collection that is shown. Off unless
  /// set; nothing is changed in the scene graph either way.
  void setExplodeNativeNodes(bool on) noexcept { explodes_ = on; }
  bool explodesNativeNodes() const noexcept { return explodes_; }
  /// The root that is walked; not owned.
  JtwRoot* root() const noexcept { return root_; }

  /// The host type that the "KrObjType" property of a node names. False, and `type` stays, when
  /// there is none or the text names no type.
  static bool getKrTypeProperty(JtNode* node, ApiObjType& type);
  /// Sets the static state up; once, before the first walk.
  static void init();

 protected:
  /// Where the walk starts; the root itself unless another node was given.
  JtwNode* startNode() const noexcept { return startNode_; }

 private:
  struct Walk;

  void prefetchWrappers(const JtNode& node) const;
  bool internalPreNode(JtNode* node);
  bool internalPostNode(JtNode* node);
  bool internalActOnWrapper(JtwNode* wrapper);
  bool internalPostWrapper(JtwNode* wrapper);
  bool internalActOnPart(VisPartNode* part);
  bool internalActOnGroup(JtGroup* group);
  bool internalActOnRoot();
  void handleNativeJTs(VisMetaDataNode* node);
  bool isUnmarked(VisMetaDataNode& node) const;
  bool needToExplodeNodes(JtNode* node) const;
  void handlePMIOnExplodedNode(JtNode* node);
  JtwCollection* makeCollection(VisMetaDataNode& node);
  JtwCollection* nearestCollection() const;
  void traversePMIs(JtwCollection* collection, JtwCollection* shownAt);
  void traversePMIsOfEntity(JtwEntity* entity);
  void actOnPMIs(RWClassicTValOrderedVector<JtwPMI*> pmis);

  static Walk* impl_;

  JtwRoot* root_;
  JtwNode* startNode_;
  RWClassicWString instanceName_;
  bool explodes_ = false;
};
