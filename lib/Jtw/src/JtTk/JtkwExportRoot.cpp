#include "JtkwExportRoot.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>
#include <vector>

#include "ApiClock.h"
#include "ApiErrStream.h"
#include "ApiGraMaterial.h"
#include "ApiSysFilePath.h"
#include "ApiSysStringConvertors.h"
#include "DbDatabaseVersion.h"
#include "JtByteText.h"
#include "JtFormatError.h"
#include "JtPartition.h"
#include "JtkAssembly.h"
#include "JtkEntityFactory.h"
#include "JtkMaterial.h"
#include "JtkPart.h"
#include "JtkTransform.h"
#include "JtkUnits.h"
#include "JtkXTEntityFactory.h"
#include "JtkwEntityCreationData.h"
#include "JtkwExportWriter.h"
#include "JtkwNodeAddresses.h"
#include "JtkwPMIWriter.h"
#include "JtwManager.h"
#include "JtwPropertyNames.h"
#include "JtwSharedAtoms.h"
#include "JtwUtils.h"

namespace {

constexpr std::size_t kBuckets = 64;
constexpr char kSeparator = '\\';

RWClassicCString narrow(const RWClassicWString& text) {
  return ApiSysStringConvertors::isAscii(text) ? ApiSysStringConvertors::toAscii(text)
                                               : ApiSysStringConvertors::UnicodeToRWCString(text);
}

/// The code of the unit of a ratio. That of kilometres is the code of metres.
int unitCodeOf(float ratio) {
  static constexpr std::array<std::pair<float, int>, 10> kCodes{{{0.1F, jtk::MICROMETERS},
                                                                 {1.0F, jtk::MILLIMETERS},
                                                                 {10.0F, jtk::CENTIMETERS},
                                                                 {100.0F, jtk::DECIMETERS},
                                                                 {1000.0F, jtk::METERS},
                                                                 {1000000.0F, jtk::METERS},
                                                                 {25.4F, jtk::INCHES},
                                                                 {304.8F, jtk::FEET},
                                                                 {914.4F, jtk::YARDS},
                                                                 {1609344.0F, jtk::MILES}}};
  for (const auto& [known, code] : kCodes)
    if (ratio == known) return code;
  return jtk::NO_UNIT;
}

jt::Rgba rgba(const ApiGraColor& color) {
  jt::Rgba result{};
  color.getRGB(result[0], result[1], result[2]);
  result[3] = color.getAlpha();
  return result;
}

int versionOption(std::uint32_t version) {
  switch (version) {
    case ApiGraJtVersionData::JT_VERSION_8_2:
      return JtkCADExporter::VERSION_8_2;
    case ApiGraJtVersionData::JT_VERSION_9_5:
      return JtkCADExporter::VERSION_9_5;
    case ApiGraJtVersionData::JT_VERSION_10_2:
      return JtkCADExporter::VERSION_10_2;
    default:
      return JtkCADExporter::VERSION_10_0;
  }
}

/// The export is done: what there is no memory to report is in the report anyway.
void reportLeftOut(const jtk::ExportReport& report) noexcept try {
  for (const jtk::LeftOut& left : report.leftOut) {
    std::string code = "JTEXPORT_" + left.what + "_LEFT_OUT";
    for (char& c : code)
      c = c == ' ' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    apiErr << ApiErrCode(code) << ApiErrPosition(__FILE__, "JtkwExportRoot::write", __LINE__)
           << left.part.stringToMbs() << left.reason << endErr;
  }
} catch (const std::bad_alloc&) {
}

JtkHierarchy* referenced(JtkHierarchy* made) {
  if (made) made->ref();
  return made;
}

}  // namespace

/// What copies of a root share. Addresses that no write has taken end with it.
struct JtkwExportRoot::Tree {
  Tree() = default;
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;
  ~Tree() { clear(); }

  void clear() {
    if (root) jtw::dropNodeAddresses(*root);
    for (const auto& node : loose) jtw::dropNodeAddresses(*node);
    root = nullptr;
    loose.clear();
  }

  jt::Ref<JtkHierarchy> root;
  std::vector<jt::Ref<JtkHierarchy>> loose;
};

JtkwExportRoot::JtkwExportRoot() : tree_(std::make_shared<Tree>()), nodes_(kBuckets) {}
JtkwExportRoot::~JtkwExportRoot() = default;

JtkwExportRoot::JtkwExportRoot(const JtkwExportRoot& other)
    : tree_(other.tree_->root ? other.tree_ : std::make_shared<Tree>()),
      location_(other.location_),
      fileName_(other.fileName_),
      nodes_(other.nodes_),
      options_(other.options_),
      report_(other.report_),
      errorCode_(other.errorCode_) {}

