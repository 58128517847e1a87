// What operations report: saves, findings, part files.

#include <pybind11/stl.h>

#include "Bindings.h"
#include "JtAssembly.h"
#include "JtDiagnostic.h"
#include "JtInspect.h"
#include "JtSave.h"
#include "Values.h"

namespace binding {
namespace {

std::optional<std::string> orNone(const std::string& text) {
  return text.empty() ? std::nullopt : std::optional<std::string>(text);
}

const char* actionName(jt::SegmentAction::Kind kind) {
  using Kind = jt::SegmentAction::Kind;
  switch (kind) {
    case Kind::copied:
      return "copied";
    case Kind::rewritten:
      return "rewritten";
    case Kind::added:
      return "added";
    case Kind::dropped:
      return "dropped";
  }
  return "";
}

void bindSave(py::module_& module) {
  py::class_<jt::SegmentAction>(module, "SegmentAction", "What a save did with one segment.")
      .def_property_readonly(
          "id", [](const jt::SegmentAction& self) { return self.id.text(); }, "Id of the segment.")
      .def_property_readonly(
          "type", [](const jt::SegmentAction& self) { return jt::segmentName(self.type); },
          "Name of its type, such as \"Shape LOD0\".")
      .def_property_readonly(
          "action", [](const jt::SegmentAction& self) { return actionName(self.kind); },
          "\"copied\", \"rewritten\", \"added\" or \"dropped\".")
      .def_property_readonly(
          "reason", [](const jt::SegmentAction& self) { return orNone(self.reason); },
          "Why it was not copied; None where it was.")
      .def("__repr__", [](const jt::SegmentAction& self) {
        return std::string("<jtw.SegmentAction ") + actionName(self.kind) + " " +
               jt::segmentName(self.type) + ">";
      });
  py::class_<jt::LostGeometry>(module, "LostGeometry", "Exact geometry that a save left out.")
      .def_property_readonly(
          "part", [](const jt::LostGeometry& self) { return orNone(self.part); },
          "Name of the part.")
      .def_property_readonly(
          "type", [](const jt::LostGeometry& self) { return jt::segmentName(self.type); },
          "Name of the segment's type.")
      .def_property_readonly(
          "reason", [](const jt::LostGeometry& self) { return orNone(self.reason); },
          "Why it is left out.");
  py::class_<jt::SaveReport>(module, "SaveReport", "What a save did, or would do.")
      .def_property_readonly(
          "file", [](const jt::SaveReport& self) { return fileText(self.file); },
          "Path of the file that was written.")
      .def_readonly("bytes", &jt::SaveReport::bytes, "Length of the file; 0 in a dry run.")
      .def_property_readonly(
          "version", [](const jt::SaveReport& self) { return self.version.text(); },
          "Its JT version.")
      .def_readonly("segments", &jt::SaveReport::segments, "What was done with each segment.")
      .def_readonly("warnings", &jt::SaveReport::warnings, "What to know of the save.")
      .def_readonly("lost_geometry", &jt::SaveReport::lostGeometry,
                    "Exact geometry that the version has no form for.")
      .def_readonly("also_saved", &jt::SaveReport::alsoSaved,
                    "Reports of the part files that were saved first.")
      .def("__repr__", [](const jt::SaveReport& self) {
        return "<jtw.SaveReport '" + self.file + "', version " + self.version.text() + ", " +
               std::to_string(self.segments.size()) + " segments>";
      });
}

}  // namespace

void bindReports(py::module_& module) {
  py::class_<jt::Diagnostic>(module, "Finding", "Something noticed in a file.")
      .def_readonly("code", &jt::Diagnostic::code, "Stable and meant for programs.")
      .def_readonly("message", &jt::Diagnostic::message, "For readers.")
      .def_property_readonly(
          "segment", [](const jt::Diagnostic& self) { return orNone(self.segment); },
          "The segment that it is in, or None.")
      .def_readonly("offset", &jt::Diagnostic::offset,
                    "Byte in the file or in the inflated segment, or None.")
      .def_readonly("is_error", &jt::Diagnostic::isError,
                    "Whether the file violates the format, not conventions alone.")
      .def("__repr__", [](const jt::Diagnostic& self) {
        return "<jtw.Finding " + self.code + ": " + self.message + ">";
      });
  py::class_<jt::PartFile>(module, "PartFile", "A file that an assembly refers to.")
      .def_property_readonly(
          "file", [](const jt::PartFile& self) { return fileText(self.file); }, "Its path.")
      .def_property_readonly(
          "state", [](const jt::PartFile& self) { return jt::stateName(self.state); },
          "\"read\", \"missing\", \"damaged\" or \"outside\".")
      .def_property_readonly(
          "error", [](const jt::PartFile& self) { return orNone(self.error); },
          "Why it is not open; None when it is.")
      .def("__repr__", [](const jt::PartFile& self) {
        return "<jtw.PartFile '" + self.file + "', " + jt::stateName(self.state) + ">";
      });
  bindSave(module);
}

}  // namespace binding
