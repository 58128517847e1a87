#pragma once

// The three archives that run an element's field list: Reader (bytes to object), TracingReader (the
// same, telling every field to a listener) and Writer (object to bytes). All checks of sizes and
// counts are here, so that a field list has none.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "JtFormatError.h"
#include "JtGuid.h"
#include "JtPropAtom.h"
#include "JtSceneObject.h"
#include "JtShape.h"
#include "JtString.h"
#include "JtTrailingBytes.h"
#include "base/Buffer.h"
#include "base/ByteOrder.h"
#include "base/MemoryBudget.h"
#include "file/archive/Format.h"

namespace jt::file {

template <class T>
concept Scalar = std::is_arithmetic_v<T>;

inline JtGuid loadGuid(const std::byte* bytes, bool bigEndian) noexcept {
  JtGuid id;
  id.data1 = loadScalar<std::uint32_t>(bytes, bigEndian);
  id.data2 = loadScalar<std::uint16_t>(bytes + 4, bigEndian);
  id.data3 = loadScalar<std::uint16_t>(bytes + 6, bigEndian);
  std::memcpy(id.data4.data(), bytes + 8, 8);
  return id;
}

// Failures of a reader. Out of line: what can fail is small enough to be inlined then.
[[noreturn]] void throwTruncated(const char* name, std::size_t size, std::size_t left,
                                 std::size_t offset);
[[noreturn]] void throwBadVersion(const char* name, std::int16_t version, std::size_t offset);
[[noreturn]] void throwBadCount(const char* name, std::int32_t count, std::size_t room,
                                std::size_t offset);

/// An object as the field list of an archive takes it: only a reader changes it.
template <class Ar, class T>
using Of = std::conditional_t<Ar::kReading, T, const T>;

/// Object ids by which a node element names its attributes and children.
struct Links {
  std::vector<std::int32_t> attributes;
  std::vector<std::int32_t> children;
  /// What would be the children of an unknown element if all of them existed.
  std::vector<std::int32_t> doubtful;
};

/// Receives every field that a TracingReader reads.
class FieldListener {
 public:
  virtual ~FieldListener() = default;
  /// @param offset byte in the stream that the reader was given
  /// @param type   "I32", "MbString", "GUID", ...
  virtual void field(std::size_t offset, std::size_t size, const char* name, const char* type,
                     const std::string& value) = 0;
};

template <class T>
constexpr const char* typeName() {
  if constexpr (std::is_same_v<T, std::uint8_t>) return "U8";
  if constexpr (std::is_same_v<T, std::int16_t>) return "I16";
  if constexpr (std::is_same_v<T, std::uint16_t>) return "U16";
  if constexpr (std::is_same_v<T, std::int32_t>) return "I32";
  if constexpr (std::is_same_v<T, std::uint32_t>) return "U32";
  if constexpr (std::is_same_v<T, std::int64_t>) return "I64";
  if constexpr (std::is_same_v<T, std::uint64_t>) return "U64";
  if constexpr (std::is_same_v<T, float>) return "F32";
  if constexpr (std::is_same_v<T, double>) return "F64";
  return "?";
}

std::string valueText(double value, bool isFloat);
std::string valueText(std::uint64_t value);
std::string valueText(std::int64_t value);
std::string valueText(const std::byte* bytes, std::size_t size);

/// Bytes to objects. Every read is checked against what is left; a field that does not fit throws
/// JtFormatError "truncated" or "bad_count" with its offset.
template <bool Tracing>
class BasicReader {
 public:
  static constexpr bool kReading = true;
  static constexpr bool kTracing = Tracing;

  /// @param format must outlive the reader
  /// @param base   offset of bytes[0] in the stream that error messages and listeners count in
  /// @param links  takes the ids of a node's attributes and children; null: they are not wanted
  BasicReader(std::span<const std::byte> bytes, const Format& format, std::size_t base = 0,
              FieldListener* listener = nullptr, Links* links = nullptr)
      : begin_(bytes.data()),
        at_(bytes.data()),
        end_(bytes.data() + bytes.size()),
        format_(format),
        base_(base),
        listener_(listener),
        links_(links) {}
  BasicReader(std::span<const std::byte>, Format&&, std::size_t = 0, FieldListener* = nullptr,
              Links* = nullptr) = delete;

