#include "JtkCADExporter.h"

#include <exception>
#include <string>

#include "ExportRun.h"
#include "JtFormatError.h"
#include "JtSourceFile.h"
#include "JtkHierarchy.h"

JtkCADExporter::~JtkCADExporter() = default;

int JtkCADExporter::setOption(int option) {
  switch (option) {
    case PART_FILES:
    case SINGLE_FILE:
      partFiles_ = option == PART_FILES;
      return 1;
    case TESSELLATION:
    case EXACT_GEOMETRY:
      geometry_ = option;
      return 1;
    case VERSION_8_2:
      version_ = {8, 2};
      return 1;
    case VERSION_9_5:
      version_ = {9, 5};
      return 1;
    case VERSION_10_0:
      version_ = {10, 0};
      return 1;
    case VERSION_10_2:
      version_ = {10, 2};
      return 1;
    case RESERVED_36:
    case RESERVED_44:
    case RESERVED_46:
    case RESERVED_48:
    case RESERVED_50:
      return 1;
    default:
      return 0;
  }
}

int JtkCADExporter::exportHierarchy(JtkHierarchy* root) {
  jt::setLastError({});
  errorCode_.clear();
  if (!root) {
    jt::setLastError("there is nothing to export");
    return 0;
  }
  try {
    const jt::Ref<JtkHierarchy> held(root);
    report_ = JtkExportRun(*this, *root).run();
    return 1;
  } catch (const JtFormatError& error) {
    errorCode_ = error.code();
    jt::setLastError(error.what());
  } catch (const std::exception& error) {
    jt::setLastError(error, {});
    errorCode_ = jt::lastErrorCode().empty() ? "failed" : jt::lastErrorCode();
  }
  return 0;
}
