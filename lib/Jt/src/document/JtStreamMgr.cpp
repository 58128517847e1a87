#include "JtStreamMgr.h"

#include "file/container/Container.h"

jt::FileVersion JtStreamMgr::getVersion() const {
  const jt::file::Container* file = partition_.container();
  if (!file) return partition_.version();
  return {.major = file->format().major, .minor = file->format().minor};
}