  /// Counts from now on what texts, lists and bytes that are read take in memory; lasts as long as
  /// the reader reads.
  void countIn(MemoryShare& memory) noexcept { memory_ = &memory; }
  /// To be called for memory that a field list takes itself.
  void hold(std::uint64_t bytes) const {
    if (memory_) memory_->take(bytes, offset());
  }
  const Format& format() const noexcept { return format_; }
  bool has(Feature feature) const noexcept { return format_.has(feature); }
  std::size_t left() const noexcept { return static_cast<std::size_t>(end_ - at_); }
  std::size_t offset() const noexcept { return base_ + static_cast<std::size_t>(at_ - begin_); }
  /// What is left, unread.
  std::span<const std::byte> rest() const noexcept { return {at_, left()}; }
  Links& links() { return links_ ? *links_ : ownLinks_ ? *ownLinks_ : ownLinks_.emplace(); }
  /// True for an object that gets this form's default for what depends on it; never when reading.
  static bool isDefaulted(const LocalVersion&) noexcept { return false; }

  template <Scalar T>
  void operator()(const char* name, T& value) {
    need(name, sizeof(T));
    value = loadScalar<T>(at_, format_.bigEndian);
    trace(name, typeName<T>(), sizeof(T), [&] { return scalarText(value); });
    at_ += sizeof(T);
  }
  /// A field stored as `Stored` and held in another type.
  template <Scalar Stored, class T>
  void as(const char* name, T& value) {
    Stored stored{};
    (*this)(name, stored);
    value = static_cast<T>(stored);
  }
  /// A field with a fixed value in new objects; readers skip it, since what they read is never new.
  template <Scalar T>
  static void writeDefault(const char*, T) {}
  template <Scalar T, std::size_t N>
  void operator()(const char* name, std::array<T, N>& values) {
    for (T& value : values) (*this)(name, value);
  }
  void operator()(const char* name, JtGuid& value) {
    need(name, 16);
    value = loadGuid(at_, format_.bigEndian);
    trace(name, "GUID", 16, [&] { return value.text(); });
    at_ += 16;
  }
  void operator()(const char* name, JtString& value) {
    const std::size_t count = readCount(name, 2);
    if (count > 0) hold(2 * count + kBlockCost);
    value = JtString::filled(count, [&](char16_t* units) {
      std::memcpy(units, at_, 2 * count);
      if (format_.bigEndian != (std::endian::native == std::endian::big))
        for (char16_t& unit : std::span(units, count))
          unit = static_cast<char16_t>(
              inFileOrder(static_cast<std::uint16_t>(unit), format_.bigEndian));
    });
    trace(name, "MbString", 2 * count, [&] { return value.stringToMbs(); });
    at_ += 2 * count;
  }
  void operator()(const char* name, Box& box) {
    (*this)(name, box.min);
    (*this)(name, box.max);
  }
  void operator()(const char* name, CountRange& range) {
    (*this)(name, range.min);
    (*this)(name, range.max);
  }
  void operator()(const char* name, DateFields& date) {
    for (std::int16_t* part :
         {&date.year, &date.month, &date.day, &date.hour, &date.minute, &date.second})
      (*this)(name, *part);
  }
  /// I32 count, then the items.
  template <Scalar T>
  void list(const char* name, std::vector<T>& items) {
    const std::size_t count = readCount(name, sizeof(T));
    hold(count * sizeof(T));
    items.resize(count);
    for (T& item : items) (*this)(name, item);
  }
  /// I32 count, then as many items; each takes at least `minItemSize` bytes.
  template <class T, class Each>
  void repeat(const char* name, std::vector<T>& items, std::size_t minItemSize, Each each) {
    const std::size_t count = readCount(name, minItemSize);
    hold(std::uint64_t{count} * sizeof(T));
    items.clear();
    items.reserve(count);
    for (std::size_t i = 0; i < count; ++i) each(items.emplace_back());
  }
  /// One object id in a list of its own.
  void single(const char* name, std::vector<std::int32_t>& ids) {
    ids.resize(1);
    (*this)(name, ids[0]);
  }
  /// The local version of what follows, in the width of the generation.
  void version(const char* name, LocalVersion& version, int /*default9*/, int /*default10*/) {
    if (!has(Feature::localVersions)) {
      version.value = LocalVersion::kAbsent;
      return;
    }
    if (has(Feature::byteVersions)) {
      as<std::uint8_t>(name, version.value);
    } else {
      const std::byte* const field = at_;
      (*this)(name, version.value);
      if (version.value > LocalVersion::kAbsent) return;
      at_ = field;  // the two least numbers mean something else in memory
      throwBadVersion(name, version.value, offset());
    }
  }
  /// A last field that older forms lack: read when there are bytes for it.
  template <Scalar T>
  void optional(const char* name, std::optional<T>& value) {
    value.reset();
    if (left() >= sizeof(T)) (*this)(name, value.emplace());
  }
  /// I32 count, then as many single-byte characters.
  void narrow(const char* name, std::string& text) {
    const std::size_t count = readCount(name, 1);
    hold(count);
    text.assign(reinterpret_cast<const char*>(at_), count);
    trace(name, "String", count, [&] { return JtString(text).stringToMbs(); });
    at_ += count;
  }
  /// `count` bytes as they are.
  void raw(const char* name, std::vector<std::byte>& bytes, std::size_t count) {
    need(name, count);
    hold(count);
    bytes.assign(at_, at_ + count);
    trace(name, "bytes", count, [&] { return valueText(at_, count); });
    at_ += count;
  }
  /// Passes over bytes that were read by way of rest(). @param text gives the value to report
  template <class Text>
  void taken(const char* name, const char* type, std::size_t size, Text text) {
    need(name, size);
    trace(name, type, size, text);
    at_ += size;
  }
  /// I32 count with the bytes behind it.
  void counted(const char* name, std::vector<std::byte>& bytes) {
    raw(name, bytes, readCount(name, 1));
  }
  [[noreturn]] void fail(const char* name, const std::string& message) const {
    throw JtFormatError("bad_value", message, {.element = name, .offset = offset()});
  }

