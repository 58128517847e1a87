#pragma once

#include <array>

#include "JtInspect.h"
#include "support/Repacked.h"

// The fields of a file as explain lists them, and what the file is with another value in one.

/// A field whose value can be replaced.
struct ValueField {
  std::string path;
  std::optional<std::size_t> row;  ///< of the segment where `offset` counts in unpacked bytes
  std::size_t offset = 0;
  std::size_t width = 0;  ///< of texts and lists the first bytes, a count perhaps
  bool isReal = false;
  bool isCount = false;
};

class FieldValues {
 public:
  explicit FieldValues(const Bytes& file) : file_(file) {
    MemoryStorage storage;
    storage["file"] = file;
    Sink sink(fields_);
    jt::explain(MemoryLocation("file"), {}, sink);
    for (const ValueField& field : fields_)
      if (!contents_.contains(field.row))
        contents_[field.row] = field.row ? file_.content(*field.row) : file;
  }

  const std::vector<ValueField>& fields() const { return fields_; }

  /// Ten extreme values for a field: numbers, or the bits of one.
  std::array<std::uint64_t, 10> extremes(const ValueField& field) const {
    const Bytes& bytes = contents_.at(field.row);
    std::uint64_t n = 0;
    for (std::size_t i = 0; i < field.width; ++i)
      n |= std::to_integer<std::uint64_t>(bytes.at(place(field, i))) << 8 * i;
    const std::uint64_t all = ~std::uint64_t{0} >> (64 - 8 * field.width);
    const std::uint64_t sign = all / 2 + 1;
    if (!field.isReal) return {0, 1, n - 1, n + 1, n * 2, sign - 1, sign, sign + 1, all - 1, all};
    const std::uint64_t infinity = field.width == 4 ? 0x7f800000 : 0x7ff0000000000000;
    return {
        0,  1, n ^ sign, infinity, sign | infinity, infinity - 1, sign, infinity + 1, infinity / 2,
        all};
  }

  /// The file with another value of a field.
  Bytes with(const ValueField& field, std::uint64_t value) const {
    Bytes bytes = contents_.at(field.row);
    for (std::size_t i = 0; i < field.width; ++i)
      bytes.at(place(field, i)) = static_cast<std::byte>(value >> 8 * i);
    return field.row ? file_.with(*field.row, bytes) : bytes;
  }

 private:
  struct Sink : jt::ExplainSink {
    explicit Sink(std::vector<ValueField>& fields) : fields(fields) {}
    void beginSegment(const jt::ExplainedSegment& segment) override {
      row.reset();
      if (segment.inflatedOffsets) row = segment.index;
    }
    void field(const jt::ExplainedField& field) override {
      if (field.size == 0) return;
      const std::string_view type = field.type;
      const std::size_t width = field.size >= 8 && field.size % 8 == 0 && type.ends_with("64") ? 8
                                : field.size >= 4                                              ? 4
                                : field.size >= 2                                              ? 2
                                                                                               : 1;
      const bool isHead = field.path.starts_with("segment.");
      fields.push_back({field.path, isHead ? std::nullopt : row,
                        static_cast<std::size_t>(field.offset), width,
                        width >= 4 && type.starts_with("F"), type == "I32 count"});
    }
    std::vector<ValueField>& fields;
    std::optional<std::size_t> row;
  };

  /// Offset of the byte of a value, the lowest first.
  std::size_t place(const ValueField& field, std::size_t byte) const {
    return field.offset + (file_.format().bigEndian ? field.width - 1 - byte : byte);
  }

  Repacked file_;
  std::map<std::optional<std::size_t>, Bytes> contents_;  ///< of the file and of segments
  std::vector<ValueField> fields_;
};
