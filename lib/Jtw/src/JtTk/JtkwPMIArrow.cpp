#include "JtkwPMIArrow.h"

JtkwPMIArrow::~JtkwPMIArrow() = default;
