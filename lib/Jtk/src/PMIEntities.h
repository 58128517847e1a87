#pragma once

#include "JtkPMIEntity.h"

namespace jtk {

/// An entity of the class that belongs to the type, over one of a manager.
jt::Ref<JtkPMIEntity> makeEntity(JtkEntity::TypeID type, const PMIDataManager& manager,
                                 int position);
/// A new one that is in no manager.
jt::Ref<JtkPMIEntity> makeEntity(JtkEntity::TypeID type, jt::PMIGenericEntity made);

}  // namespace jtk
