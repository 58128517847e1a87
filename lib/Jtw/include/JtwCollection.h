#pragma once

#include <cstddef>
#include <memory>
#include <unordered_set>

#include "JtwNode.h"
#include "JtwPMIList.h"

class JtwPMI;

/// A node that can hold other objects. It lists the PMI and frames that hang on it; frames are kept
/// in the JT node's "KrWmFrames" property, the keys of the PMI in "KrPMIProtoKeys".
class JTW_API JtwCollection : public JtwNode {
 public:
  JtwCollection() = default;
  /// A wrapper over `node` in the component of `root`; enters no map.
  JtwCollection(JtNode* node, JtwRoot* root);
  /// The copy lists the same objects; they stay with the collection they hang on.
  JtwCollection(const JtwCollection& other);
  JtwCollection& operator=(const JtwCollection& other);
  ~JtwCollection() override;

  int isCollection() override { return 1; }

  /// PMI and keyed frames, in order of insertion. They belong to the root.
  const RWClassicTValOrderedVector<JtwPMI*>& PMIs() const noexcept { return pmis_.entries(); }
  bool hasPMIs() const noexcept { return !pmis_.empty(); }
  /// Appends, also what is listed already.
  void addPMI(JtwPMI* pmi);
  /// Removes the first entry that is `pmi`.
  void removePMI(JtwPMI* pmi);
  /// True when any of the PMI is preserved.
  bool checkForPreservePMI();
  /// The stored mark that preserved PMI hang on the collection.
  bool hasPreservedPMI();
  /// Stores the mark, unless there is one already.
  void setHasPreservedPMI(bool preserved);

  /// Reads the stored frames and makes their objects: those with a key join the PMI, the others are
  /// in no list. False when the metadata cannot be read or the value is of an unknown kind.
  bool loadFrames();
  /// Stores the frames among the PMI; frames without key are dropped. Without any PMI the property
  /// is removed. True unless there is no JT node.
  bool storeFrames();
  /// PMIs(), after reading the frames the first time.
  const RWClassicTValOrderedVector<JtwPMI*>& readKrFrames();
  /// True when the frames among the PMI are others than those that the JT node was found to have,
  /// or was given.
  bool haveFramesChanged() const;
  /// Records that the JT node has the frames as they are now.
  void setFramesStored() { framesStored_ = framesHash(0); }
  /// Gives the stored keys to those PMI that have none, if as many keys are stored as there are
  /// PMI.
  void readPMIKeysFromJT();
  /// Stores the keys of the PMI, unless some are stored already.
  void writePMIKeysToJT();

  /// True when a walk has gathered the PMI already.
  bool PMIsCalculated() const noexcept { return pmisCalculated_; }
  void setPMIsCalculated() noexcept { pmisCalculated_ = true; }
  /// True when reading found frames with a key.
  bool KrFramesFound() const noexcept { return framesFound_; }

 protected:
  /// Parts from the PMI. The root calls it while all of them are alive.
  void uninit();

 private:
  /// Of what a list says of the frames among the PMI from an index on; 0 for none.
  std::size_t framesHash(std::size_t first) const;
  /// The PMI forgets one of its entries in this list.
  void dropListing(JtwPMI& pmi);

  friend class JtwPMI;
  friend class JtwRoot;

  // Every PMI that names this collection, listed or not, so that none is left naming a dead one.
  const std::unordered_set<JtwPMI*>& namedBy() const noexcept;
  void addNamedBy(JtwPMI* pmi);
  void removeNamedBy(JtwPMI* pmi) noexcept;

  // What a walk reads comes first: it lies in one line of the cache with what is above.
  bool pmisCalculated_ = false;
  bool framesRead_ = false;
  bool framesFound_ = false;
  JtwPMIList pmis_;
  std::unique_ptr<std::unordered_set<JtwPMI*>> namedBy_;  // null until the first
  std::size_t framesStored_ = 0;  // the framesHash() of the frames that the JT node has
};
