// The run-time type of every class of the scene graph, in one place: class, parent class.

#include "JtInstance.h"
#include "JtLOD.h"
#include "JtLights.h"
#include "JtMetaData.h"
#include "JtPartition.h"
#include "JtStyles.h"
#include "JtSwitch.h"
#include "JtTexture.h"
#include "JtWireframe.h"
#include "JtXform.h"
#include "VisPartNode.h"

namespace {

template <class T>
JtBase* create() {
  return new T;
}

/// The type of a class that can be made.
template <class T, class Parent>
const JtType* concrete(const char* name) {
  static const JtType type(name, Parent::classTypeID(), {}, &create<T>, sizeof(T));
  return &type;
}

/// The type of a class that exists for what derives from it.
template <class T, class Parent>
const JtType* abstractType(const char* name) {
  static const JtType type(name, Parent::classTypeID(), {}, nullptr, sizeof(T));
  return &type;
}

}  // namespace

const JtType* JtSceneObject::classTypeID() {
  return abstractType<JtSceneObject, JtBase>("JtSceneObject");
}

const JtType* JtPropAtom::classTypeID() {
  return concrete<JtPropAtom, JtSceneObject>("JtPropAtom");
}
const JtType* JtStringPropAtom::classTypeID() {
  return concrete<JtStringPropAtom, JtPropAtom>("JtStringPropAtom");
}
const JtType* JtInt32PropAtom::classTypeID() {
  return concrete<JtInt32PropAtom, JtPropAtom>("JtInt32PropAtom");
}
const JtType* JtFloatPropAtom::classTypeID() {
  return concrete<JtFloatPropAtom, JtPropAtom>("JtFloatPropAtom");
}
const JtType* JtDatePropAtom::classTypeID() {
  return concrete<JtDatePropAtom, JtPropAtom>("JtDatePropAtom");
}
const JtType* JtVector4fPropAtom::classTypeID() {
  return concrete<JtVector4fPropAtom, JtPropAtom>("JtVector4fPropAtom");
}
const JtType* JtPtrPropAtom::classTypeID() {
  return concrete<JtPtrPropAtom, JtPropAtom>("JtPtrPropAtom");
}
const JtType* JtLateLoadedPropAtom::classTypeID() {
  return concrete<JtLateLoadedPropAtom, JtPropAtom>("JtLateLoadedPropAtom");
}
const JtType* JtOpaquePropAtom::classTypeID() {
  return concrete<JtOpaquePropAtom, JtPropAtom>("JtOpaquePropAtom");
}

const JtType* JtAttribute::classTypeID() {
  return abstractType<JtAttribute, JtSceneObject>("JtAttribute");
}
const JtType* JtOpaqueAttribute::classTypeID() {
  return concrete<JtOpaqueAttribute, JtAttribute>("JtOpaqueAttribute");
}
const JtType* JtMaterial::classTypeID() { return concrete<JtMaterial, JtAttribute>("JtMaterial"); }
const JtType* JtXform::classTypeID() { return concrete<JtXform, JtAttribute>("JtXform"); }
const JtType* JtDrawStyle::classTypeID() {
  return concrete<JtDrawStyle, JtAttribute>("JtDrawStyle");
}
const JtType* JtLineStyle::classTypeID() {
  return concrete<JtLineStyle, JtAttribute>("JtLineStyle");
}
const JtType* JtPointStyle::classTypeID() {
  return concrete<JtPointStyle, JtAttribute>("JtPointStyle");
}
const JtType* JtLightSet::classTypeID() { return concrete<JtLightSet, JtAttribute>("JtLightSet"); }
const JtType* JtLight::classTypeID() { return abstractType<JtLight, JtAttribute>("JtLight"); }
const JtType* JtInfiniteLight::classTypeID() {
  return concrete<JtInfiniteLight, JtLight>("JtInfiniteLight");
}
const JtType* JtPointLight::classTypeID() {
  return concrete<JtPointLight, JtLight>("JtPointLight");
}
const JtType* JtTextureImage::classTypeID() {
  return concrete<JtTextureImage, JtAttribute>("JtTextureImage");
}
const JtType* JtTextureCoordinateGenerator::classTypeID() {
  return concrete<JtTextureCoordinateGenerator, JtAttribute>("JtTextureCoordinateGenerator");
}
const JtType* JtShaderEffects::classTypeID() {
  return concrete<JtShaderEffects, JtAttribute>("JtShaderEffects");
}

