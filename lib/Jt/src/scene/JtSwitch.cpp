#include "JtSwitch.h"

void JtSwitch::setSelectedChild(int index) {
  selected_ = index;
  touch();
}

JtNode* JtSwitch::representation(bool selected) const {
  const bool shows = selected_ >= 0 && selected_ < numChildren();
  const int shown = shows ? selected_ : 0;
  if (selected || numChildren() < 2) return child(shown);
  return child(shown == 0 ? 1 : 0);
}
