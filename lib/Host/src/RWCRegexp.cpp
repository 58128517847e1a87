#if defined(__GNUC__) && !defined(__clang__)
// A false alarm of g++ 12 inside <regex> when sanitizers are on.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include "RWCRegexp.h"

#include <regex>

struct RWCRegexp::Compiled {
  std::regex regex;
};

RWCRegexp::RWCRegexp(const std::string& pattern) {
  try {
    compiled_ = std::make_shared<const Compiled>(Compiled{std::regex(pattern)});
  } catch (const std::regex_error&) {
    compiled_ = nullptr;
  }
}

std::size_t RWCRegexp::index(std::string_view text, std::size_t* length) const {
  if (length != nullptr) *length = 0;
  if (!compiled_ || text.size() > TEXT_LIMIT) return std::string::npos;
  try {
    std::match_results<std::string_view::const_iterator> match;
    if (!std::regex_search(text.begin(), text.end(), match, compiled_->regex)) {
      return std::string::npos;
    }
    if (length != nullptr) *length = static_cast<std::size_t>(match.length());
    return static_cast<std::size_t>(match.position());
  } catch (const std::regex_error&) {  // the search got too complex
    return std::string::npos;
  }
}
