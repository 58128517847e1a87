#include "JtkwPMILineAttributes.h"

#include "JtkwPMIArrow.h"
#include "JtkwPMILine.h"

JtkwPMILineAttributes::~JtkwPMILineAttributes() = default;
JtkwPMILine::~JtkwPMILine() = default;
JtkwPMIArrow::~JtkwPMIArrow() = default;
