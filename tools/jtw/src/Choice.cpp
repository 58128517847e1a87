#include "Choice.h"

#include <algorithm>

#include "Failure.h"
#include "Session.h"

namespace tool {

Choice::Choice(const Session& session, Others others) {
  const auto& words = session.arguments().positional();
  if (const std::string* expression = session.arguments().value("select")) {
    if (others != Others::settings && words.size() > 1)
      failUsage("'" + words[1] + "' and --select: the objects are named by one of the two");
    text_ = *expression;
    selection_.emplace(text_);
    return;
  }
  if (words.size() < 2)
    failUsage("an object is missing: its KEY, or --select EXPRESSION for those that it holds for");
  text_ = words[1];
  const std::size_t end = others == Others::keys ? words.size() : 2;
  for (std::size_t i = 1; i < end; ++i) addresses_.emplace_back(words[i]);
}

std::vector<std::size_t> Choice::of(const jtw::Objects& objects) const {
  if (selection_) return selection_->someOf(objects);
  std::vector<std::size_t> found;
  for (const jtw::ObjectAddress& address : addresses_)
    if (const std::size_t index = objects.find(address);
        std::ranges::find(found, index) == found.end())
      found.push_back(index);
  return found;
}

}  // namespace tool