const JtType* JtNode::classTypeID() { return concrete<JtNode, JtSceneObject>("JtNode"); }
const JtType* JtGroup::classTypeID() { return concrete<JtGroup, JtNode>("JtGroup"); }
const JtType* JtInstance::classTypeID() { return concrete<JtInstance, JtNode>("JtInstance"); }
const JtType* JtPartition::classTypeID() { return concrete<JtPartition, JtGroup>("JtPartition"); }
const JtType* VisMetaDataNode::classTypeID() {
  return concrete<VisMetaDataNode, JtGroup>("VisMetaDataNode");
}
const JtType* VisPartNode::classTypeID() {
  return concrete<VisPartNode, VisMetaDataNode>("VisPartNode");
}
const JtType* JtLOD::classTypeID() { return concrete<JtLOD, JtGroup>("JtLOD"); }
const JtType* JtRangeLOD::classTypeID() { return concrete<JtRangeLOD, JtLOD>("JtRangeLOD"); }
const JtType* JtSwitch::classTypeID() { return concrete<JtSwitch, JtGroup>("JtSwitch"); }
const JtType* JtShape::classTypeID() { return concrete<JtShape, JtNode>("JtShape"); }
const JtType* JtVertexShape::classTypeID() {
  return concrete<JtVertexShape, JtShape>("JtVertexShape");
}
const JtType* JtTriStripSet::classTypeID() {
  return concrete<JtTriStripSet, JtVertexShape>("JtTriStripSet");
}
const JtType* JtPolygonSet::classTypeID() {
  return concrete<JtPolygonSet, JtVertexShape>("JtPolygonSet");
}
const JtType* JtSparseShape::classTypeID() {
  return abstractType<JtSparseShape, JtVertexShape>("JtSparseShape");
}
const JtType* JtPolylineSet::classTypeID() {
  return concrete<JtPolylineSet, JtSparseShape>("JtPolylineSet");
}
const JtType* JtPointSet::classTypeID() {
  return concrete<JtPointSet, JtSparseShape>("JtPointSet");
}
const JtType* JtNullShape::classTypeID() { return concrete<JtNullShape, JtShape>("JtNullShape"); }
const JtType* JtPrimitiveSet::classTypeID() {
  return concrete<JtPrimitiveSet, JtShape>("JtPrimitiveSet");
}
const JtType* JtWireHarnessSet::classTypeID() {
  return concrete<JtWireHarnessSet, JtShape>("JtWireHarnessSet");
}

const JtType* PMIDataManager::classTypeID() {
  static const JtType type("PMIDataManager", JtBase::classTypeID(),
                           *JtGuid::parse("ce357249-38fb-11d1-a506-006097bdc6e1"),
                           &create<PMIDataManager>, sizeof(PMIDataManager));
  return &type;
}

const JtType* JtWireframeRep::classTypeID() {
  static const JtType type("JtWireframeRep", JtBase::classTypeID(),
                           *JtGuid::parse("873a70d0-2ac8-11d1-9b6b-0080c7bb5997"),
                           &create<JtWireframeRep>, sizeof(JtWireframeRep));
  return &type;
}

const JtType* JtMetaData::classTypeID() {
  static const JtType type("JtMetaData", JtBase::classTypeID(),
                           *JtGuid::parse("ce357247-38fb-11d1-a506-006097bdc6e1"),
                           &create<JtMetaData>, sizeof(JtMetaData));
  return &type;
}
