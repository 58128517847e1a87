#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ApiPMIType.h"
#include "RTTran3D.h"

class JtwPMIAnnotation;

namespace jtw {

class Objects;

// Changes of annotations. A change that is prepared has been checked; it is made when it is called.

/// The PMI type with that display name. Throws EditError: "usage" for a name that there is not,
/// "not_supported" for a type that no file can keep.
ApiPMIType parseAnnotationType(const Objects& objects, const std::string& name);

/// The settings that only annotations have: text, size, layer, backgroundColor, geomColor, plane.
bool isAnnotationSetting(std::string_view name);

/// A change of a setting of annotations or of the color. @param name one of isAnnotationSetting(),
/// or "color": that of the text. Throws EditError "usage".
std::function<void()> prepareAnnotationChange(JtwPMIAnnotation& annotation, std::string_view name,
                                              const std::string& value);

/// Places an annotation: its lines go with it, and a rotation turns its plane.
void placeAnnotation(JtwPMIAnnotation& annotation, const RTTran3D& location);

}  // namespace jtw
