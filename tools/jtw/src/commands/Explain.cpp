#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Command.h"
#include "InputFile.h"
#include "JtInspect.h"
#include "Session.h"

namespace tool {
namespace {

/// What is to be explained.
struct Question {
  std::string path;
  std::optional<std::uint64_t> offset;
  jt::ExplainOptions options;
  bool asksForSegment() const { return options.segmentIndex || options.segmentId; }
};

std::optional<std::uint64_t> parseNumber(std::string_view text) {
  const bool isHex = text.starts_with("0x") || text.starts_with("0X");
  if (isHex) text.remove_prefix(2);
  std::uint64_t number = 0;
  const auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), number, isHex ? 16 : 10);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// FILE@OFFSET, unless a file has that very name.
void readTarget(const std::string& target, Question& question) {
  question.path = target;
  const std::size_t at = target.rfind('@');
  if (at == std::string::npos || access(target.c_str(), F_OK) == 0) return;
  const auto offset = parseNumber(std::string_view(target).substr(at + 1));
  if (!offset) return;
  question.offset = offset;
  question.path = target.substr(0, at);
}

Question readQuestion(const Session& session) {
  Question question;
  readTarget(session.argument(0), question);
  question.options.limits = readLimits(session);
  if (const std::string* segment = session.arguments().value("segment")) {
    if (const auto number = parseNumber(*segment))
      question.options.segmentIndex = static_cast<std::size_t>(*number);
    else
      question.options.segmentId = JtGuid::parse(*segment);
    if (!question.asksForSegment())
      failUsage("--segment is '" + *segment + "', neither a number nor the id of a segment");
  }
  return question;
}

/// Headers of a segment are in the file; what follows them in a packed one has offsets of its
/// own.
bool isInFile(const jt::ExplainedField& field, const jt::ExplainedSegment* segment) {
  return !segment || !segment->inflatedOffsets || field.path.starts_with("segment.");
}

void writeValue(JsonWriter& json, const jt::ExplainedField& field) {
  const std::string_view type = field.type;
  const bool isNumber = type.size() > 1 &&
                        std::string_view("IUF").find(type[0]) != std::string_view::npos &&
                        type[1] >= '0' && type[1] <= '9';
  if (!isNumber) {
    json.value(field.value);
    return;
  }
  // Digits, sign, point and exponent are JSON already; "nan" and "inf" are not.
  const bool isFinite =
      !field.value.empty() && field.value.find_first_not_of("0123456789+-.e") == std::string::npos;
  if (isFinite)
    json.raw(field.value);
  else
    json.null();
}

void writeMembers(JsonWriter& json, const jt::ExplainedField& field,
                  const std::optional<jt::ExplainedSegment>& segment) {
  json.member("offset", field.offset);
  json.member("size", field.size);
  json.member("path", field.path);
  json.member("type", field.type);
  json.key("value");
  writeValue(json, field);
  json.key("segment");
  if (segment)
    json.value(segment->index);
  else
    json.null();
  json.member("inflated", !isInFile(field, segment ? &*segment : nullptr));
}

void writeSegments(JsonWriter& json, const std::vector<jt::ExplainedSegment>& segments) {
  json.key("segments");
  json.beginArray();
  for (const jt::ExplainedSegment& segment : segments) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("index", segment.index);
    json.member("id", segment.id.text());
    json.member("type", segment.type);
    json.member("name", jt::segmentName(segment.type));
    json.member("compression", segment.compression);
    json.member("inflatedOffsets", segment.inflatedOffsets);
    json.member("size", segment.size);
    json.end();
  }
  json.end();
}

std::string segmentLine(const jt::ExplainedSegment& segment) {
  std::string text = "segment " + std::to_string(segment.index) + ", " +
                     jt::segmentName(segment.type) + ", " + segment.id.text() + ", " +
                     segment.compression;
  if (segment.inflatedOffsets)
    text += ", " + counted(segment.size, "byte") + " inflated: offsets count in those";
  return text;
}

std::string fieldLine(const jt::ExplainedField& field) {
  return padLeft(std::to_string(field.offset), 10) + padLeft(std::to_string(field.size), 8) + "  " +
         padRight(printable(field.path), 52) + " " + padRight(field.type, 9) + " " +
         printable(field.value);
}

/// Hands every field on as it comes.
class ListingSink final : public jt::ExplainSink {
 public:
  explicit ListingSink(Session& session) : session_(session) {}

  void beginSegment(const jt::ExplainedSegment& segment) override {
    segment_ = segment;
    if (session_.wantsJson())
      segments_.push_back(segment);
    else
      session_.out().line("\n" + session_.style().paint(Ink::bold, segmentLine(segment)));
  }

  void field(const jt::ExplainedField& field) override {
    if (!session_.wantsJson()) {
      session_.out().line(fieldLine(field));
      return;
    }
    JsonWriter& json = session_.json();
    json.beginObject(JsonWriter::Layout::line);
    writeMembers(json, field, segment_);
    json.end();
  }

  const std::vector<jt::ExplainedSegment>& segments() const { return segments_; }

 private:
  Session& session_;
  std::optional<jt::ExplainedSegment> segment_;
  std::vector<jt::ExplainedSegment> segments_;
};

