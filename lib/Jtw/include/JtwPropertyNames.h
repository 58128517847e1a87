#pragma once

#include <array>
#include <cstddef>

// The names of all host properties on JT nodes; nothing else spells them out.

namespace jtw {

/// The properties that objects of a component keep on their JT nodes.
enum class Key : std::size_t {
  protoKey,
  attributes,
  kinBuffer,
  kinModelingBuffer,
  kinTechnoBuffer,
  kinTechnoDoubleBuffer,
  mopBuffer,
  dotKinBuffer,
  gmKinBuffer,
  plcLogicBlock,
  objType,
  frames,
  notUnitedEntity,
  attachmentParent,
  attachmentType,
  globalUniqueId,
  relStringId,
  visibility,
  apxShouldCalculate,
  testedForPreserved,
  threadUid,
  concatOccThreadId,
  hasPreservedPmi,
  pmiProtoKeys,
  pmiMaxProtoKey,
  count
};

/// Their names in files.
inline constexpr std::array<const char*, static_cast<std::size_t>(Key::count)> kKeyNames{
    "KrGmProtoKey",
    "KrGmAttributes",
    "KrKinBuffer",
    "KrKinModelingBuffer",
    "KrKinTechnoBuffer",
    "KrKinTechnoDoubleBuffer",
    "KrMopBuffer",
    "KrDotKinBuffer",
    "KrGmKinBuffer",
    "KrPlcLogicBlock",
    "KrObjType",
    "KrWmFrames",
    "KrGmNotUnitedEntity",
    "KrWmAttachmentParent",
    "KrWmAttachmentType",
    "KrGlobalUniqueId",
    "KrRelStringId",
    "KrGraVisibility",
    "KrApxShouldCalculate",
    "TestedForPreservedDescendants",
    "thread_uid::",
    "concat_occThreadID",
    "KrCollectionHasPreservePMI",
    "KrPMIProtoKeys",
    "KrRootPMIMaxProtoKey",
};

/// The name of one of them.
constexpr const char* keyName(Key key) { return kKeyNames[static_cast<std::size_t>(key)]; }

// Names that are used in one place each.

/// On the partition: the data was not written by this system.
inline constexpr const char* kOriginateFromNativeJt = "KrOriginateFromNativeJt";
/// On a switch: its children are representations of the component.
inline constexpr const char* kSwitch = "KrSwitch";
/// On a component, or on the representations in a switch: the materials were converted.
inline constexpr const char* kUpdatedMaterials = "KrUpdatedDolvanMaterials";
/// On a node: its unit of length has been dealt with.
inline constexpr const char* kMeasurementUnitProp = "KrMeasurementUnitProp";

// Document properties of an export.
inline constexpr const char* kCadSource = "CadSource";
inline constexpr const char* kCadSourceValue = "KrJtExport";
inline constexpr const char* kTranslationDate = "TranslationDate";
inline constexpr const char* kReleaseVersion = "KrVersion";
inline constexpr const char* kSourceExternalId = "KrSourceExternalID";
inline constexpr const char* kSourceOriginalName = "KrSourceOriginalName";

}  // namespace jtw
