#pragma once

#include <string>

#include "JsonWriter.h"
#include "JtAttribute.h"
#include "JtMetaData.h"
#include "JtPropAtom.h"

namespace tool {

// How the values of a scene graph are shown, in JSON and as text.

/// The value of a property.
void writeAtom(JsonWriter& json, const JtPropAtom* atom);
std::string atomText(const JtPropAtom* atom);
/// The value of a metadata entry.
void writeMetaValue(JsonWriter& json, const JtMetaData::Value& value);
std::string metaValueText(const JtMetaData::Value& value);
/// An attribute with its type and values, on one line.
void writeAttribute(JsonWriter& json, const JtAttribute& attribute);
std::string attributeText(const JtAttribute& attribute);

/// The same as `color`, an object of r, g, b and a in 0..1.
void writeColor(JsonWriter& json, const char* name, float r, float g, float b, float a);

}  // namespace tool
