#include "IdxObject.h"

IdxIOCommand::~IdxIOCommand() = default;

IdxObject::~IdxObject() = default;

void IdxObject::getDerivedCommands(IdxIOCommands&) {}
