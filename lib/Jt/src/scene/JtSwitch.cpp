#include "JtSwitch.h"

#include "scene/Recording.h"

void JtSwitch::setSelectedChild(int index) {
  change(selected_);
  selected_ = index;
}

JtNode* JtSwitch::representation(bool selected) const {
  const bool shows = selected_ >= 0 && selected_ < numChildren();
  const int shown = shows ? selected_ : 0;
  if (selected || numChildren() < 2) return child(shown);
  return child(shown == 0 ? 1 : 0);
}
