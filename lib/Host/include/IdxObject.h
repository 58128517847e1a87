#pragma once

#include <memory>

#include "HostExport.h"
#include "RWClassic.h"

class IdxIFile;
class IdxOFile;

/// One step of input and output that a class adds to what an IdxObject stores itself. Whoever owns
/// the format decides whether and where the steps run.
class HOST_API IdxIOCommand {
 public:
  IdxIOCommand() = default;
  IdxIOCommand(const IdxIOCommand&) = delete;
  IdxIOCommand& operator=(const IdxIOCommand&) = delete;
  virtual ~IdxIOCommand();

  /// Whether there is anything to write.
  virtual bool applies() const = 0;
  /// Both answer the stream's good() afterwards.
  virtual bool read(IdxIFile& in) = 0;
  virtual bool write(IdxOFile& out) const = 0;
};

using IdxIOCommands = RWClassicTValOrderedVector<std::unique_ptr<IdxIOCommand>>;

/// An object that can be put into an indexed text stream.
class HOST_API IdxObject {
 public:
  virtual ~IdxObject();

  /// Writes the object's fields; restore() reads them in the same order.
  virtual void save(IdxOFile& out) const = 0;
  /// Reads the fields. When the stream is not good afterwards the object's value means nothing.
  virtual void restore(IdxIFile& in) = 0;

  /// Appends the further steps of derived classes. They refer to this object and must not outlive
  /// it.
  virtual void getDerivedCommands(IdxIOCommands& commands);

 protected:
  IdxObject() = default;
  IdxObject(const IdxObject&) = default;
  IdxObject& operator=(const IdxObject&) = default;
};
