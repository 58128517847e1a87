#include "JsonInput.h"

#define JSON_NO_IO
#include <cstddef>
#include <nlohmann/json.hpp>
#include <set>
#include <vector>

#include "Failure.h"

namespace tool {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kDepthLimit = 8;

/// Reads a document for what the parsed one does not show: how deep it is, members given twice. The
/// parser's own callback is no way to do so: it looks at a whole list again after each object in
/// it.
class DocumentCheck : public nlohmann::json_sax<Json> {
 public:
  explicit DocumentCheck(const std::string& what) : what_(what) {}

  /// What is wrong; empty when nothing is.
  const std::string& problem() const noexcept { return problem_; }
  /// Byte at which the text is no JSON, from 1 on.
  std::size_t errorAt() const noexcept { return errorAt_; }
  bool isTooLarge() const noexcept { return isTooLarge_; }

  bool null() override { return value(); }
  bool boolean(bool /*value*/) override { return value(); }
  bool number_integer(number_integer_t /*value*/) override { return value(); }
  bool number_unsigned(number_unsigned_t /*value*/) override { return value(); }
  bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return value(); }
  bool string(string_t& /*value*/) override { return value(); }
  bool binary(binary_t& /*value*/) override { return value(); }
  bool start_object(std::size_t /*size*/) override { return open(true); }
  bool start_array(std::size_t /*size*/) override { return open(false); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }

  bool key(string_t& name) override {
    Level& level = levels_.back();
    if (!level.names.insert(name).second) {
      levels_.pop_back();
      problem_ = place() + " has the member '" + name + "' twice";
      return false;
    }
    level.name = name;
    return true;
  }

  bool parse_error(std::size_t position, const std::string& /*token*/,
                   const nlohmann::detail::exception& error) override {
    errorAt_ = position;
    constexpr int kOutOfRange = 406;
    isTooLarge_ = error.id == kOutOfRange;
    return false;
  }

 private:
  struct Level {
    bool isObject = false;
    std::set<std::string> names{};
    std::string name{};     // of the member that is being read
    std::size_t count = 0;  // of items so far
  };

  /// Where the parser is: "items[2].place".
  std::string place() const {
    std::string text;
    for (const Level& level : levels_) {
      if (level.isObject)
        text += (text.empty() ? "" : ".") + level.name;
      else
        text += "[" + std::to_string(level.count - 1) + "]";
    }
    return text.empty() ? what_ : text;
  }

  bool value() {
    if (!levels_.empty()) ++levels_.back().count;
    return true;
  }
  bool open(bool isObject) {
    value();
    if (levels_.size() == kDepthLimit) {
      problem_ = what_ + " is nested too deep";
      return false;
    }
    levels_.push_back({.isObject = isObject});
    return true;
  }
  bool close() {
    levels_.pop_back();
    return true;
  }

  const std::string& what_;
  std::vector<Level> levels_;
  std::string problem_;
  std::size_t errorAt_ = 0;
  bool isTooLarge_ = false;
};

}  // namespace

Json parseDocument(std::string_view text, const std::string& what, const std::string& file) {
  DocumentCheck check(what);
  if (!Json::sax_parse(text, &check)) {
    if (!check.problem().empty()) throw DocumentError{check.problem()};
    // Not the parser's own text: it quotes bytes of the file.
    throw Failure(ExitCode::input, "not_json",
                  check.isTooLarge()
                      ? std::string("a number in it is too large")
                      : "this is not JSON from byte " + std::to_string(check.errorAt()) + " on",
                  {.file = file});
  }
  return Json::parse(text);
}

std::string textIn(const Json& object, const char* name) {
  if (!object.is_object()) return {};
  const auto found = object.find(name);
  return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

}  // namespace tool
