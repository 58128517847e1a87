#pragma once

#include <cstddef>
#include <string_view>

#include "ApiGraColor.h"
#include "ApiProtoKey.h"
#include "HostExport.h"
#include "IdxObject.h"
#include "RTTran3D.h"
#include "RWClassic.h"

/// Reads what IdxOFile wrote. Safe on untrusted text: at the first thing that does not fit good()
/// becomes false for ever, and that value and all later ones are left as they were. Nothing throws
/// for bad text and nothing is read beyond the end.
class HOST_API IdxIFile {
 public:
  /// @param text must outlive the stream
  explicit IdxIFile(std::string_view text) : rest_(text) {}

  /// False once a value could not be read.
  bool good() const { return good_; }

  /// True when nothing but blanks is left. They are skipped.
  bool atEnd();

  /// How many characters are left. A value takes at least one, so a count read from the stream is
  /// wrong when it is greater: check before reserving room for it.
  std::size_t remaining() const { return rest_.size(); }

  /// Any number but 0 is true.
  IdxIFile& operator>>(bool& value);
  /// Not good for a number that does not fit.
  IdxIFile& operator>>(int& value);
  IdxIFile& operator>>(long& value);
  IdxIFile& operator>>(double& value);
  IdxIFile& operator>>(RWClassicCString& value);
  IdxIFile& operator>>(RWClassicWString& value);
  IdxIFile& operator>>(ApiProtoKey& value);
  IdxIFile& operator>>(RTTran3D& value);
  IdxIFile& operator>>(ApiGraColor& value);
  IdxIFile& operator>>(IdxObject& value);

 private:
  template <class Number>
  bool number(Number& value);
  void skipBlanks();

  std::string_view rest_;
  bool good_ = true;
};
