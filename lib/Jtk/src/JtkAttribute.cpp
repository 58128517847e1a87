#include "JtkAttribute.h"

JtkAttribute::~JtkAttribute() = default;
