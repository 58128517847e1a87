#include "JtkRefCounted.h"

JtkRefCounted::~JtkRefCounted() = default;
