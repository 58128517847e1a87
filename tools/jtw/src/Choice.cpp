#include "Choice.h"

#include "Failure.h"
#include "Session.h"

namespace tool {

Choice::Choice(const Session& session, Others others) {
  const auto& words = session.arguments().positional();
  if (const std::string* expression = session.arguments().value("select")) {
    if (others == Others::none && words.size() > 1)
      failUsage("'" + words[1] + "' and --select: the objects are named by one of the two");
    text_ = *expression;
    selection_.emplace(text_);
    return;
  }
  if (words.size() < 2)
    failUsage("an object is missing: its KEY, or --select EXPRESSION for those that it holds for");
  text_ = words[1];
  address_.emplace(text_);
}

std::vector<std::size_t> Choice::of(const jtw::Objects& objects) const {
  if (address_) return {objects.find(*address_)};
  return selection_->someOf(objects);
}

}  // namespace tool