JtkwExportRoot& JtkwExportRoot::operator=(const JtkwExportRoot& other) {
  if (this == &other) return *this;
  JtkwExportRoot copy(other);
  std::swap(tree_, copy.tree_);
  std::swap(location_, copy.location_);
  std::swap(fileName_, copy.fileName_);
  std::swap(nodes_, copy.nodes_);
  std::swap(options_, copy.options_);
  std::swap(report_, copy.report_);
  std::swap(errorCode_, copy.errorCode_);
  return *this;
}

JtkHierarchy* JtkwExportRoot::jtkRoot() const noexcept { return tree_->root.get(); }

void JtkwExportRoot::keepLoose(JtkHierarchy* node) {
  if (node) tree_->loose.push_back(jt::Ref<JtkHierarchy>::adopt(node));
}

// --- Nodes

JtkHierarchy* JtkwExportRoot::createJtkAssembly(const RWClassicWString& name) {
  const JtString text = JtwUtilsGetRWWStringAsJtString(name);
  JtkAssembly* made = JtkEntityFactory::createAssembly(text, 0, 0);
  return referenced(made ? made : JtkEntityFactory::createAssembly(text, 0, -1));
}

JtkHierarchy* JtkwExportRoot::createJtkPart(const RWClassicWString& name) {
  const RWClassicCString text = narrow(name);
  JtkPart* made = JtkEntityFactory::createPart(text.c_str(), 0, 0);
  if (!made) made = JtkEntityFactory::createPart(text.c_str(), 0, -1);
  if (made) made->setSceneGraphName(JtString(text));
  return referenced(made);
}

bool JtkwExportRoot::initializeJtkRoot(const ApiKey& key, const RWClassicWString& name,
                                       const RWClassicCString& fullPath) {
  if (!tree_->root) {
    JtkHierarchy* made = createJtkAssembly(name);
    if (!made) return false;
    tree_->root = jt::Ref<JtkHierarchy>::adopt(made);
  }
  computeLocationAndFileName(fullPath);
  setJtFileNameToRoot(fileName_);
  addNodeToMapByKey(key, tree_->root.get());
  return true;
}

bool JtkwExportRoot::createAssemblyNode(const ApiKey& key, const ApiKey& parentKey,
                                        const RWClassicWString& name, const RTTran3D& relLoc) {
  JtkHierarchy* made = createJtkAssembly(name);
  if (!made) return false;
  addNodeToMapByKey(key, made);
  bool isTaken = false;
  const bool attached = attach(parentKey, made, isTaken);
  if (!isTaken) keepLoose(made);
  setRelLoc(made, relLoc);
  return attached;
}

bool JtkwExportRoot::createEntityNode(const ApiKey& parentKey, const JtkwEntityCreationData& data) {
  JtkHierarchy* made = createJtkPart(data.displayName());
  if (!made) return false;
  if (data.addToMap()) addNodeToMapByKey(data.key(), made);
  JtkRefCounted* entity = made;
  saveJTOnJtkNode(data.node(), entity);
  bool isTaken = false;
  const bool attached = attach(parentKey, made, isTaken);
  if (!isTaken) keepLoose(made);
  setRelLoc(made, data.relLoc());
  if (!data.defaultColor())
    setMaterial(made, data.material(), data.instanceColor(), data.finalState());
  return attached;
}

bool JtkwExportRoot::attachToHierarchy(const ApiKey& parentKey, JtkHierarchy* node) {
  bool isTaken = false;
  return attach(parentKey, node, isTaken);
}

/// @param isTaken whether the caller's reference was taken over
bool JtkwExportRoot::attach(const ApiKey& parentKey, JtkHierarchy* node, bool& isTaken) {
  isTaken = false;
  if (parentKey == ApiKey(0)) {
    if (!tree_->root && node) {
      tree_->root = jt::Ref<JtkHierarchy>::adopt(node);
      isTaken = true;
    }
    return true;
  }
  JtkHierarchy* parent = nullptr;
  if (!node || !getNodeByKey(parentKey, parent) || !parent->isOfType(JtkEntity::ASSEMBLY))
    return false;
  if (static_cast<JtkAssembly*>(parent)->addChild(node) != 1) return false;
  node->unref();
  isTaken = true;
  return true;
}

bool JtkwExportRoot::getNodeByKey(const ApiKey& key, JtkHierarchy*& node) {
  const auto found = nodes_.find(key);
  if (found == nodes_.end() || !found->second) return false;
  node = found->second;
  return true;
}

void JtkwExportRoot::addNodeToMapByKey(const ApiKey& key, JtkHierarchy* node) {
  if (nodes_.size() > nodes_.bucket_count()) nodes_.rehash(nodes_.bucket_count() * 2);
  nodes_[key] = node;
}

