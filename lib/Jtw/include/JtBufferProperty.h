#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "JtBase.h"
#include "JtString.h"
#include "JtwExport.h"

/// A property value that holds binary data of the host, which nothing here looks into. It has a
/// binary form (version, size, bytes) for late-loaded objects and a text form for string atoms.
class JTW_API JtBufferProperty : public JtBase {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override;
  bool serialize(JtBaseDataStream& stream) const override;
  /// False when the stream is too short; the data is then empty.
  bool deserialize(JtBaseDataStream& stream) override;

  /// The bytes; valid until they are replaced.
  std::span<const char> data() const noexcept { return data_; }
  std::int32_t size() const noexcept { return static_cast<std::int32_t>(data_.size()); }
  /// The version that the data was read with; that of this system for new data.
  std::uint32_t version() const noexcept { return version_; }
  /// Keeps a copy. @pre at most 2^31 - 1 bytes
  void setData(std::span<const char> bytes);

  /// "version,size,data": one code unit a byte; a zero byte is "\@" and a backslash is "\\".
  JtString toText() const;
  /// Reads such a text. One without two commas gives no data. What the text holds beyond its size
  /// field is dropped, and what the size field promises beyond the text is not there. A backslash
  /// in front of any other character is skipped.
  void fromText(const JtString& text);

 private:
  std::vector<char> data_;
  std::uint32_t version_ = currentVersion();

  static std::uint32_t currentVersion();
};
