#include "JtkwPMILine.h"

JtkwPMILine::~JtkwPMILine() = default;
