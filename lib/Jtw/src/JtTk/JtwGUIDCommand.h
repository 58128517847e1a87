#pragma once

#include "ApiGlobalUniqueId.h"
#include "IdxObject.h"

/// Writes and reads the unique id of an object. Refers to the id, which must outlive it.
class JtwGUIDCommand : public IdxIOCommand {
 public:
  explicit JtwGUIDCommand(ApiGlobalUniqueId& id) : id_(id) {}

  /// Only an id that is not null is written.
  bool applies() const override { return !id_.isNull(); }
  bool read(IdxIFile& in) override;
  bool write(IdxOFile& out) const override;

 private:
  ApiGlobalUniqueId& id_;
};
