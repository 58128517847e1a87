#include "JtkXTEntityFactory.h"

#include <array>
#include <atomic>

namespace jtk {
namespace {

std::atomic<int> unitOfXT{NO_UNIT};

// By code.
constexpr std::array kUnits{
    JtPartUtil::unknown,     JtPartUtil::micrometers, JtPartUtil::millimeters,
    JtPartUtil::centimeters, JtPartUtil::decimeters,  JtPartUtil::meters,
    JtPartUtil::inches,      JtPartUtil::kilometers,  JtPartUtil::feet,
    JtPartUtil::yards,       JtPartUtil::miles,       JtPartUtil::mils};

}  // namespace

JtPartUtil::Unit unitOfCode(int code) noexcept {
  if (code < 0 || static_cast<std::size_t>(code) >= kUnits.size()) return JtPartUtil::unknown;
  return kUnits[static_cast<std::size_t>(code)];
}

}  // namespace jtk

int JtkXTEntityFactory::setUnits(int code) {
  if (code != jtk::NO_UNIT && jtk::unitOfCode(code) == JtPartUtil::unknown) return 0;
  jtk::unitOfXT = code;
  return 1;
}

int JtkXTEntityFactory::units() { return jtk::unitOfXT; }
