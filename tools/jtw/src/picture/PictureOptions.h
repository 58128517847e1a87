#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Arguments.h"
#include "Drawing.h"

namespace tool {

class Session;

// The options of pictures. A bad value throws Failure "usage".

/// --size, --view, --from, --to, --up, --perspective, --background and --section, in millimetres.
View readView(const Arguments& arguments);
/// A number within limits; the fallback when the option was not given.
double readNumber(const Arguments& arguments, const char* name, double fallback, double least,
                  double most);
/// "on" or "off"; on when the option was not given.
bool isOn(const Arguments& arguments, const char* name);
/// The viewpoints that --view lists for --sheet, or the usual four.
std::vector<std::pair<std::string, Viewpoint>> readSheet(const Arguments& arguments,
                                                         const Viewpoint& viewpoint);

/// Takes what is in millimetres to the unit of the first scene, and lets an eye that looks nowhere
/// look at the middle of the scenes.
void fitToScenes(View& view, Scenes scenes);

/// Throws when the name of a picture has no extension that there is a form for, or when the form
/// has no transparency and the background does. A picture never takes the place of a JT file.
void checkPictureName(const std::string& name, const Color& background);
/// Writes a picture in the form that the extension has; "-" is standard output, as PNG. Throws
/// Failure.
void writePicture(Session& session, const std::string& name, const Image& image);

}  // namespace tool
