#pragma once

#include <memory>

/// Owns an array made with new[] and frees it. Null when there is nothing to own.
template <class T>
using RTAutoPtr = std::unique_ptr<T[]>;