// --- What nodes have

void JtkwExportRoot::setColor(const ApiKey& key, const ApiGraColor& color, bool instanceColor,
                              bool finalState) {
  ApiGraMaterial material;
  material.setDiffuse(color);
  JtkHierarchy* node = nullptr;
  getNodeByKey(key, node);
  setMaterial(node, material, instanceColor, finalState);
}

/// Goes by rising index over a list that gets shorter: of several materials every second stays.
void JtkwExportRoot::removeMaterial(JtkHierarchy* node) {
  const int count = node->numAttributes(JtkEntity::MATERIAL);
  for (int i = 0; i < count; ++i) node->removeAttribute(node->attribute(JtkEntity::MATERIAL, i));
}

void JtkwExportRoot::setMaterial(JtkHierarchy* node, const ApiGraMaterial& material,
                                 bool instanceColor, bool finalState) {
  if (!node) return;
  removeMaterial(node);
  const jt::Ref<JtkMaterial> made(JtkEntityFactory::createMaterial());
  if (!made) return;
  made->setAmbientColor(rgba(material.getAmbient()));
  made->setDiffuseColor(rgba(material.getDiffuse()));
  made->setSpecularColor(rgba(material.getSpecular()));
  made->setEmissionColor(rgba(material.getEmission()));
  made->setShininess(material.getShininess());
  if (instanceColor) made->jtMaterial()->setForce(true);
  made->setOverrideVertexColors(true);
  made->setState(finalState ? JtkMaterial::FINAL : JtkMaterial::OPEN);
  node->addAttribute(made.get());
}

void JtkwExportRoot::setRelLoc(const ApiKey& key, const RTTran3D& relLoc) {
  JtkHierarchy* node = nullptr;
  getNodeByKey(key, node);
  setRelLoc(node, relLoc);
}

void JtkwExportRoot::setRelLoc(JtkHierarchy* node, const RTTran3D& relLoc) {
  if (!node || relLoc == RTTran3D::unit) return;
  const RTTran3D rowVectors = relLoc.transposed();
  float values[4][4];
  for (std::size_t row = 0; row < 4; ++row)
    for (std::size_t column = 0; column < 4; ++column)
      values[row][column] = static_cast<float>(rowVectors(row, column));
  node->addAttribute(JtkEntityFactory::createTransform(values));
}

bool JtkwExportRoot::setLayer(const ApiKey& key, int layer) {
  JtkHierarchy* node = nullptr;
  if (!getNodeByKey(key, node)) return false;
  const jt::Ref<JtkProperty> property(JtkEntityFactory::createProperty(
      JtString("Layer"), JtString(std::to_string(layer)), JtkProperty::SYSTEM));
  if (!property) return false;
  property->setFlag(0);
  return node->addProperty(property.get()) == 1;
}

bool JtkwExportRoot::setMeasurementUnitRatio(const ApiKey& key, float ratio) {
  JtkHierarchy* node = nullptr;
  if (!getNodeByKey(key, node)) return false;
  const int code = unitCodeOf(ratio);
  node->setUnits(code);
  JtkXTEntityFactory::setUnits(code);
  return true;
}

void JtkwExportRoot::translateMeasurementUnitsForUnitedNativeJT(JtNode* node) {
  JtPropAtom* value = nullptr;
  if (!node || !node->lookupProperty(jtw::keyAtom(jtw::Key::objType), value, true)) return;
  const auto* type = jt::as<JtInt32PropAtom>(value);
  if (!type || type->value() != 0) return;
  try {
    jtk::convertToMillimeters(*node);
  } catch (const JtFormatError& error) {
    jt::setLastError(error.what());
  }
}

bool JtkwExportRoot::createPMIData(NwObj::Type type, const ApiKey& key, const JtkwPMIData& data) {
  JtkHierarchy* node = nullptr;
  const bool found = getNodeByKey(key, node);
  if (!found || !node->isOfType(JtkEntity::ASSEMBLY)) return found;
  JtkPMIEntity* entity = nullptr;
  return JtkwPMIWriter().writePMI(data, type, static_cast<JtkAssembly*>(node), entity, nullptr);
}

void JtkwExportRoot::saveJTOnJtkNode(JtNode* node, JtkRefCounted*& jtkNode) {
  auto* part = dynamic_cast<JtkPart*>(jtkNode);
  if (node && part) jtw::storeNodeAddress(*part, *node);
}

// --- The document

bool JtkwExportRoot::stamp(const char* key, const RWClassicCString& value) {
  if (!tree_->root) return false;
  return tree_->root->addProperty(
             JtkEntityFactory::createProperty(JtString(key), JtString(value))) == 1;
}

bool JtkwExportRoot::setCadSource() { return stamp(jtw::kCadSource, jtw::kCadSourceValue); }

