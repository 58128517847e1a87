#include "JtkWire.h"

JtkWire::~JtkWire() = default;
