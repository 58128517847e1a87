#include "ExportRun.h"

#include <algorithm>
#include <string_view>

#include "ExportNodes.h"
#include "Jt.h"
#include "JtByteText.h"
#include "JtFormatError.h"
#include "JtPartFolder.h"
#include "LostBreps.h"
#include "PartBreps.h"

JtkExportRun::JtkExportRun(JtkCADExporter& exporter, JtkHierarchy& root)
    : exporter_(exporter),
      root_(root),
      rootFile_(targetOf(root)),
      record_({.version = exporter.version_,
               .encoding = exporter.encoding_,
               .isExact = exporter.geometry_ == JtkCADExporter::EXACT_GEOMETRY,
               .dryRun = exporter.dryRun_,
               .validation = exporter.validation_},
              root) {
  parts_ = exporter.partFiles_ ? jtk::makePartFiles(record_, rootFile_)
                               : jtk::makePartSpool(record_, rootFile_);
}

/// The file of the root. It may lie in one folder inside the output folder, never elsewhere.
jt::Ref<JtFSStorageLocation> JtkExportRun::targetOf(const JtkHierarchy& root) const {
  std::string folder = jt::bytesOfText(exporter_.folder_);
  std::ranges::replace(folder, '\\', '/');
  if (folder.empty()) folder = "./";
  if (folder.back() != '/') folder += '/';
  std::string name = jt::bytesOfText(root.fileName());
  std::ranges::replace(name, '\\', '/');
  if (name.empty()) {
    name = jt::safeFileName(root.name());
    if (!name.ends_with(".jt")) name += ".jt";
  }
  const std::size_t slash = name.find('/');
  const std::string inner = slash == std::string::npos ? "" : name.substr(0, slash);
  const std::string file = name.substr(slash == std::string::npos ? 0 : slash + 1);
  const auto isBad = [](const std::string& part) {
    return part.empty() || part == "." || part == ".." ||
           part.find_first_of(std::string_view("/:\0", 3)) != std::string::npos;
  };
  if (isBad(file) || (slash != std::string::npos && isBad(inner)))
    throw JtFormatError("bad_file_name", "\"" + name + "\" is no name for a file in " + folder);
  if (!inner.empty() && !exporter_.dryRun_) jt::makeFolder(folder + inner);
  return jt::make<JtFSStorageLocation>(
      jt::textOfBytes(inner.empty() ? folder : folder + inner + "/"), jt::textOfBytes(file));
}

jtk::ExportReport JtkExportRun::run() {
  const auto top = record_.settings().newPartition();
  const JtString& name = root_.name().isEmpty() ? root_.fileName() : root_.name();
  top->addProperty(jt::make<JtStringPropAtom>(JtString(Jt::jtPropName)).get(),
                   jt::make<JtStringPropAtom>(name).get(), true);
  open_.push_back({&root_, top.get(), nullptr});
  while (!open_.empty()) {
    const Item item = open_.back();
    open_.pop_back();
    write(item);
  }
  parts_->flush();
  top->growBounds();
  // All that the report needs is allocated before the file is replaced.
  jtk::ExportReport& report = record_.report();
  jtk::ExportedFile& file = report.files.emplace_back();
  file.file = jt::bytesOfText(rootFile_->displayName());
  file.parts = parts_->partsInRootFile(report.parts);
  jt::Diagnostic incomplete{"report_incomplete",
                            "the export is done, but there is no memory for all of its report"};
  try {
    report.saved = top->save(rootFile_.get(), record_.settings().saveOptions());
  } catch (const JtFormatError& error) {
    record_.sources().isFinal(error);  // a source may have values that are copied only now
    throw;
  }
  record_.commitImages();
  parts_->commit();
  if (!exporter_.dryRun_) file.bytes = report.saved.bytes;
  completeReport(std::move(incomplete));
  return std::move(report);
}

