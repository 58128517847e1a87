#include "DmKrUtilsStreamStorageLocation.h"

const JtType* DmKrUtilsStreamStorageLocation::classTypeID() {
  static const JtType type("DmKrUtilsStreamStorageLocation", JtStorageLocation::classTypeID());
  return &type;
}

JtString DmKrUtilsStreamStorageLocation::displayName() const {
  IStreamStat stat;
  if (object_ && object_->stream() && object_->stream()->Stat(stat) == IStreamResult::ok &&
      !stat.name.empty())
    return jt::textOfBytes(stat.name);
  return JtString("stream");
}
