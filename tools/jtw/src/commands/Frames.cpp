#include <array>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "ApiSysStringConvertors.h"
#include "Assembly.h"
#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "FrameRecords.h"
#include "InputFile.h"
#include "JtPartition.h"
#include "JtwAttachments.h"
#include "JtwCollection.h"
#include "JtwFrameLists.h"
#include "JtwPMI.h"
#include "JtwPlacements.h"
#include "JtwTree.h"
#include "JtwValueText.h"
#include "NodeView.h"
#include "Session.h"

namespace tool {
namespace {

using jtw::FrameForm;

const char* formName(FrameForm form) { return form == FrameForm::lateLoaded ? "binary" : "text"; }

/// One collection with its list, as it is in the file.
struct FrameList {
  JtwNode* collection = nullptr;
  std::string address;
  FrameForm form = FrameForm::none;
  std::vector<JtFrame> frames;
};

FrameList listOf(const Component& component, std::size_t index) {
  JtwNode& node = component.objects().node(index);
  const std::string address = component.objects().address(index);
  const jtw::StoredFrames stored = jtw::storedFrames(static_cast<JtwCollection&>(node));
  if (stored.form == FrameForm::unreadable) jtw::failUnreadableFrames(component.objects(), node);
  FrameList list{&node, address, stored.form, {}};
  if (stored.list) list.frames.assign(stored.list->frames().begin(), stored.list->frames().end());
  return list;
}

void writeList(JsonWriter& json, const FrameList& list) {
  const ApiProtoKey key = list.collection->key();
  json.member("key", keyNumber(key));
  json.textOrNull("address", list.address);
  json.textOrNull("form", list.form == FrameForm::none ? "" : formName(list.form));
  writeFrameRecords(json, list.frames);
}

std::string frameText(const JtFrame& frame) {
  std::string text = "  " + (frame.key.isNull() ? "-" : std::to_string(frame.key.getAsLong()));
  text += "  " + ApiSysStringConvertors::UnicodeToRWCString(frame.name) + "  at ";
  const auto place = frame.location.getTranslation();
  text += numberText(place.x) + ", " + numberText(place.y) + ", " + numberText(place.z);
  text += "  " + colorText(frame.color);
  if (!frame.colorSet) text += "  hidden";
  if (!frame.secondKey.isNull())
    text += "  attached to " + std::to_string(frame.secondKey.getAsLong());
  return text;
}

void showList(Session& session, const FrameList& list) {
  JtwNode& node = *list.collection;
  std::string line = list.address + "  " + kindName(node) + "  " + nameOf(node) + ": " +
                     counted(list.frames.size(), "frame");
  if (list.form != FrameForm::none) line += std::string(", ") + formName(list.form);
  session.out().line(printable(line));
  for (const JtFrame& frame : list.frames) session.out().line(printable(frameText(frame)));
}

ExitCode showOne(Session& session, const Component& component, std::size_t index) {
  const FrameList list = listOf(component, index);
  if (!session.wantsJson()) {
    showList(session, list);
    return ExitCode::done;
  }
  session.beginResult();
  session.json().member("document", component.document());
  writeList(session.json(), list);
  writeFiles(session.json(), component.partFiles());
  session.endResult();
  return ExitCode::done;
}

ExitCode showAll(Session& session, const Component& component) {
  std::vector<FrameList> lists;
  for (std::size_t i = 0; i < component.objects().entries().size(); ++i) {
    if (!component.objects().entries()[i].node->isCollection()) continue;
    FrameList list = listOf(component, i);
    if (list.form != FrameForm::none) lists.push_back(std::move(list));
  }
  if (!session.wantsJson()) {
    for (const FrameList& list : lists) showList(session, list);
    return ExitCode::done;
  }
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("document", component.document());
  json.key("lists");
  json.beginArray();
  for (const FrameList& list : lists) {
    json.beginObject();
    writeList(json, list);
    json.end();
  }
  json.end();
  writeFiles(json, component.partFiles());
  session.endResult();
  return ExitCode::done;
}

// --- Replacing a list

/// Gives a key to every frame without one: free ones that no other record names.
void completeKeys(const Component& component, std::vector<JtFrame>& frames) {
  ApiProtoKey next = jtw::nextFreeKey(component.root());
  for (const JtFrame& frame : frames)
    if (frame.key >= next) {
      next = frame.key;
      ++next;
    }
  for (JtFrame& frame : frames) {
    if (!frame.key.isNull()) continue;
    frame.key = next;
    ++next;
  }
}

/// An attachment leads to another of these frames, or to an object that is none of the old ones.
void checkAttachments(const Component& component, const JtwNode& collection,
                      const std::vector<JtFrame>& frames) {
  std::unordered_set<long> keys;
  for (const JtFrame& frame : frames) keys.insert(frame.key.getAsLong());
  for (const JtFrame& frame : frames) {
    const ApiProtoKey& parent = frame.secondKey;
    if (parent.isNull()) continue;
    const std::string text = "frame " + std::to_string(frame.key.getAsLong());
    JtwNode* found = nullptr;
    component.root().getNodeByKey(parent, found);
    const bool isOld = found && found->type() == JtwNode::JT_FRAME_NODE &&
                       static_cast<JtwPMI*>(found)->collection() == &collection;
    if (!keys.contains(parent.getAsLong()) && (!found || isOld))
      failRefused(component.document(), "unknown_key",
                  text + " is attached to object " + std::to_string(parent.getAsLong()) +
                      ", which the component does not have");
  }
}

/// Attachments of the new frames, followed through them and through what is there, end somewhere.
void checkCycles(const Component& component, const std::vector<JtFrame>& frames) {
  std::unordered_map<long, ApiProtoKey> changed;
  for (const JtFrame& frame : frames) changed[frame.key.getAsLong()] = frame.secondKey;
  jtw::Attachments attachments(component.objects(), std::move(changed));
  for (const JtFrame& frame : frames)
    attachments.check(frame.key, "frame " + std::to_string(frame.key.getAsLong()));
}

/// The keys of the frames that there are now and not among the new ones.
std::unordered_set<long> keysThatGo(JtwCollection& collection, const std::vector<JtFrame>& frames) {
  std::unordered_set<long> keys;
  for (JtwPMI* pmi : collection.PMIs())
    if (pmi->type() == JtwNode::JT_FRAME_NODE) keys.insert(pmi->key().getAsLong());
  for (const JtFrame& frame : frames) keys.erase(frame.key.getAsLong());
  return keys;
}

ExitCode replaceList(Session& session, Component& component, const jtw::ObjectAddress& name,
                     std::vector<JtFrame> frames) {
  auto& collection = static_cast<JtwCollection&>(component.objects().collection(name));
  const std::size_t index = component.objects().indexOf(collection);
  const std::uint64_t places = component.objects().placeCount(index);
  completeKeys(component, frames);
  checkAttachments(component, collection, frames);
  checkCycles(component, frames);
  const auto form = session.arguments().has("binary") ? FrameForm::lateLoaded : FrameForm::text;
  const std::unordered_set<long> gone = keysThatGo(collection, frames);
  if (jtw::storedFrames(collection).form == FrameForm::unreadable)
    session.warn(component.document() + ": the frame list of object " +
                 component.objects().address(index) +
                 " could not be read and is replaced: " + jt::lastError());
  if (!jtw::replaceFrames(collection, frames, form))
    failRefused(component.document(), "key_in_use",
                "every frame needs a key of its own, from 1 on, that no other object has");
  component.objects().changed();
  const std::vector<long> detached = jtw::endAttachmentsTo(component.objects(), gone);
  return saveAndReport(
      session, component, "object " + name.text() + " has " + counted(frames.size(), "frame"),
      [&](JsonWriter& json) {
        writeList(json, listOf(component, component.find(name)));
        json.numbers("detached", detached);
      },
      places);
}

// --- One frame, seen from another

std::string vectorText(const RTVec3D& vector, double noise) {
  return shortText(vector.x, noise) + ", " + shortText(vector.y, noise) + ", " +
         shortText(vector.z, noise);
}

void showPlacement(Session& session, const RTTran3D& placement, const std::string& unit) {
  constexpr double kSingle = 1e-7;
  constexpr double kAngle = 1e-5;
  Output& out = session.out();
  const RTVec3D move = placement.getTranslation();
  const double noise = kSingle * move.length();
  out.line("translate  " + vectorText(move, noise) + "  " + unit);
  const auto rotation = jtw::rotationOf(placement);
  out.line("rotate     " + (rotation ? vectorText(*rotation, kAngle) + "  degrees about x, y, z"
                                     : std::string("not by a rotation alone")));
  for (std::size_t row = 0; row < 4; ++row) {
    std::string line = row == 0 ? "matrix    " : "          ";
    for (std::size_t column = 0; column < 4; ++column)
      line += " " + padLeft(shortText(placement(row, column), column < 3 ? kSingle : noise), 13);
    out.line(line);
  }
}

ExitCode showRelation(Session& session, const jtw::ObjectAddress& from,
                      const jtw::ObjectAddress& to) {
  const std::string* unitName = session.arguments().value("unit");
  const jtw::NamedLength unit = jtw::parseLengthUnit("--unit", unitName ? *unitName : "mm");
  const Component component(session, session.argument(0), false);
  const jtw::Objects& objects = component.objects();
  const std::size_t fromIndex = objects.find(from);
  const std::size_t toIndex = objects.find(to);
  RTTran3D placement = jtw::placementFrom(objects, fromIndex, toIndex);
  placement.setTranslation(placement.getTranslation() * (1.0 / unit.millimetres));
  if (!session.wantsJson()) {
    showPlacement(session, placement, unit.name);
    return ExitCode::done;
  }
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("document", component.document());
  json.textOrNull("from", objects.address(fromIndex));
  json.textOrNull("to", objects.address(toIndex));
  json.numbers("matrix", placement.values());
  json.member("unit", unit.name);
  const auto rotation = jtw::rotationOf(placement);
  json.numbers("translate", std::array{placement(0, 3), placement(1, 3), placement(2, 3)});
  if (rotation)
    json.numbers("rotate", std::array{rotation->x, rotation->y, rotation->z});
  else
    json.nullMember("rotate");
  writeFiles(json, component.partFiles());
  session.endResult();
  return ExitCode::done;
}

}  // namespace

ExitCode runFrames(Session& session) {
  const Arguments& arguments = session.arguments();
  const std::string* from = arguments.value("from");
  const std::string* to = arguments.value("to");
  if (from && to) {
    if (arguments.positional().size() > 1 || arguments.has("set") || arguments.has("binary") ||
        arguments.has("dry-run"))
      failUsage("--from and --to go with neither a KEY nor --set");
    return showRelation(session, jtw::ObjectAddress(*from), jtw::ObjectAddress(*to));
  }
  if (from || to || arguments.has("unit"))
    failUsage("--from, --to and --unit go together: where one object lies, seen from another");
  const std::string* file = arguments.value("set");
  std::optional<jtw::ObjectAddress> name;
  if (arguments.positional().size() > 1) name.emplace(session.argument(1));
  if (file && !name) failUsage("--set needs the key of the object whose frames they are");
  if (!file && (arguments.has("binary") || arguments.has("dry-run")))
    failUsage("--binary and --dry-run go with --set");

  std::vector<JtFrame> frames;
  if (file) {
    const std::vector<std::byte> bytes = readBytes(*file);
    frames = readFrameRecords({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, *file);
  }
  Component component(session, session.argument(0), file && !arguments.has("dry-run"));
  if (file) return replaceList(session, component, *name, std::move(frames));
  if (!name) return showAll(session, component);
  const std::size_t index = component.find(*name);
  JtwNode& node = component.objects().node(index);
  if (!node.isCollection())
    failRefused(
        component.document(), "not_a_collection",
        "object " + name->text() + " cannot hold frames: it is of the kind " + kindName(node));
  return showOne(session, component, index);
}

}  // namespace tool
