#include "storage/OpenWithoutShapes.h"

#include <utility>

namespace jt::storage {
namespace {

class ShapesStay {
 public:
  ShapesStay() = default;
  ~ShapesStay() { JtPartition::_autoLoadShapes = before_; }
  ShapesStay(const ShapesStay&) = delete;
  ShapesStay& operator=(const ShapesStay&) = delete;

 private:
  const bool before_ = std::exchange(JtPartition::_autoLoadShapes, false);
};

}  // namespace

Ref<JtPartition> openWithoutShapes(JtStorageLocation& place) {
  const ShapesStay none;
  JtPartition* opened = nullptr;
  JtPartition::openPartition(&place, nullptr, opened);
  return Ref<JtPartition>::adopt(opened);
}

}  // namespace jt::storage
