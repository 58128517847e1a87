#pragma once

class JtMetaData;
class JtNode;

namespace tool {

class JsonWriter;
class Output;
class Session;

// What people and programs have attached to a node: its properties, and the metadata in a segment
// of its own.

/// The metadata of a node, which is loaded; null when it has none. One that cannot be read is a
/// warning, and null.
const JtMetaData* loadMetaData(Session& session, JtNode& node);

/// Writes the member "properties", in stored order. Of several with one key the first counts; the
/// others get a number.
void writeProperties(JsonWriter& json, const JtNode& node);
/// Writes the member "metadata"; null for none.
void writeMetaData(JsonWriter& json, const JtMetaData* metaData);

/// The same as text, a line each.
void showProperties(Output& out, const JtNode& node);
void showMetaData(Output& out, const JtMetaData* metaData);

}  // namespace tool
