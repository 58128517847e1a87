#include "JtFrame.h"

#include "IdxIFile.h"
#include "IdxOFile.h"
#include "JtTk/JtwGUIDCommand.h"

void JtFrame::save(IdxOFile& out) const {
  out << key << name << text << location << color << (colorSet ? 1 : 0) << secondKey
      << static_cast<int>(number);
}

void JtFrame::restore(IdxIFile& in) {
  int flag = 0;
  int stored = 0;
  in >> key >> name >> text >> location >> color >> flag >> secondKey >> stored;
  colorSet = flag != 0;
  number = stored;
}

void JtFrame::getDerivedCommands(IdxIOCommands& commands) {
  IdxObject::getDerivedCommands(commands);
  commands.push_back(std::make_unique<JtwGUIDCommand>(globalUniqueId));
}
