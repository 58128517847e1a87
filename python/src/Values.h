#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "ApiGraColor.h"
#include "JtBounds.h"
#include "JtPropAtom.h"
#include "JtXform.h"
#include "JtwNodeEdits.h"
#include "RTTran3D.h"

namespace binding {

namespace py = pybind11;

/// Bytes of a file name or an id as Python has them, whatever they are.
py::str fileText(const std::string& bytes);
/// The path that a text or an object with __fspath__ names.
std::string pathOf(const py::object& path);

/// A matrix for column vectors.
py::array_t<double> matrixOf(const RTTran3D& placement);
py::array_t<double> matrixOf(const jt::Matrix4& rowVectors);
/// Red, green, blue, alpha.
py::tuple colorOf(const ApiGraColor& color);
/// Lower and upper corner, one a row; None for no extent.
py::object boxOf(const jt::Box* box);

/// The value of a property; None for what has no form in Python.
py::object atomOf(const JtPropAtom* atom);
/// The properties of a JT node; of several with one name the first counts.
py::dict propertiesOf(const JtNode& node);
/// The metadata of a JT node in a segment of its own; None where it has none. Throws JtFormatError
/// when it cannot be read.
py::object metadataOf(JtNode* node);

/// What Python gives for a value of an object, as the text that the library reads.
std::string settingText(const py::handle& value);
/// The same for keyword arguments: unit="mm", placement=matrix, unique_id="x".
std::vector<jtw::Setting> settingsOf(const py::dict& values);

/// The value that a variant holds; None for std::monostate. For files that include pybind11/stl.h.
template <class Variant>
py::object variantValueOf(const Variant& value) {
  return std::visit(
      [](const auto& held) -> py::object {
        if constexpr (std::is_same_v<std::decay_t<decltype(held)>, std::monostate>)
          return py::none();
        else
          return py::cast(held);
      },
      value);
}

}  // namespace binding
