#include "JtFactory.h"

#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#include "JtBase.h"

namespace {

struct Registry {
  std::shared_mutex mutex;
  std::unordered_map<JtGuid, const JtType*> types;
};

/// Made on first use, as types are registered while the program's static objects are made, and
/// never destroyed, as objects may still be looked up while they are destroyed.
Registry& registry() {
  static Registry* const theOne = new Registry;
  return *theOne;
}

}  // namespace

void JtFactory::addType(const JtType* type) {
  if (!type || type->guid().isNull()) return;
  const std::unique_lock lock(registry().mutex);
  registry().types[type->guid()] = type;
}

const JtType* JtFactory::findType(const JtGuid& guid) {
  const std::shared_lock lock(registry().mutex);
  const auto found = registry().types.find(guid);
  return found == registry().types.end() ? nullptr : found->second;
}

jt::Ref<JtBase> JtFactory::create(const JtGuid& guid) {
  const JtType* type = findType(guid);
  return type ? jt::Ref<JtBase>(type->create()) : jt::Ref<JtBase>();
}
