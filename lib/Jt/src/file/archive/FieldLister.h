#pragma once

// The archive that lists the fields of an object with their values, in one form for objects of all
// generations.

#include "file/archive/Archive.h"

namespace jt::file {

/// The values of an object's fields. Texts and bytes point into the object.
struct FieldList {
  enum class Kind : std::uint8_t { integers, reals, text, bytes };
  struct Field {
    const char* name = "";
    Kind kind = Kind::integers;
    std::size_t first = 0;  ///< in `integers` or `reals`
    std::size_t count = 0;
    const JtString* text = nullptr;
    std::span<const std::byte> bytes;
  };
  std::vector<Field> fields;
  std::vector<std::int64_t> integers;
  std::vector<double> reals;

  void clear() noexcept {
    fields.clear();
    integers.clear();
    reals.clear();
  }
  std::span<const std::int64_t> integersOf(const Field& field) const {
    return std::span(integers).subspan(field.first, field.count);
  }
  std::span<const double> realsOf(const Field& field) const {
    return std::span(reals).subspan(field.first, field.count);
  }
};

/// Runs a field list as if the object were made new in a form: what depends on the form that it was
/// read from, versions and links do not show.
class FieldLister {
 public:
  static constexpr bool kReading = false;

  /// @param format must outlive the lister; local versions are needed for textures and lights
  /// @param withTrailingBytes also list the bytes behind the last known field; they mean something
  /// only in the form that they were read from
  FieldLister(FieldList& out, const Format& format, bool withTrailingBytes)
      : out_(out), format_(format), withTrailingBytes_(withTrailingBytes) {}

  const Format& format() const noexcept { return format_; }
  bool has(Feature feature) const noexcept { return format_.has(feature); }
  static std::size_t left() noexcept { return 0; }
  static std::span<const std::byte> rest() noexcept { return {}; }
  const Links& links() const noexcept { return links_; }
  bool isDefaulted(const LocalVersion&) const noexcept { return !inTrailingBytes_; }
  /// To be called between the known fields and the trailing bytes.
  void beginTrailingBytes() noexcept { inTrailingBytes_ = withTrailingBytes_; }

  template <Scalar T>
  void operator()(const char* name, const T& value) {
    values(name, std::span(&value, 1));
  }
  template <Scalar Stored, class T>
  void as(const char* name, const T& value) {
    (*this)(name, static_cast<Stored>(value));
  }
  template <Scalar T>
  static void writeDefault(const char*, T) {}
  template <Scalar T, std::size_t N>
  void operator()(const char* name, const std::array<T, N>& all) {
    values(name, std::span<const T>(all));
  }
  void operator()(const char* name, const JtGuid& value) {
    (*this)(name, std::array<std::uint32_t, 3>{value.data1, value.data2, value.data3});
    (*this)(name, value.data4);
  }
  void operator()(const char* name, const JtString& value) {
    out_.fields.push_back({name, FieldList::Kind::text, 0, 0, &value, {}});
  }
  void operator()(const char* name, const Box& box) {
    (*this)(name, std::array<float, 6>{box.min[0], box.min[1], box.min[2], box.max[0], box.max[1],
                                       box.max[2]});
  }
  void operator()(const char* name, const CountRange& range) {
    (*this)(name, std::array<std::int32_t, 2>{range.min, range.max});
  }
  void operator()(const char* name, const DateFields& date) {
    (*this)(name, std::array<std::int16_t, 6>{date.year, date.month, date.day, date.hour,
                                              date.minute, date.second});
  }
  template <Scalar T>
  void list(const char* name, const std::vector<T>& items) {
    if (&items != static_cast<const void*>(&links_.attributes) &&
        &items != static_cast<const void*>(&links_.children))
      values(name, std::span<const T>(items));
  }
  template <class Items, class Each>
  void repeat(const char* name, Items& items, std::size_t, Each each) {
    (*this)(name, static_cast<std::int64_t>(items.size()));
    for (auto& item : items) each(item);
  }
  static void single(const char*, const std::vector<std::int32_t>&) {}
  static void version(const char*, const LocalVersion&, int, int) {}
  template <Scalar T>
  void optional(const char* name, const std::optional<T>& value) {
    if (value) (*this)(name, *value);
  }
  void raw(const char* name, const std::vector<std::byte>& bytes, std::size_t) {
    out_.fields.push_back({name, FieldList::Kind::bytes, 0, 0, nullptr, bytes});
  }
  void counted(const char* name, const std::vector<std::byte>& bytes) { raw(name, bytes, 0); }
  void append(const std::vector<std::byte>& bytes) { raw("surplus", bytes, 0); }
  [[noreturn]] void fail(const char* name, const std::string& message) const {
    throw JtFormatError("bad_value", message, {.element = name});
  }

 private:
  template <Scalar T>
  void values(const char* name, std::span<const T> all) {
    constexpr bool kIsReal = std::is_floating_point_v<T>;
    const std::size_t first = kIsReal ? out_.reals.size() : out_.integers.size();
    const auto kind = kIsReal ? FieldList::Kind::reals : FieldList::Kind::integers;
    out_.fields.push_back({name, kind, first, all.size(), nullptr, {}});
    for (const T value : all) {
      if constexpr (kIsReal) {
        out_.reals.push_back(static_cast<double>(value));
      } else {
        out_.integers.push_back(static_cast<std::int64_t>(value));
      }
    }
  }

  FieldList& out_;
  const Format& format_;
  Links links_;
  bool withTrailingBytes_;
  bool inTrailingBytes_ = false;
};

}  // namespace jt::file
