#include "Errors.h"

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "Failure.h"
#include "JtFormatError.h"
#include "JtwEditError.h"

namespace binding {
namespace {

namespace py = pybind11;

void raise(const std::string& code, const std::string& message, const jt::FilePosition& where) {
  const py::object type = py::module_::import("jtw._errors").attr("Error");
  const auto orNone = [](const std::string& text) -> py::object {
    return text.empty() ? py::none() : py::object(py::str(text));
  };
  const py::object error = type(message, code, orNone(where.file), orNone(where.segment),
                                where.offset ? py::object(py::int_(*where.offset)) : py::none());
  PyErr_SetObject(type.ptr(), error.ptr());
}

void translate(std::exception_ptr thrown) {
  if (!thrown) return;
  try {
    std::rethrow_exception(thrown);
  } catch (const tool::Failure& failure) {
    raise(failure.code(), failure.what(), failure.where());
  } catch (const JtFormatError& error) {
    raise(error.code(), error.message(), error.where());
  } catch (const jtw::EditError& error) {
    raise(error.code(), error.what(), {.file = error.document(), .offset = error.offset()});
  }
}

}  // namespace

void translateErrors() { py::register_exception_translator(translate); }

}  // namespace binding
