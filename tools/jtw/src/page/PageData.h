#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "JtwObjects.h"
#include "PlaceIndex.h"
#include "picture/Comparison.h"
#include "picture/Scene.h"

namespace tool {

class Session;

/// A scene with the places of objects that its items are numbered by.
struct PlacedScene {
  std::span<const jtw::ListedObject> places;
  const PlaceIndex& index;
  const Scene& scene;  ///< decoded
};

/// What a page shows.
struct PageContent {
  std::string document;
  PlacedScene now;
  std::optional<PlacedScene> before;     ///< of a comparison, marked
  std::optional<ComparedShapes> shapes;  ///< likewise
};

/// The data of a page: the length of a JSON text in four bytes, the least first; the text, filled
/// up with blanks to a multiple of four; the arrays that it refers to by their first byte behind
/// that. Coordinates are in millimetres from the member `origin`. The page alone reads it, and its
/// form changes with the page: see `PageData` in view/src/data.ts. Properties that cannot be read
/// are warnings. @param jobs threads
std::vector<std::byte> pageData(Session& session, const PageContent& content, unsigned jobs);

}  // namespace tool
