#pragma once

#include "JtPMI.h"

namespace jtk {

/// A copy of PMI with lengths in millimetres. Throws JtFormatError when it cannot be changed.
/// @param scale millimetres per unit of `pmi`
jt::Ref<PMIDataManager> scaledPMI(const PMIDataManager& pmi, double scale);

}  // namespace jtk
