#pragma once

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "ApiWmPMIAnnotationData.h"
#include "JtPMI.h"
#include "JtkEntity.h"
#include "JtwPMI.h"

class JtwCollection;
class JtwNode;
class JtwRoot;

// PMI entities of a file as objects of the host.

namespace jtw {

/// How the PMI of a JT node lie in what the host sees.
struct PMISpace {
  float unitRatio = 1;  ///< millimetres per unit of length of the node
  RTTran3D reference;   ///< where the node lies in what locations of its PMI are relative to
};

/// The space of the PMI that `carrier` has in its JT node and that hang on `collection`.
PMISpace pmiSpace(JtwNode& carrier, JtwCollection& collection);

/// An entity as the host has it.
struct PMIState {
  JtwNwObjData record;
  RTTran3D relLoc;
  ApiWmPMIAnnotationData data;
};
/// What a generic entity holds. Numbers that are not finite count as 0.
PMIState readAnnotation(const PMIDataManager& pmi, const jt::PMIGenericEntity& entity,
                        const PMISpace& space);
/// The location of a coordinate system: x, y and z of length 1; the identity without a frame.
RTTran3D readCoordinateSystem(const jt::PMIGenericEntity& entity, const PMISpace& space);

/// True while the file has exactly what the host has of a PMI with an id.
/// @param stored with generic entities alone, see PMIDataManager::generic()
bool isAsStored(JtwPMI& pmi, const PMIDataManager& stored, const PMISpace& space);
/// Gives the annotations that a JT node has the values that it has of them, which are in single
/// precision.
void takeStoredPMIs(JtwNode& carrier);
/// True for entities that are the host's to remove when no PMI has their index as id.
bool isRemovable(const jt::PMIGenericEntity& entity);
/// The attributes, names and values, of an entity of a JT node that mean nothing to the host.
std::vector<std::pair<JtString, JtString>> attributesToCarry(const JtNode& node, int id);

/// Value of an attribute, or null.
const JtString* attributeOf(const jt::PMIGenericEntity& entity, const char* name);
/// The prototype key that an entity names, or the null key.
ApiProtoKey keyOf(const jt::PMIGenericEntity& entity);

/// Makes one annotation for each annotation entity in the PMI of `carrier` that has none yet, and
/// appends it to the PMI of `collection`; finds the coordinate systems of its frames. Entities are
/// read in stored order. False when the PMI cannot be read: the reason is in jt::lastError(), and
/// they are not written either then.
bool gatherPMIs(JtwNode& carrier, JtwCollection& collection);

/// Takes the prototype keys and unique ids away from the entities of a copied node. PMI that cannot
/// be read or changed stay as they are.
void stripPMIIdentity(JtNode& copy);

/// Lets the annotations of `part` follow its entities, which were appended to those of `parent`
/// behind the first `offset`, and gathers those that nobody had gathered.
void followMovedPMIs(const JtNode& part, JtwCollection& parent, std::size_t offset);

}  // namespace jtw
