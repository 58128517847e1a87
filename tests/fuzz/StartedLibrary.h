#pragma once

#include "JtPartition.h"
#include "JtwManager.h"

/// Starts the library with the first input. Shapes are not decoded in the background: a finding
/// belongs to the input that runs.
inline void startLibrary() {
  static const bool isReady = [] {
    JtwManager::init();
    JtPartition::_autoLoadShapes = false;
    return true;
  }();
  (void)isReady;
}
