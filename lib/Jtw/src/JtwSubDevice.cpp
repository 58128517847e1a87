#include "JtwSubDevice.h"

JtwSubDevice::~JtwSubDevice() = default;
