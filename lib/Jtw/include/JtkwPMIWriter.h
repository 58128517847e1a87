#pragma once

#include <map>
#include <set>
#include <utility>
#include <vector>

#include "ApiGraphicsPMIAnnotationData.h"
#include "JtRefCounted.h"
#include "JtkPMIEntity.h"
#include "JtwExport.h"
#include "NwObj.h"
#include "RTTran3D.h"
#include "RWClassic.h"

class JtNode;
class JtkPart;
class JtkUnitHierarchy;
class JtkwPMIAnnotationData;
class JtkwPMIAppearanceData;
class JtkwPMIData;
class JtkwPMIDimensionData;
class JtkwPMIFrameData;
class JtkwPMINoteData;
class JtwCollection;
class JtwFrame;
class JtwNode;
class JtwPMI;
class JtwPMIAnnotation;
class JtwRoot;
struct JtwNwObjData;

/// Writes PMI of the host as entities of the toolkit: the PMI nodes of a component into the JT
/// node that carries them, or one record at a time.
class JTW_API JtkwPMIWriter {
 public:
  JtkwPMIWriter();
  JtkwPMIWriter(const JtkwPMIWriter&);
  JtkwPMIWriter& operator=(const JtkwPMIWriter&);
  ~JtkwPMIWriter();

  /// Writes PMI nodes, which are all that the JT node is to have, and gives each the index of its
  /// entity as id. Entities whose node is gone are removed. What the host does not know stays:
  /// entities of other kinds, and everything about an annotation that is as it was read.
  /// @return false, with the reason in jt::lastError() and nothing changed, when the node's PMI
  ///         cannot be read or changed, or has entities that no walk has gathered
  bool execute(const RWClassicTValOrderedVector<JtwPMI*>& pmis, JtNode* node, JtwRoot* root);

  // --- steps of execute()

  /// Records the PMI entities of a part by child index.
  void initJtkPMIMap(JtkPart* part);
  /// The entity recorded under the node's id, which leaves the map; null when there is none.
  JtkPMIEntity* getJtkPMI(JtwPMI* node);
  /// False when an entity cannot be made or is of another type.
  bool writeAnnotationPMI(JtwPMIAnnotation* node, JtkPart* part);
  bool writeCoordinateSystemPMI(JtwFrame* node, JtkPart* part);
  /// Removes the entities that are still in the map and are the host's to remove.
  /// @param kept receives those that stay
  void removeDeletedPMI(JtkPart* part, std::set<JtkPMIEntity*>& kept);
  /// Brings values that depend on the unit up to date in entities that the writer does not fill.
  void handleMeasurementOfNonSupportedPMI(const std::set<JtkPMIEntity*>& entities);
  /// Sets the anchor point of a changed entity, if it has one, to the origin of its frame.
  void handleMeasurementOfNonSupportedProp(JtkPMIEntity* entity);

  // --- appearance

  /// True if the value is set for the annotation or its prototype.
  static bool shouldWriteAppearanceProperty(const ApiGraphicsPMIAnnotationData& data, short flag);
  /// Copies the values that are set.
  static void writeAppearanceProperties(const ApiGraphicsPMIAnnotationData& data,
                                        JtkwPMIAppearanceData& appearance);

  // --- records

  /// Fills an entity from a record; makes it first when `entity` is null.
  /// @param type   the host's type of the record: 4 and 17 a JtkwPMINoteData, 10 and 11 a
  ///               JtkwPMIFrameData, 14 a JtkwPMIDimensionData, 23 a JtkwPMIAnnotationData; other
  ///               types fill nothing
  /// @param entity the existing entity or null; then the one made, if any
  /// @param keys   identity to write as attributes; null: none
  /// @return false without both entity and unit, when no entity can be made, and when the entity is
  ///         of another toolkit type; name, layer and identity are written even then
  bool writePMI(const JtkwPMIData& record, NwObj::Type type, JtkUnitHierarchy* unit,
                JtkPMIEntity*& entity, const JtwNwObjData* keys);

  /// Full name of the file with stroke fonts beside the program of the process.
  static RWClassicCString fontsFilePath();

 private:
  bool isAsRead(JtwPMI& node, const JtkPMIEntity& entity) const;
  void enterSpaceOf(JtwPMI& pmi);
  void matchFrame(JtwFrame& frame);
  bool fill(const JtkwPMIAnnotationData& record, JtkPMIVisualEntity& entity) const;
  bool fill(const JtkwPMINoteData& record, JtkPMIVisualEntity& entity) const;
  bool fill(const JtkwPMIDimensionData& record, JtkPMIVisualEntity& entity) const;
  bool fill(const JtkwPMIFrameData& record, JtkPMIVisualEntity& entity) const;
  JtkPMIVisualEntity::Point stored(const RTVec3D& millimetres) const;
  bool setLines(JtkPMIVisualEntity& entity, const RWClassicTValOrderedVector<RTVec3D>& vertices,
                const RWClassicTValOrderedVector<int>& indices,
                const RWClassicTValOrderedVector<std::int16_t>& types) const;

  RTTran3D transform_;
  float unitsFactor_ = 1.0F;
  std::map<int, jt::Ref<JtkPMIEntity>> existing_;
  JtwNode* carrier_ = nullptr;      // of the batch being written
  JtwCollection* space_ = nullptr;  // what transform_ is relative to
  std::vector<std::pair<JtwPMI*, jt::Ref<JtkPMIEntity>>> written_;
};