bool JtkwExportRoot::setTranslationDate() {
  const ApiClockTime now = ApiClock::local();
  const auto text = [](int number) { return std::to_string(number); };
  return stamp(jtw::kTranslationDate, text(now.day) + '/' + text(now.month) + '/' + text(now.year) +
                                          ", " + text(now.hour) + ':' + text(now.minute));
}

bool JtkwExportRoot::setReleaseVersion() {
  ApiDocumentVersionData version;
  DbDatabaseVersion::getVersionData(version);
  return stamp(jtw::kReleaseVersion, version.versionString());
}

void JtkwExportRoot::isRootEmpty(bool& empty) {
  const JtkHierarchy* root = tree_->root.get();
  empty = false;
  if (!root || !root->isOfType(JtkEntity::ASSEMBLY)) return;
  const auto* assembly = static_cast<const JtkAssembly*>(root);
  empty = assembly->numChildNodes() == 0 && assembly->numEntities(JtkEntity::PMI_ENTITY) == 0;
}

void JtkwExportRoot::computeLocationAndFileName(const RWClassicCString& fullPath) {
  if (fullPath.find_first_of("/\\") == RWClassicCString::npos) {
    location_ = {'.', kSeparator};
    fileName_ = fullPath;
    return;
  }
  location_ = ApiSysFilePath(fullPath).hostingDirPath().asString();
  if (location_.empty() || location_.back() != kSeparator) location_ += kSeparator;
  fileName_ = fullPath.substr(std::min(location_.size(), fullPath.size()));
}

void JtkwExportRoot::setJtFileNameToRoot(const RWClassicCString& name) {
  if (tree_->root) tree_->root->setFileName(jt::textOfBytes(name));
}

bool JtkwExportRoot::updateRelativeLocation(ApiSysFileName& newPath) {
  setJtFileNameToRoot((ApiSysFileName(newPath.fileName()) + ApiSysFileName(fileName_)).asString());
  return true;
}

void JtkwExportRoot::prepare(JtkCADExporter& exporter, const ApiApproxJtExportData& exportData) {
  exporter.setPartExportPreCallback(&JtkwExportWriter::partPreCB);
  exporter.setPartExportPostCallback(&JtkwExportWriter::partPostCB);
  exporter.setOutputDirectory(jt::textOfBytes(location_));
  if (exportData.targetJtFormat() == ApiApproxJtExportData::PART_FILES) {
    constexpr std::size_t kExtension = 3;  // ".jt"
    exporter.setOption(JtkCADExporter::PART_FILES);
    const JtString& name = tree_->root->name();
    tree_->root->setName(
        JtString(name.units().substr(0, name.length() - std::min(name.length(), kExtension))));
  } else if (exportData.targetJtFormat() == ApiApproxJtExportData::SINGLE_FILE) {
    exporter.setOption(JtkCADExporter::SINGLE_FILE);
  }
  const std::uint32_t version = exportData.getJtVersion();
  exporter.setOption(
      versionOption(version < ApiApproxJtExportData::NO_VERSION
                        ? version
                        : static_cast<std::uint32_t>(JtwManager::the().getJtVersion())));
  exporter.setOption(exportData.shouldIncludeExactGeom() ? JtkCADExporter::EXACT_GEOMETRY
                                                         : JtkCADExporter::TESSELLATION);
  for (const int option :
       {JtkCADExporter::RESERVED_50, JtkCADExporter::RESERVED_48, JtkCADExporter::RESERVED_46,
        JtkCADExporter::RESERVED_44, JtkCADExporter::RESERVED_36})
    exporter.setOption(option);
  exporter.setDryRun(options_.dryRun);
  exporter.setProgress(options_.progress);
  exporter.setShapeEncoding(options_.shapeEncoding);
  exporter.setValidation(options_.validation);
}

bool JtkwExportRoot::write(const ApiApproxJtExportData& exportData) {
  jt::setLastError({});
  errorCode_ = "refused";
  if (!tree_->root) {
    jt::setLastError("the export has no root: it is empty or was written already");
    return false;
  }
  const JtkwExportWriter::Session session(exportData.shouldIncludeExactGeom());
  if (!session.isFirst()) {
    jt::setLastError("another export is being written");
    return false;
  }
  const jt::Ref<JtkCADExporter> exporter(JtkEntityFactory::createCADExporter());
  if (!exporter) return false;
  prepare(*exporter, exportData);
  const bool isWritten = exporter->exportHierarchy(tree_->root.get()) == 1;
  report_ = exporter->takeReport();
  reportLeftOut(report_);
  errorCode_ = exporter->errorCode();
  nodes_.clear();
  tree_->clear();
  return isWritten;
}