 private:
  void need(const char* name, std::size_t size) const {
    if (size > left()) throwTruncated(name, size, left(), offset());
  }
  std::size_t readCount(const char* name, std::size_t itemSize) {
    std::int32_t count = 0;
    need(name, sizeof count);
    count = loadScalar<std::int32_t>(at_, format_.bigEndian);
    const std::size_t room = (left() - sizeof count) / (itemSize == 0 ? 1 : itemSize);
    if (count < 0 || static_cast<std::size_t>(count) > room)
      throwBadCount(name, count, room, offset());
    trace(name, "I32 count", sizeof count, [&] { return std::to_string(count); });
    at_ += sizeof count;
    return static_cast<std::size_t>(count);
  }
  template <class T>
  static std::string scalarText(T value) {
    if constexpr (std::is_floating_point_v<T>) {
      return valueText(static_cast<double>(value), sizeof(T) == 4);
    } else if constexpr (std::is_signed_v<T>) {
      return valueText(static_cast<std::int64_t>(value));
    } else {
      return valueText(static_cast<std::uint64_t>(value));
    }
  }
  template <class Text>
  void trace(const char* name, const char* type, std::size_t size, Text text) const {
    if constexpr (Tracing)
      if (listener_) listener_->field(offset(), size, name, type, text());
  }
  static constexpr std::size_t kBlockCost = 16;

  const std::byte* begin_;
  const std::byte* at_;
  const std::byte* end_;
  const Format& format_;
  std::size_t base_;
  FieldListener* listener_;
  Links* links_;
  std::optional<Links> ownLinks_;
  MemoryShare* memory_ = nullptr;
};

/// What follows the last known field of an element, to be kept.
template <bool Tracing>
TrailingBytes readTrailingBytes(BasicReader<Tracing>& reader) {
  if (reader.left() == 0) return {};
  std::vector<std::byte> bytes;
  reader.raw("surplus", bytes, reader.left());
  return TrailingBytes(std::move(bytes));
}

using Reader = BasicReader<false>;
using TracingReader = BasicReader<true>;

/// Objects to bytes, appended to a sink.
class Writer {
 public:
  static constexpr bool kReading = false;

