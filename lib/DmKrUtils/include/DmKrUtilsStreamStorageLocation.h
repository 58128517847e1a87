#pragma once

#include "DmKrUtilsExport.h"
#include "DmKrUtilsStreamObject.h"
#include "JtStorageLocation.h"

/// A storage location inside a document of the host: the JT data is a stream. Served by
/// DmKrUtilsStreamStorageManager only.
class DMKR_API DmKrUtilsStreamStorageLocation : public JtStorageLocation {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// The name that the stream gives, or "stream".
  JtString displayName() const override;

  /// Sets the stream; the location takes a reference. Null: the location holds nothing.
  void setStreamObject(DmKrUtilsStreamObject* object) { object_ = object; }
  /// Not owned; null when none was set.
  DmKrUtilsStreamObject* streamObject() const { return object_.get(); }

 private:
  jt::Ref<DmKrUtilsStreamObject> object_;
};
