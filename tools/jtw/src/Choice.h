#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "JtwSelection.h"

namespace tool {

class Session;

/// The objects that a command is for: the one with the address KEY, those with several ones, or all
/// that --select has. One of these is given; settings and other arguments follow behind a KEY.
class Choice {
 public:
  /// What may follow behind DOC and KEY.
  enum class Others : std::uint8_t { none, settings, keys };

  /// Reads the command line. Throws Failure "usage" where neither or both are given.
  explicit Choice(const Session& session, Others others = Others::none);

  /// True for --select and for several KEYs: there may be any number of objects.
  bool isSelection() const noexcept { return selection_.has_value() || addresses_.size() > 1; }
  /// What was given: the first address, or the expression.
  const std::string& text() const noexcept { return text_; }
  /// Index of the first argument behind DOC and KEY.
  std::size_t firstArgument() const noexcept { return isSelection() ? 1 : 2; }
  /// Indices of the objects. Throws jtw::EditError, "unknown_key" also for an expression that holds
  /// for nothing.
  std::vector<std::size_t> of(const jtw::Objects& objects) const;

 private:
  std::string text_;
  std::vector<jtw::ObjectAddress> addresses_;
  std::optional<jtw::Selection> selection_;
};

}  // namespace tool
