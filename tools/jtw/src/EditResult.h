#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "Failure.h"

namespace tool {

class Component;
class JsonWriter;
class Session;

// What the commands that change a component have in common: they save, and report what they did.

/// Writes the member "node": an object as `get` shows it, without its children.
void writeNodeResult(JsonWriter& json, const Component& component, std::size_t index);

/// Writes the member "nodes": a list of the same.
void writeNodeResults(JsonWriter& json, const Component& component,
                      std::span<const std::size_t> indices);

/// The members that one command adds to its result.
using ResultMembers = std::function<void(JsonWriter&)>;

/// Saves the component, unless --dry-run was given, and reports: as text `line`, unless it is
/// empty, and what was saved; as JSON "document", the members, "places", "saved" and "alsoSaved".
/// Throws Failure.
/// @param places in how many places of the component the change shows; see jtw::Objects::placeCount
ExitCode saveAndReport(Session& session, Component& component, const std::string& line,
                       const ResultMembers& members, std::uint64_t places = 1);

}  // namespace tool
