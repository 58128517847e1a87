#pragma once

#include <cstddef>
#include <functional>

namespace tool {

/// Does the pieces 0 to count - 1 of some work, on up to `jobs` threads, this one among them. What
/// the work throws comes out here, once; further pieces are not begun then.
void inParallel(unsigned jobs, std::size_t count, const std::function<void(std::size_t)>& work);

}  // namespace tool
