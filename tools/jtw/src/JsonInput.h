#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace tool {

/// What is wrong with a document, behind its place: "items[2].place.rotate is not ...".
struct DocumentError {
  std::string message;
};

/// A JSON document that a user wrote: an object with lists of objects in it. Nesting is bounded,
/// and a member that is given twice is an error. Throws Failure of the kind input, "not_json", and
/// DocumentError for a document that is JSON and still wrong.
/// @param what what messages call the document, such as "the plan"
/// @param file for messages
nlohmann::json parseDocument(std::string_view text, const std::string& what,
                             const std::string& file);

/// The text in a member of an object. Empty for a member that is missing or no text, and for what
/// is no object.
std::string textIn(const nlohmann::json& object, const char* name);

}  // namespace tool
