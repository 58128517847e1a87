#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "JtExport.h"
#include "JtString.h"

/// Bytes of one object in a segment, in the byte order of its file. Reading never passes the end;
/// each call says whether it worked, and a failed call reads nothing.
class JT_API JtBaseDataStream {
 public:
  /// An empty stream to write to.
  explicit JtBaseDataStream(bool bigEndian = false) : bigEndian_(bigEndian) {}
  /// A stream over bytes to read; they must outlive it.
  JtBaseDataStream(std::span<const std::byte> bytes, bool bigEndian)
      : input_(bytes), bigEndian_(bigEndian) {}

  /// Appends a number in the byte order of the stream. @return true
  bool write(std::uint32_t value);
  bool write(std::int32_t value);
  /// Code unit count, then the units.
  bool write(const JtString& text);
  bool writeRaw(std::span<const std::byte> bytes);

  /// Reads the next value. False, with the position unchanged, when the bytes are not there.
  bool read(std::uint32_t& value);
  bool read(std::int32_t& value);
  bool read(JtString& text);
  bool readRaw(std::span<std::byte> bytes);

  /// Bytes not read yet.
  std::size_t left() const noexcept { return input_.size() - position_; }
  /// What was written.
  const std::vector<std::byte>& written() const noexcept { return output_; }

 private:
  std::span<const std::byte> input_;
  std::size_t position_ = 0;
  std::vector<std::byte> output_;
  bool bigEndian_ = false;
};
