#pragma once

#include "JtkExport.h"

/// Starts and stops the toolkit. Starts are counted: every successful start wants one stop. Safe
/// from any thread.
class JTK_API JtkEntityFactory {
 public:
  /// Starts the toolkit.
  /// @param brepKernel   a kernel for precise geometry; the toolkit has none but 0: none
  /// @param environment  0: the options of the toolkit itself
  /// @param path         folder of a kernel; null: none
  /// @return 1 on success; 0 for options that this toolkit does not have
  static int init(int brepKernel = 0, int environment = 0, const char* path = nullptr);
  /// Takes one start back. @return 1 on success; 0 when the toolkit is not running
  static int fini();
  /// True between a start and the stop that belongs to it.
  static bool isRunning();
};
