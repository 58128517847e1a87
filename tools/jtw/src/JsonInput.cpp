#include "JsonInput.h"

#define JSON_NO_IO
#include <array>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>

#include "Failure.h"

namespace tool {
namespace {

using Json = nlohmann::json;

constexpr int kDepthLimit = 8;

/// Watches a document being parsed for what cannot be seen in the result.
class ParseWatch {
 public:
  explicit ParseWatch(const std::string& what) : what_(what) {}

  /// @return whether parsing goes on
  bool operator()(int depth, Json::parse_event_t event, const Json& parsed) {
    if (depth > kDepthLimit) problem_ = what_ + " is nested too deep";
    if (!problem_.empty()) return false;
    constexpr int kItemDepth = 2;
    if (event == Json::parse_event_t::object_start) {
      names_[static_cast<std::size_t>(depth) + 1].clear();
      if (depth == kItemDepth) ++items_;
    } else if (event == Json::parse_event_t::key) {
      const auto& name = parsed.get_ref<const std::string&>();
      if (!names_[static_cast<std::size_t>(depth)].insert(name).second) {
        problem_ = depth > kItemDepth ? list_ + "[" + std::to_string(items_ - 1) + "]" : what_;
        problem_ += " has the member '" + name + "' twice";
      }
      if (depth == 1) {
        list_ = name;
        items_ = 0;
      }
    }
    return problem_.empty();
  }
  const std::string& problem() const noexcept { return problem_; }

 private:
  const std::string& what_;
  std::array<std::set<std::string>, kDepthLimit + 2> names_;  // of the open objects, by depth
  std::string list_;                                          // the member that is being read
  std::size_t items_ = 0;                                     // of it
  std::string problem_;
};

}  // namespace

Json parseDocument(std::string_view text, const std::string& what, const std::string& file) {
  ParseWatch watch(what);
  Json root;
  try {
    root = Json::parse(text, std::ref(watch));
  } catch (const Json::parse_error& error) {
    // Not the parser's own text: it quotes bytes of the file.
    throw Failure(ExitCode::input, "not_json",
                  "this is not JSON from byte " + std::to_string(error.byte) + " on",
                  {.file = file});
  } catch (const Json::exception&) {
    throw Failure(ExitCode::input, "not_json", "a number in it is too large", {.file = file});
  }
  if (!watch.problem().empty()) throw DocumentError{watch.problem()};
  return root;
}

}  // namespace tool
