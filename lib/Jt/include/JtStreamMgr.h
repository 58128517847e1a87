#pragma once

#include "JtPartition.h"

/// The file that a partition's content came from. Looks at the partition, which must outlive it.
class JT_API JtStreamMgr {
 public:
  /// Of the file that a partition is saved to.
  explicit JtStreamMgr(const JtPartition& partition) : partition_(partition) {}

  /// The version of the file, whatever JtPartition::setVersion asked for since; that of the next
  /// save for a partition that was made in memory.
  jt::FileVersion getVersion() const;

 private:
  const JtPartition& partition_;
};
