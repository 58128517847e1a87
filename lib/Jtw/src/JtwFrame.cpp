#include "JtwFrame.h"

#include "JtFrame.h"
#include "JtwCollection.h"

JtwFrame::JtwFrame(JtwCollection* collection, const JtFrame& record, JtwRoot* root)
    : JtwPMI(collection, root) {
  setName(record.name);
  setDisplayState(record.colorSet);
  takeStoredKey(record.key);
  setAttributes(record.text);
  setAttachmentParent(record.secondKey, static_cast<AttachmentType>(record.number));
  setGlobalUniqueId(record.globalUniqueId);
  setRelLoc(record.location);
  setColor(record.color, false, false);
  setPreserved(record.preserved);
}

JtwFrame::~JtwFrame() = default;

void JtwFrame::convertToJtFrame(JtFrame& record) {
  record.name = name();
  record.colorSet = displayState();
  record.key = key();
  record.text = attributes();
  record.globalUniqueId = globalUniqueId();
  record.location = relLoc_;
  record.color = color_;
  AttachmentType type = ATTACHMENT_DEFAULT;
  getAttachmentParent(record.secondKey, type);
  record.number = type;
}
