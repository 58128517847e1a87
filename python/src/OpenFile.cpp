#include "OpenFile.h"

#include "JtFormatError.h"
#include "JtStorageLocation.h"
#include "Library.h"

namespace binding {

OpenFile::OpenFile(const std::string& file) : path(file) {
  const auto location = jt::make<JtFSStorageLocation>(file);
  JtPartition* opened = nullptr;
  JtPartition::openPartition(location.get(), nullptr, opened);
  top_ = jt::Ref<JtPartition>::adopt(opened);
  JtPartition::openAllPartitions(top_.get(), true);
}

OpenFile::~OpenFile() {
  const Locked lock;
  top_ = nullptr;
}

JtPartition& OpenFile::top() const {
  if (!top_) throw JtFormatError("closed", "the file is closed", {.file = path});
  return *top_;
}

}  // namespace binding
