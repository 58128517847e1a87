#include "JtkEntityFactory.h"

#include <atomic>
#include <utility>

#include "JtkAssembly.h"
#include "JtkCADExporter.h"
#include "JtkInstance.h"
#include "JtkMaterial.h"
#include "JtkPMIEntity.h"
#include "JtkPart.h"
#include "JtkTransform.h"
#include "PMIEntities.h"
#include "PMIKinds.h"

namespace jtk {
namespace {

std::atomic<unsigned> starts{0};

template <class... Args>
jt::Ref<JtkPMIEntity> construct(JtkEntity::TypeID type, Args&&... args) {
  const auto as = [&]<class Entity>() {
    return jt::Ref<JtkPMIEntity>(new Entity(type, std::forward<Args>(args)...));
  };
  switch (type) {
    case JtkEntity::PMI_NOTE:
      return as.template operator()<JtkPMINote>();
    case JtkEntity::PMI_SPOT_WELD:
      return as.template operator()<JtkPMISpotWeld>();
    case JtkEntity::PMI_LINE_WELD:
      return as.template operator()<JtkPMILineWeld>();
    case JtkEntity::PMI_MEASUREMENT_POINT:
      return as.template operator()<JtkPMIMeasurementPoint>();
    case JtkEntity::PMI_LOCATOR:
      return as.template operator()<JtkPMILocator>();
    case JtkEntity::PMI_COORDINATE_SYSTEM:
      return as.template operator()<JtkPMICoordinateSystem>();
    default:
      return as.template operator()<JtkPMIPlainEntity>();
  }
}

}  // namespace

jt::Ref<JtkPMIEntity> makeEntity(JtkEntity::TypeID type, const PMIDataManager& manager,
                                 int position) {
  return construct(type, manager, position);
}

jt::Ref<JtkPMIEntity> makeEntity(JtkEntity::TypeID type, jt::PMIGenericEntity made) {
  return construct(type, std::move(made));
}

}  // namespace jtk

int JtkEntityFactory::init(int brepKernel, int environment, const char* path) {
  if (brepKernel != 0 || environment != 0 || path) return 0;
  jtk::starts.fetch_add(1);
  return 1;
}

int JtkEntityFactory::fini() {
  unsigned count = jtk::starts.load();
  while (count > 0)
    if (jtk::starts.compare_exchange_weak(count, count - 1)) return 1;
  return 0;
}

namespace {

/// Fills a new object that nobody holds yet; a failure destroys it.
template <class T, class Fill>
T* filled(T* object, const Fill& fill) {
  try {
    fill(*object);
    return object;
  } catch (...) {
    const jt::Ref<T> unwanted(object);
    throw;
  }
}

}  // namespace

JtkAssembly* JtkEntityFactory::createAssembly(const JtString& name, int /*reserved*/,
                                              int /*hint*/) {
  return filled(new JtkAssembly, [&](JtkAssembly& assembly) { assembly.setName(name); });
}

JtkPart* JtkEntityFactory::createPart(const char* name, int /*reserved*/, int /*hint*/) {
  return filled(new JtkPart, [&](JtkPart& part) { part.setName(JtString(name)); });
}

JtkInstance* JtkEntityFactory::createInstance(const JtString& name, JtkHierarchy* child) {
  return filled(new JtkInstance, [&](JtkInstance& instance) {
    instance.setName(name);
    instance.setChild(child);
  });
}

JtkProperty* JtkEntityFactory::createProperty(const JtString& key, const JtString& value,
                                              int kind) {
  return new JtkProperty(key, jt::make<JtStringPropAtom>(value), kind);
}

JtkProperty* JtkEntityFactory::createProperty(const JtString& key, int value) {
  return new JtkProperty(key, jt::make<JtInt32PropAtom>(value));
}

JtkTransform* JtkEntityFactory::createTransform(const float (&matrix)[4][4]) {
  jt::Matrix4 values;
  for (std::size_t i = 0; i < values.size(); ++i)
    values[i] = static_cast<double>(matrix[i / 4][i % 4]);
  return new JtkTransform(values);
}

JtkMaterial* JtkEntityFactory::createMaterial() { return new JtkMaterial; }

JtkCADExporter* JtkEntityFactory::createCADExporter() { return new JtkCADExporter; }

JtkPMIEntity* JtkEntityFactory::createPMI(JtkEntity::TypeID type, JtkUnitHierarchy* unit) {
  const jtk::PMIKind* kind = jtk::kindOf(type);
  if (!kind || !unit) return nullptr;
  jt::PMIGenericEntity made;
  made.type = kind->code;
  made.parentType = kind->parentCode;
  const auto entity = jtk::makeEntity(type, std::move(made));
  auto* visual = static_cast<JtkPMIVisualEntity*>(entity.get());
  visual->nameKind(JtString(kind->name), JtString(jtk::groupNameOf(kind->parentCode)));
  unit->children_.push_back(entity);
  return entity.get();
}
