// The compiled part of the Python module jtw.

#include "Bindings.h"
#include "Errors.h"
#include "Library.h"

PYBIND11_MODULE(_jtw, module) {
  module.doc() = "Components and JT files (ISO 14306): the compiled part of the module jtw.";
  module.attr("__version__") = JTW_VERSION;
  binding::translateErrors();
  binding::startLibrary();
  binding::py::module_::import("atexit").attr("register")(
      binding::py::cpp_function(&binding::stopLibrary));
  binding::bindReports(module);
  binding::bindNode(module);
  binding::bindComponent(module);
  binding::bindMesh(module);
  binding::bindGraph(module);
  binding::bindCompare(module);
  binding::bindPicture(module);
  binding::bindConvert(module);
}
