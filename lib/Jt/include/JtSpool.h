#pragma once

#include <memory>
#include <string>

#include "JtExport.h"
#include "JtPartition.h"

namespace jt {

/// Parts of a file that is being made, encoded and kept on disk until it is saved, so that memory
/// need not hold them all. They lie in a hidden folder beside the target, which is removed with the
/// spool; what a killed process left there is removed by the next spool of that target.
class JT_API Spool {
 public:
  /// Makes nothing yet. @param target the file that is being made
  explicit Spool(const JtFSStorageLocation& target);
  ~Spool();
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  /// Encodes what is below a partition, in its version, and returns it as it is read back: the
  /// nodes name their segments in the spool, whose bytes a save of that version copies. Throws
  /// JtFormatError as JtPartition::save.
  /// @param report receives what the encoding did
  Ref<JtPartition> store(JtPartition& content, const SaveOptions& options, SaveReport& report);

 private:
  class Folder;
  std::string target_;
  std::unique_ptr<Folder> folder_;
};

}  // namespace jt
