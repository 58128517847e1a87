#pragma once

#include "JtPartition.h"

namespace jt::storage {

/// Opens a file alone, without loading its shapes ahead. Throws JtFormatError.
Ref<JtPartition> openWithoutShapes(JtStorageLocation& place);

}  // namespace jt::storage
