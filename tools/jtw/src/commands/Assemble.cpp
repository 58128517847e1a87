#include <filesystem>
#include <map>
#include <memory>
#include <string_view>

#include "ApiSysStringConvertors.h"
#include "AssemblyPlan.h"
#include "Command.h"
#include "Component.h"
#include "ExportJob.h"
#include "InputFile.h"
#include "JtkEntityFactory.h"
#include "JtkInstance.h"
#include "MeshInput.h"
#include "ScratchFolder.h"
#include "Session.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

/// The sources of a plan, each read once.
class Sources {
 public:
  Sources(Session& session, fs::path folder) : session_(session), folder_(std::move(folder)) {}

  /// The hierarchy of a source. Throws Failure.
  JtkHierarchy* get(const std::string& name, const ExportWishes& wishes) {
    const std::string path = (folder_ / name).lexically_normal().string();
    auto& source = sources_[path];
    if (!source) {
      source = std::make_unique<ExportSource>();
      if (!DocumentName(path).isJt && !fs::exists(path))
        throw Failure(ExitCode::input, "not_found", "there is no such file", {.file = path});
      if (!DocumentName(path).isJt) wishes.requireOther(path);
      const std::string file = meshes_.jtFileFor(path, fs::path(path).stem().string());
      readSource(session_, file, wishes, *source);
      excludePMI(*source->root.jtkRoot(), wishes.excludedPMI);
      for (const jt::PartFile& part : source->opened.parts()) parts_.push_back(part);
    }
    return source->root.jtkRoot();
  }
  const std::vector<jt::PartFile>& parts() const noexcept { return parts_; }

 private:
  Session& session_;
  fs::path folder_;
  MeshInputs meshes_;
  std::map<std::string, std::unique_ptr<ExportSource>> sources_;
  std::vector<jt::PartFile> parts_;
};

RWClassicWString wide(const std::string& text) {
  return ApiSysStringConvertors::RWCStringToUnicode(text);
}

ApiKey keyOf(std::size_t index) { return ApiKey(static_cast<long>(index) + 2); }
constexpr long kRootKey = 1;

void addItem(JtkwExportRoot& root, const AssemblyPlan::Item& item, std::size_t index,
             Sources& sources, const ExportWishes& wishes) {
  const ApiKey key = keyOf(index);
  const ApiKey parent = item.parent ? keyOf(*item.parent) : ApiKey(kRootKey);
  if (item.source.empty()) {
    root.createAssemblyNode(key, parent, wide(item.name), item.place);
  } else {
    JtkHierarchy* content = nullptr;
    try {
      content = sources.get(item.source, wishes);
    } catch (const Failure& failure) {
      throw Failure(failure.exit(), failure.code(),
                    "items[" + std::to_string(index) + "].source: " + failure.what(),
                    failure.where());
    }
    JtkInstance* instance = JtkEntityFactory::createInstance(JtString(item.name), content);
    instance->ref();
    root.addNodeToMapByKey(key, instance);
    root.attachToHierarchy(parent, instance);
    root.setRelLoc(key, item.place);
  }
  if (item.color) root.setColor(key, *item.color, true, true);
  if (item.layer) root.setLayer(key, *item.layer);
  if (item.unitRatio) root.setMeasurementUnitRatio(key, *item.unitRatio);
}

}  // namespace

ExitCode runAssemble(Session& session) {
  const ExportWishes wishes(session);
  const std::string& file = session.argument(0);
  if (file != "-") wishes.requireOther(file);
  const std::vector<std::byte> bytes = readBytes(file);
  const AssemblyPlan plan =
      readPlan(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()), file);

  const Library library(session);
  const ExportImporter importer;
  Sources sources(session, file == "-" ? fs::path() : fs::path(file).parent_path());
  JtkwExportRoot root;
  // A root that is exported with part files loses the ".jt" of its name.
  const bool isPerPart = wishes.data.targetJtFormat() == ApiApproxJtExportData::PART_FILES;
  const std::string name = plan.name.empty() ? fs::path(wishes.output).stem().string() : plan.name;
  root.initializeJtkRoot(ApiKey(kRootKey), wide(name + (isPerPart ? ".jt" : "")), wishes.output);
  root.setMeasurementUnitRatio(ApiKey(kRootKey), plan.unitRatio.value_or(1));
  if (wishes.layer) root.setLayer(ApiKey(kRootKey), *wishes.layer);
  for (std::size_t i = 0; i < plan.items.size(); ++i)
    addItem(root, plan.items[i], i, sources, wishes);
  return writeExport(session, root, wishes, "plan", sources.parts());
}

}  // namespace tool
