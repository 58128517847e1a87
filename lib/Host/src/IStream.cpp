#include "IStream.h"

#include <limits>

#include "StreamPosition.h"

std::string_view toText(IStreamResult result) {
  switch (result) {
    case IStreamResult::ok:
      return "ok";
    case IStreamResult::invalidArgument:
      return "invalid argument";
    case IStreamResult::accessDenied:
      return "access denied";
    case IStreamResult::notFound:
      return "no such file";
    case IStreamResult::notRegular:
      return "not a regular file";
    case IStreamResult::notCurrent:
      return "changed by another program since it was opened";
    case IStreamResult::mediumFull:
      return "no space left";
    case IStreamResult::outOfMemory:
      return "out of memory";
    case IStreamResult::ioError:
      return "input/output error";
  }
  return "unknown";
}

namespace host {

IStreamResult seekPosition(std::int64_t move, IStreamOrigin origin, std::uint64_t end,
                           std::uint64_t& position) {
  std::uint64_t from = 0;
  if (origin == IStreamOrigin::current) from = position;
  if (origin == IStreamOrigin::end) from = end;
  const auto distance = static_cast<std::uint64_t>(move);
  if (move < 0) {
    const std::uint64_t back = 0U - distance;
    if (back > from) return IStreamResult::invalidArgument;
    position = from - back;
  } else {
    if (distance > std::numeric_limits<std::uint64_t>::max() - from) {
      return IStreamResult::invalidArgument;
    }
    position = from + distance;
  }
  return IStreamResult::ok;
}

}  // namespace host