/// Keeps the field at one byte.
class FindingSink final : public jt::ExplainSink {
 public:
  FindingSink(std::uint64_t offset, bool inSegment) : offset_(offset), inSegment_(inSegment) {}

  void beginSegment(const jt::ExplainedSegment& segment) override {
    current_ = segment;
    headersOver_ = false;
  }

  void field(const jt::ExplainedField& field) override {
    if (found_) return;
    const bool countsInFile = isInFile(field, current_ ? &*current_ : nullptr);
    if (current_ && countsInFile) followHeaders(field);
    if (!countsInFile && !headersOver_) {
      headersOver_ = true;
      if (!inSegment_) take(packedData());
    }
    const bool asksInflated = inSegment_ && current_->inflatedOffsets;
    if (countsInFile != asksInflated) take(field);
  }

  const std::optional<jt::ExplainedField>& found() const { return found_; }
  const std::optional<jt::ExplainedSegment>& segment() const { return segment_; }
  /// True when the byte lies in data that unpacks to fields of its own.
  bool isPacked() const { return found_ && found_->path == kPackedPath; }

 private:
  static constexpr const char* kPackedPath = "segment.compressedData";

  void take(const jt::ExplainedField& field) {
    if (found_ || offset_ < field.offset || offset_ - field.offset >= field.size) return;
    found_ = field;
    segment_ = current_;
  }

  void followHeaders(const jt::ExplainedField& field) {
    if (field.path == "segment.segmentId") start_ = field.offset;
    if (field.path == "segment.segmentLength") length_ = parseNumber(field.value).value_or(0);
    headersEnd_ = field.offset + field.size;
  }

  jt::ExplainedField packedData() const {
    const std::uint64_t end = std::max(start_ + length_, headersEnd_);
    return {headersEnd_,
            end - headersEnd_,
            kPackedPath,
            "bytes",
            counted(end - headersEnd_, "byte") + ", " + current_->compression,
            0};
  }

  std::uint64_t offset_;
  bool inSegment_;
  std::optional<jt::ExplainedSegment> current_;
  bool headersOver_ = false;
  std::uint64_t start_ = 0;
  std::uint64_t length_ = 0;
  std::uint64_t headersEnd_ = 0;
  std::optional<jt::ExplainedField> found_;
  std::optional<jt::ExplainedSegment> segment_;
};

/// The opened file, to find what a field belongs to; null for one that cannot be opened.
jt::Ref<JtPartition> tryOpen(Session& session, const std::string& path) {
  try {
    return openFile(session, path);
  } catch (const Failure&) {
    return {};
  }
}

void explainByte(Session& session, const Question& question) {
  FindingSink sink(*question.offset, question.asksForSegment());
  jt::explain(*inputLocation(question.path), question.options, sink);
  if (!sink.found())
    throw Failure(ExitCode::usage, "no_field",
                  "there is no field at byte " + std::to_string(*question.offset),
                  {.file = question.path, .offset = question.offset});
  const jt::ExplainedField& field = *sink.found();
  std::optional<jt::ObjectPlace> place;
  if (field.objectId != 0)
    if (const auto partition = tryOpen(session, question.path))
      place = jt::placeOf(*partition, field.objectId);
  if (sink.isPacked())
    session.warn("what these bytes unpack to: --segment " + std::to_string(sink.segment()->index) +
                 ", with offsets of its own");

  if (!session.wantsJson()) {
    if (sink.segment()) session.out().line(segmentLine(*sink.segment()));
    session.out().line(fieldLine(field));
    if (place)
      session.out().line("belongs to node " + std::to_string(place->nodeId) + ", " +
                         printable(place->nodeType) + ", \"" + printable(place->nodeName) + "\"" +
                         (place->key.empty() ? "" : ", key " + printable(place->key)));
    return;
  }
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("file", question.path);
  json.key("fields");
  json.beginArray();
  json.beginObject();
  writeMembers(json, field, sink.segment());
  json.key("belongsTo");
  if (place) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("id", place->nodeId);
    json.textOrNull("name", place->nodeName);
    json.member("type", place->nodeType);
    json.textOrNull("key", place->key);
    json.end();
  } else {
    json.null();
  }
  json.end();
  json.end();
  writeSegments(
      json, sink.segment() ? std::vector{*sink.segment()} : std::vector<jt::ExplainedSegment>());
  session.endResult();
}

void explainAll(Session& session, const Question& question) {
  ListingSink sink(session);
  if (!session.wantsJson()) {
    session.out().line("    offset    size  path" + std::string(49, ' ') + "type      value");
    jt::explain(*inputLocation(question.path), question.options, sink);
    return;
  }
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("file", question.path);
  json.key("fields");
  json.beginArray();
  jt::explain(*inputLocation(question.path), question.options, sink);
  json.end();
  // Behind the fields: which segments there are shows while they are read.
  writeSegments(json, sink.segments());
  session.endResult();
}

}  // namespace

ExitCode runExplain(Session& session) {
  const Question question = readQuestion(session);
  try {
    if (question.offset)
      explainByte(session, question);
    else
      explainAll(session, question);
  } catch (const JtFormatError& error) {
    throw readFailure(error, question.path);
  }
  return ExitCode::done;
}

}  // namespace tool