/// The export is done: nothing may make a failure of it. `incomplete` is added where there is no
/// memory for all that is left out and all warnings.
void JtkExportRun::completeReport(jt::Diagnostic incomplete) noexcept {
  std::vector<jt::Diagnostic>& all = record_.report().saved.warnings;
  try {
    const auto dropped = jtk::droppedSegments(record_.report().saved);
    for (const auto& [node, nodeName] : solidNodes_) {
      std::vector<std::string> reasons;
      jtk::addLostBreps(*node, dropped, reasons);
      for (const auto& reason : reasons)
        record_.leaveOut(nullptr, nodeName, "exact geometry", reason);
    }
    std::ranges::copy(record_.warnings(), std::back_inserter(all));
  } catch (const std::bad_alloc&) {
    if (all.size() < all.capacity()) all.push_back(std::move(incomplete));
  }
}

/// Puts a node below another one: a shared one as an instance.
void JtkExportRun::place(const Item& item, JtNode& node) const {
  if (item.instance) {
    item.instance->setChild(&node);
    return;
  }
  if (!record_.places().isShared(*item.from)) {
    item.group->addChild(&node);
    return;
  }
  const auto instance = jt::make<JtInstance>();
  instance->setChild(&node);
  item.group->addChild(instance.get());
}

void JtkExportRun::write(const Item& item) {
  const auto known = made_.find(item.from);
  if (known != made_.end()) {
    place(item, *known->second);
    return;
  }
  const jt::Ref<JtNode> node = nodeOf(*item.from);
  if (record_.places().isShared(*item.from)) made_[item.from] = node;
  place(item, *node);
  const auto below = item.from->nodesBelow();
  for (std::size_t i = below.size(); i-- > 0;)
    open_.push_back({below[i], jt::as<JtGroup>(node.get()), jt::as<JtInstance>(node.get())});
}

jt::Ref<JtNode> JtkExportRun::nodeOf(JtkHierarchy& from) {
  if (from.isOfType(JtkEntity::PART)) return partNode(static_cast<JtkPart&>(from));
  jt::Ref<JtNode> node;
  if (from.isOfType(JtkEntity::INSTANCE))
    node = jt::make<JtInstance>();
  else
    node = jt::make<VisMetaDataNode>();
  count(from);
  jtk::writeValues(from, *node);
  if (!record_.settings().isExact)
    jtk::removeBreps(*node);
  else if (jtk::hasBreps(*node))
    solidNodes_.emplace_back(node, from.name());
  record_.sources().noteFiles(*node);
  jtk::writeAttributes(from, *node);
  record_.bringTextures(*node, nullptr, from.name(), *rootFile_);
  return node;
}

void JtkExportRun::count(JtkHierarchy& from) {
  if (from.isOfType(JtkEntity::INSTANCE)) return;
  record_.report().annotations +=
      static_cast<std::uint64_t>(static_cast<JtkUnitHierarchy&>(from).numChildren());
}

// --- Parts

jt::Ref<JtNode> JtkExportRun::partNode(JtkPart& part) {
  const auto call = [&](JtkCADExporter::PartCallback callback) {
    return !callback || callback(&part, &exporter_) == JtkCADExporter::kGoOn;
  };
  if (!call(exporter_.before_)) throw JtFormatError("stopped", "the export was stopped at a part");
  jt::Ref<JtNode> node;
  try {
    count(part);
    node = parts_->write(part);
  } catch (...) {
    call(exporter_.after_);  // whatever it says: the export has failed already
    throw;
  }
  if (!call(exporter_.after_)) throw JtFormatError("stopped", "the export was stopped at a part");
  forgetUnused(part.geometrySource());
  part.setGeometrySource(nullptr);
  ++partsDone_;
  showProgress();
  return node;
}

/// A source that nobody else holds cannot come again: nothing is kept for it.
void JtkExportRun::forgetUnused(const JtNode* source) {
  jtk::ExportSources& sources = record_.sources();
  if (!source || !sources.isUnused(source)) return;
  record_.forget(source);
  parts_->forget(source);
  sources.letGo(source);
}

void JtkExportRun::showProgress() {
  if (exporter_.progress_)
    exporter_.progress_({partsDone_, record_.report().parts, record_.bytes()});
}
