#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "JtwExport.h"

class JtwNode;

namespace jtw {

class Objects;

/// A new value for something that an object has.
struct Setting {
  std::string name;
  std::string value;
};

/// Settings from words of the form NAME=VALUE. Throws EditError "usage" for another one.
JTW_API std::vector<Setting> parseSettings(std::span<const std::string> words);

/// Changes of one object. Everything is checked when the object is made; nothing is changed before
/// apply().
///
/// Names and values: `name`, `attributes`, `uniqueId`, `relStringId`: a text; `color`, see
/// parseColor(); `unit`, see parseUnit(); `loc`, see parseLocation(); `displayed`, `preserved`:
/// true or false; `attachment`: an address, an address and `:TYPE`, or `none`. Of annotations also
/// `text`, `size`, `layer`, `backgroundColor`, `geomColor`, `plane`.
class JTW_API NodeEdits {
 public:
  /// Throws EditError: "usage" for a setting that there is not or a bad value, other codes for what
  /// the model refuses.
  NodeEdits(Objects& objects, JtwNode& node, std::span<const Setting> settings);

  /// Makes the changes. Throws EditError when the object is a frame and its list cannot be stored.
  void apply();

 private:
  Objects& objects_;
  JtwNode& node_;
  bool renames_ = false;
  std::vector<std::function<void()>> changes_;
};

}  // namespace jtw