  Writer(ByteSink& out, const Format& format) : out_(out), format_(format) {}

  const Format& format() const noexcept { return format_; }
  bool has(Feature feature) const noexcept { return format_.has(feature); }
  static std::size_t left() noexcept { return 0; }
  static std::span<const std::byte> rest() noexcept { return {}; }
  std::size_t offset() const noexcept { return out_.size(); }
  /// The ids that a node's field list is to write; must outlive the writing.
  void setLinks(const Links& links) noexcept { links_ = &links; }
  const Links& links() const noexcept { return *links_; }
  /// Set while an object is written in a form that it was not read in: its local versions and
  /// form-dependent fields then take the defaults of this form.
  void setConverting(bool on) noexcept { converting_ = on; }
  bool isDefaulted(const LocalVersion& version) const noexcept {
    return converting_ || version.value == LocalVersion::kUnset;
  }

  template <Scalar T>
  void operator()(const char*, const T& value) {
    put(value);
  }
  template <Scalar Stored, class T>
  void as(const char*, const T& value) {
    put(static_cast<Stored>(value));
  }
  template <Scalar T>
  void writeDefault(const char*, T value) {
    put(value);
  }
  template <Scalar T, std::size_t N>
  void operator()(const char*, const std::array<T, N>& values) {
    for (const T& value : values) put(value);
  }
  void operator()(const char*, const JtGuid& value);
  void operator()(const char*, const JtString& value);
  void operator()(const char* name, const Box& box) {
    (*this)(name, box.min);
    (*this)(name, box.max);
  }
  void operator()(const char* name, const CountRange& range) {
    (*this)(name, range.min);
    (*this)(name, range.max);
  }
  void operator()(const char*, const DateFields& date) {
    for (const std::int16_t part :
         {date.year, date.month, date.day, date.hour, date.minute, date.second})
      put(part);
  }
  template <Scalar T>
  void list(const char*, const std::vector<T>& items) {
    putCount(items.size());
    for (const T& item : items) put(item);
  }
  template <class Items, class Each>
  void repeat(const char*, Items& items, std::size_t, Each each) {
    putCount(items.size());
    for (auto& item : items) each(item);
  }
  void single(const char*, const std::vector<std::int32_t>& ids) {
    put(ids.empty() ? std::int32_t{0} : ids[0]);
  }
  void version(const char*, const LocalVersion& version, int default9, int default10) {
    if (!has(Feature::localVersions)) return;
    const bool byteWide = has(Feature::byteVersions);
    const int value = isDefaulted(version) ? (byteWide ? default10 : default9) : version.value;
    if (byteWide) {
      put(static_cast<std::uint8_t>(value));
    } else {
      put(static_cast<std::int16_t>(value));
    }
  }
  template <Scalar T>
  void optional(const char*, const std::optional<T>& value) {
    if (value) put(*value);
  }
  void narrow(const char*, const std::string& text) {
    putCount(text.size());
    append(std::as_bytes(std::span(text)));
  }
  void raw(const char*, const std::vector<std::byte>& bytes, std::size_t) { append(bytes); }
  void counted(const char*, const std::vector<std::byte>& bytes) {
    putCount(bytes.size());
    append(bytes);
  }
  void append(std::span<const std::byte> bytes) { out_.append(bytes); }
  [[noreturn]] void fail(const char* name, const std::string& message) const {
    throw JtFormatError("bad_value", message, {.element = name});
  }

 private:
  template <Scalar T>
  void put(T value) {
    value = inFileOrder(value, format_.bigEndian);
    std::memcpy(out_.extend(sizeof(T)), &value, sizeof(T));
  }
  void putCount(std::size_t count);

  ByteSink& out_;
  Format format_;
  bool converting_ = false;
  const Links* links_ = nullptr;
};

}  // namespace jt::file
