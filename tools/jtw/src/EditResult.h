#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

#include "Failure.h"

class JtwCollection;
class JtwNode;

namespace tool {

class Component;
class JsonWriter;
class Session;

// What the commands that change a component have in common: they save, and tell what they did.

/// Fails because the stored frame list of an object cannot be read; jt::lastError() has the reason.
[[noreturn]] void failUnreadableFrames(const Component& component, JtwNode& collection);

/// Stores the frames of a collection, in the form in which the file has them. Throws Failure when
/// the stored list cannot be read, since its frames would be lost. Null: nothing.
void storeFrames(const Component& component, JtwCollection* collection);

/// Ends the attachments of the listed objects to those with these keys, which are gone.
/// @return the keys of the objects that were attached to one
std::vector<long> endAttachmentsTo(const Component& component,
                                   const std::unordered_set<long>& gone);

/// Writes the member "node": an object as `get` shows it, without its children.
void writeNodeResult(JsonWriter& json, const Component& component, std::size_t index);

/// The members that one command adds to its result.
using ResultMembers = std::function<void(JsonWriter&)>;

/// Saves the component, unless --dry-run was given, and reports: as text `line`, unless it is
/// empty, and what was saved; as JSON "document", the members, "places", "saved" and "alsoSaved".
/// Throws Failure.
/// @param places in how many places of the component the change shows; see Component::placeCount
ExitCode saveAndReport(Session& session, Component& component, const std::string& line,
                       const ResultMembers& members, std::uint64_t places = 1);

}  // namespace tool
