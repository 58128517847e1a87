#include "JtwLink.h"

JtwLink::~JtwLink() = default;
