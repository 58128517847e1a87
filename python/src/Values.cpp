#include "Values.h"

#include <pybind11/stl.h>

#include <array>
#include <type_traits>
#include <utility>
#include <variant>

#include "JtLastError.h"
#include "JtMetaData.h"
#include "JtNode.h"
#include "JtwEditError.h"
#include "JtwRoot.h"
#include "NodeHandle.h"
#include "VisMetaDataNode.h"

namespace binding {

py::str fileText(const std::string& bytes) {
  return py::reinterpret_steal<py::str>(
      PyUnicode_DecodeFSDefaultAndSize(bytes.data(), static_cast<py::ssize_t>(bytes.size())));
}

std::string pathOf(const py::object& path) {
  PyObject* bytes = nullptr;
  if (PyUnicode_FSConverter(path.ptr(), static_cast<void*>(&bytes)) == 0)
    throw py::error_already_set();
  const std::string text = py::reinterpret_steal<py::bytes>(bytes);
  // Names that mean something else to the program are files all the same.
  return text == "-" || text.starts_with("stream:") ? "./" + text : text;
}

py::array_t<double> matrixOf(const RTTran3D& placement) {
  py::array_t<double> matrix({4, 4});
  auto view = matrix.mutable_unchecked<2>();
  for (py::ssize_t row = 0; row < 4; ++row)
    for (py::ssize_t column = 0; column < 4; ++column)
      view(row, column) =
          placement(static_cast<std::size_t>(row), static_cast<std::size_t>(column));
  return matrix;
}

py::array_t<double> matrixOf(const jt::Matrix4& rowVectors) {
  return matrixOf(RTTran3D(rowVectors).transposed());
}

py::tuple colorOf(const ApiGraColor& color) {
  float red = 0;
  float green = 0;
  float blue = 0;
  color.getRGB(red, green, blue);
  return py::make_tuple(red, green, blue, color.getAlpha());
}

py::object boxOf(const jt::Box* box) {
  if (!box || !box->isValid()) return py::none();
  py::array_t<double> corners({2, 3});
  auto view = corners.mutable_unchecked<2>();
  for (py::ssize_t axis = 0; axis < 3; ++axis) {
    view(0, axis) = box->min[static_cast<std::size_t>(axis)];
    view(1, axis) = box->max[static_cast<std::size_t>(axis)];
  }
  return corners;
}

namespace {

py::object dateOf(const jt::DateFields& date) {
  return py::make_tuple(date.year, date.month + 1, date.day, date.hour, date.minute, date.second);
}

py::object metaValueOf(const JtMetaData::Value& value) {
  return std::visit(
      [](const auto& held) -> py::object {
        using T = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<T, std::monostate>)
          return py::none();
        else if constexpr (std::is_same_v<T, JtString>)
          return py::str(held.stringToMbs());
        else if constexpr (std::is_same_v<T, jt::DateFields>)
          return dateOf(held);
        else
          return py::cast(held);
      },
      value);
}

}  // namespace

py::object atomOf(const JtPropAtom* atom) {
  if (const auto* text = jt::as<JtStringPropAtom>(atom))
    return py::str(text->value().stringToMbs());
  if (const auto* integer = jt::as<JtInt32PropAtom>(atom)) return py::int_(integer->value());
  if (const auto* number = jt::as<JtFloatPropAtom>(atom)) return py::float_(number->value());
  if (const auto* date = jt::as<JtDatePropAtom>(atom)) return dateOf(date->value());
  if (const auto* four = jt::as<JtVector4fPropAtom>(atom))
    return py::tuple(py::cast(four->value()));
  return py::none();
}

py::dict propertiesOf(const JtNode& node) {
  py::dict properties;
  for (int i = 0; i < node.numProperties(); ++i) {
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    if (!node.getProperty(i, key, value)) continue;
    const py::object name = atomOf(key);
    if (!name.is_none() && !properties.contains(name)) properties[name] = atomOf(value);
  }
  return properties;
}

py::object metadataOf(JtNode* node) {
  auto* const holder = jt::as<VisMetaDataNode>(node);
  if (!holder) return py::none();
  if (!holder->ensureMetaData()) {
    if (const auto& error = jt::lastFormatError()) throw JtFormatError(*error);
    throw JtFormatError("damaged", jt::lastError());
  }
  const JtMetaData* const metaData = holder->metaData();
  if (!metaData) return py::none();
  py::dict values;
  for (const JtMetaData::Entry& entry : metaData->entries()) {
    const py::str key(entry.key.stringToMbs());
    if (!values.contains(key)) values[key] = metaValueOf(entry.value);
  }
  return values;
}

// --- Values that the library reads as texts

namespace {

/// An object names itself by its key, which needs no list of all objects; else by its address.
std::string addressOf(const NodeHandle& node) {
  JtwNode& object = node.get();
  const ApiProtoKey key = object.key();
  JtwNode* first = nullptr;
  if (!key.isNull()) node.component()->root().getNodeByKey(key, first);
  std::string address =
      first == &object ? std::to_string(key.getAsLong()) : node.objects().address(node.index());
  if (address.empty())
    jtw::failRefused(node.component()->path(), "not_supported", "the object has no key");
  return address;
}

bool isNumber(const py::handle& value) { return PyNumber_Check(value.ptr()) != 0; }

std::string numberText(const py::handle& value) {
  if (py::isinstance<py::int_>(value)) return py::str(value);
  return py::repr(py::float_(py::reinterpret_borrow<py::object>(value)));
}

}  // namespace

std::string settingText(const py::handle& value) {
  if (py::isinstance<py::str>(value)) return value.cast<std::string>();
  if (py::isinstance<py::bool_>(value)) return value.cast<bool>() ? "true" : "false";
  if (py::isinstance<NodeHandle>(value)) return addressOf(value.cast<const NodeHandle&>());
  const bool isArray = py::isinstance<py::array>(value);
  if (!isArray && !py::isinstance<py::sequence>(value)) {
    if (isNumber(value)) return numberText(value);
    throw py::type_error("a value is a text, a number, a truth, a list of numbers or of texts");
  }
  // Numbers row by row, or the lines of a text.
  const py::object all = isArray ? py::object(value.attr("ravel")().attr("tolist")())
                                 : py::reinterpret_borrow<py::object>(value);
  std::string text;
  bool isFirst = true;
  for (const py::handle item : all) {
    const bool isLine = py::isinstance<py::str>(item);
    if (!isFirst) text += isLine ? "\n" : ",";
    isFirst = false;
    text += settingText(item);
  }
  return text;
}

std::vector<jtw::Setting> settingsOf(const py::dict& values) {
  static constexpr std::array<std::pair<const char*, const char*>, 6> kNames{{
      {"placement", "loc"},
      {"unique_id", "uniqueId"},
      {"rel_string_id", "relStringId"},
      {"background_color", "backgroundColor"},
      {"geometry_color", "geomColor"},
      {"attached_to", "attachment"},
  }};
  std::vector<jtw::Setting> settings;
  settings.reserve(values.size());
  for (const auto& [key, value] : values) {
    auto name = key.cast<std::string>();
    for (const auto& [python, library] : kNames)
      if (name == python) name = library;
    const bool isDetached = value.is_none() && name == "attachment";
    settings.push_back({name, isDetached ? "none" : settingText(value)});
  }
  return settings;
}

}  // namespace binding
