#include "JtkwPMILineAttributes.h"

JtkwPMILineAttributes::~JtkwPMILineAttributes() = default;
