#include "EditResult.h"

#include "Attachments.h"
#include "Component.h"
#include "JtwCollection.h"
#include "JtwFrameLists.h"
#include "JtwPMI.h"
#include "NodeView.h"
#include "SaveResult.h"
#include "Session.h"

namespace tool {

void failUnreadableFrames(const Component& component, JtwNode& collection) {
  throw Failure(
      ExitCode::input, "bad_frames",
      "the frame list of object " + objectText(collection) + " cannot be read: " + jt::lastError(),
      {.file = component.document()});
}

void storeFrames(const Component& component, JtwCollection* collection) {
  if (!collection || jtw::storeFramesInTheirForm(*collection)) return;
  if (jtw::storedFrames(*collection).form == jtw::FrameForm::unreadable)
    failUnreadableFrames(component, *collection);
  failRefused(component.document(), "not_supported",
              "the frames of object " + objectText(*collection) +
                  " cannot be stored: it is not part of this file");
}

std::vector<long> endAttachmentsTo(const Component& component,
                                   const std::unordered_set<long>& gone) {
  std::vector<long> detached;
  for (const jtw::TreeEntry& entry : component.entries()) {
    const ApiProtoKey parent = attachmentOf(*entry.node);
    if (parent.isNull() || !gone.contains(parent.getAsLong())) continue;
    entry.node->setAttachmentParent(ApiProtoKey(), ATTACHMENT_DEFAULT);
    if (entry.node->type() == JtwNode::JT_FRAME_NODE)
      storeFrames(component, static_cast<JtwPMI*>(entry.node)->collection());
    detached.push_back(entry.node->key().getAsLong());
  }
  return detached;
}

void writeNodeResult(JsonWriter& json, const Component& component, std::size_t index) {
  const ListedObject object{.node = component.entries()[index].node,
                            .parent = component.listedParent(index),
                            .address = component.address(index)};
  json.key("node");
  json.beginObject();
  writeNodeMembers(json, object);
  json.numbers("absLoc", object.node->absLoc().values());
  json.end();
}

ExitCode saveAndReport(Session& session, Component& component, const std::string& line,
                       const ResultMembers& members, std::uint64_t places) {
  const bool dryRun = session.arguments().has("dry-run");
  const jt::SaveReport report = component.save(dryRun);
  showSaveWarnings(session, report);
  if (!session.wantsJson()) {
    if (!line.empty()) session.out().line(printable(line));
    if (places > 1) session.out().line("changes the component in " + counted(places, "place"));
    showSaved(session, report, dryRun);
    return ExitCode::done;
  }
  session.beginResult();
  session.json().member("document", component.document());
  members(session.json());
  session.json().member("places", places);
  writeSaved(session, report);
  session.endResult();
  return ExitCode::done;
}

}  // namespace tool
