#include <algorithm>
#include <charconv>

#include "JtwEditError.h"
#include "JtwObjects.h"

namespace jtw {
namespace {

std::optional<std::int32_t> wholeNumber(std::string_view text) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) return {};
  return number;
}

/// Digits, perhaps behind a sign: never a name.
bool isNumber(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

[[noreturn]] void failAddress(const std::string& text, const std::string& why, std::size_t offset) {
  throw EditError(
      EditError::Kind::usage, "usage",
      "'" + text + "' is no address: " + why + " at character " + std::to_string(offset + 1), {},
      offset);
}

}  // namespace

ApiProtoKey parseKey(const std::string& text) {
  const auto number = wholeNumber(text);
  if (!number) failUsage("'" + text + "' is no key: a whole number of 32 bits");
  return ApiProtoKey(*number);
}

ObjectAddress::ObjectAddress(std::string_view text) : text_(text) {
  if (text_.empty()) failUsage("the address of the object is empty");
  if (isRoot()) return;
  if (text_.front() == '#') {
    readIds();
  } else if (text_.front() == '/') {
    readPath();
  } else if (isNumber(text_)) {
    key_ = parseKey(text_);
  } else {
    name_ = text_;
  }
}

void ObjectAddress::readIds() {
  const std::size_t colon = std::min(text_.find(':'), text_.size());
  for (std::size_t start = 1; start <= colon;) {
    const std::size_t end = std::min(text_.find('/', start), colon);
    const auto id = wholeNumber(std::string_view(text_).substr(start, end - start));
    if (!id || *id <= 0) failAddress(text_, "an object id is a number from 1 on,", start);
    nodeIds_.push_back(*id);
    start = end + 1;
  }
  if (colon == text_.size()) return;
  const auto key = wholeNumber(std::string_view(text_).substr(colon + 1));
  if (!key) failAddress(text_, "a key is a whole number,", colon + 1);
  key_ = ApiProtoKey(*key);
}

/// Reads "[2]", "[key 7]" or "[#12]". @return the place behind it
std::size_t ObjectAddress::readWhich(std::size_t open, Step& step) const {
  constexpr std::string_view kKey = "key ";
  const std::size_t close = text_.find(']', open);
  const std::size_t length = close == std::string::npos ? 0 : close - open - 1;
  const std::string_view which = std::string_view(text_).substr(open + 1, length);
  const bool isKey = which.starts_with(kKey);
  const bool isId = which.starts_with('#');
  const auto number = wholeNumber(which.substr(isKey ? kKey.size() : isId ? 1 : 0));
  if (!number || (!isKey && *number <= 0))
    failAddress(text_,
                "'[' needs a number from 1 on, 'key' and a key, or '#' and an object id, and ']'; "
                "a bracket in a name is written '\\[',",
                open);
  if (isKey)
    step.key = ApiProtoKey(*number);
  else if (isId)
    step.nodeId = *number;
  else
    step.number = static_cast<std::size_t>(*number);
  return close + 1;
}

void ObjectAddress::readPath() {
  for (std::size_t at = 1; at <= text_.size(); ++at) {
    Step step;
    for (; at < text_.size() && text_[at] != '/' && text_[at] != '['; ++at) {
      if (text_[at] == '\\' && ++at == text_.size())
        failAddress(text_, "a backslash needs a character behind it,", at - 1);
      step.name += text_[at];
    }
    const bool hasWhich = at < text_.size() && text_[at] == '[';
    if (hasWhich) {
      at = readWhich(at, step);
      if (at < text_.size() && text_[at] != '/')
        failAddress(text_, "']' ends a name; '/' is expected,", at);
    }
    if (step.name.empty() && !hasWhich) failAddress(text_, "a name is missing,", at);
    path_.push_back(std::move(step));
  }
}

}  // namespace jtw
