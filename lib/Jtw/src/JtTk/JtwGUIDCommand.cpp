#include "JtTk/JtwGUIDCommand.h"

#include <utility>

#include "IdxIFile.h"
#include "IdxOFile.h"

bool JtwGUIDCommand::read(IdxIFile& in) {
  RWClassicCString text;
  in >> text;
  if (in.good()) id_ = ApiGlobalUniqueId(std::move(text));
  return in.good();
}

bool JtwGUIDCommand::write(IdxOFile& out) const {
  out << id_.getAsString();
  return out.good();
}
