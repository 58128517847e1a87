#include "JtwPMIAnnotation.h"

JtwPMIAnnotation::~JtwPMIAnnotation() = default;
