// Two files: what is different, as a list, as a patch, merged. And what is wrong with one.

#include <pybind11/stl.h>

#include <array>
#include <span>
#include <utility>

#include "Bindings.h"
#include "Component.h"
#include "DifferenceText.h"
#include "Examination.h"
#include "Failure.h"
#include "InputFile.h"
#include "JtCompare.h"
#include "JtwEditError.h"
#include "JtwMerge.h"
#include "JtwPatch.h"
#include "JtwTree.h"
#include "Library.h"
#include "Options.h"
#include "PatchDocument.h"
#include "Sources.h"
#include "Values.h"

namespace binding {
namespace {

// --- Differences

struct Comparison {
  jt::CompareResult result;
  std::vector<jt::Difference> differences;
  bool isWhole = true;  ///< all part files could be read
};

bool areRead(const JtPartition& top) {
  for (const jt::PartFile& part : jt::partFilesOf(top))
    if (part.state != jt::PartFile::State::read) return false;
  return true;
}

Comparison diff(const py::object& a, const py::object& b, double tolerance, std::size_t limit,
                const std::vector<std::string>& ignore) {
  Source first(a);
  Source second(b);
  jt::CompareOptions options;
  options.tolerance = tolerance;
  options.maxDifferences = limit;
  options.identityKeys = {jtw::keyProperty()};
  for (const std::string& name : ignore) options.ignored.push_back(tool::kindNamed(name, ""));
  if (!(tolerance >= 0)) tool::failUsage("tolerance is no number from 0 on");
  const Released released;
  first.open();
  second.open();
  jt::DifferenceList list;
  Comparison comparison;
  comparison.result = jt::compare(first.partition(), second.partition(), options, list);
  comparison.differences = std::move(list.all);
  comparison.isWhole = areRead(first.partition()) && areRead(second.partition());
  return comparison;
}

std::string textOf(const jt::Difference& difference) {
  return difference.path + " " + jt::differenceName(difference.kind) +
         (difference.name.empty() ? "" : " " + difference.name);
}

void bindDiff(py::module_& module) {
  using jt::Difference;
  py::class_<Difference>(module, "Difference", "One difference between two files.")
      .def_readonly("path", &Difference::path, "Names of the nodes down to the one it is about.")
      .def_property_readonly(
          "kind", [](const Difference& self) { return jt::differenceName(self.kind); },
          "\"node\", \"type\", \"position\", \"name\", \"field\", \"attribute\", \"property\", "
          "\"metadata\", \"geometry\", \"segment\" or \"parent\".")
      .def_readonly("name", &Difference::name, "Field or property; may be empty.")
      .def_property_readonly(
          "a", [](const Difference& self) { return variantValueOf(self.a); },
          "The value on the first side; None where that has nothing.")
      .def_property_readonly(
          "b", [](const Difference& self) { return variantValueOf(self.b); }, "On the second side.")
      .def_readonly("key", &Difference::key, "Key of the object; empty when it has none.")
      .def_property_readonly(
          "counts",
          [](const Difference& self) {
            py::dict counts;
            for (const jt::ComparedCount& count : self.counts)
              counts[count.name] = py::make_tuple(count.a, count.b);
            return counts;
          },
          "Of geometry: how many triangles, vertices, ... each side has, by name.")
      .def_property_readonly(
          "moved",
          [](const Difference& self) -> py::object {
            if (!self.moved) return py::none();
            return py::make_tuple(self.moved->translation, self.moved->degrees, self.moved->axis);
          },
          "Of a placement: the way of the origin in millimetres, the angle in degrees and the axis "
          "of the motion; None when it is none.")
      .def("__repr__",
           [](const Difference& self) { return "<jtw.Difference " + textOf(self) + ">"; });
  py::class_<Comparison>(module, "Comparison", "What a comparison found.")
      .def_property_readonly(
          "same", [](const Comparison& self) { return self.result.isSame() && self.isWhole; },
          "True when nothing differs, and all part files could be read.")
      .def_property_readonly(
          "count", [](const Comparison& self) { return self.result.differences; },
          "How many differences there are, listed or not.")
      .def_property_readonly(
          "skipped", [](const Comparison& self) { return self.result.skipped; },
          "Things of unknown meaning that could not be compared.")
      .def_readonly("differences", &Comparison::differences, "Those that are listed.")
      .def("__len__", [](const Comparison& self) { return self.result.differences; })
      .def("__iter__", [](const Comparison& self) { return py::iter(py::cast(self.differences)); })
      .def("__repr__", [](const Comparison& self) {
        return "<jtw.Comparison, " + std::to_string(self.result.differences) + " differences>";
      });
  module.def("diff", &diff, py::arg("a"), py::arg("b"), py::kw_only(), py::arg("tolerance") = 0.0,
             py::arg("limit") = 1000, py::arg("ignore") = std::vector<std::string>(),
             R"(What is different between two files or components, by meaning.

a, b       paths, files or components, as they are now
tolerance  how far apart lengths may be, in millimetres
limit      how many differences are listed
ignore     kinds of differences that do not count

>>> component["Arm"].name = "Boom"
>>> [(d.kind, d.a, d.b) for d in jtw.diff(cell, component)]
[('name', 'Arm', 'Boom')])");
}

// --- Patches

std::string changeText(const jtw::PatchChange& change) {
  return change.at + " " + jtw::patchWhatName(change.what) +
         (change.name.empty() ? "" : " " + change.name);
}

jtw::Patch makePatch(const py::object& a, const py::object& b, bool partial) {
  ComponentSource first(a);
  ComponentSource second(b);
  const Released released;
  first.open();
  second.open();
  OpenComponent& from = first.get();
  OpenComponent& to = second.get();
  from.settle();
  to.settle();
  jtw::Patch patch =
      jtw::difference(jtw::ComponentFacts(from.objects()), jtw::ComponentFacts(to.objects()));
  patch.base = from.path();
  if (partial) return patch;
  // The changes are tried on it and taken back.
  from.objectsGone();
  const auto losses = jtw::lossesOf(from.objects(), to.root(), patch, 10);
  if (losses.empty()) return patch;
  std::string text;
  for (const jt::Difference& loss : losses) text += (text.empty() ? "" : "; ") + textOf(loss);
  throw tool::Failure(tool::ExitCode::no, "not_in_patch", "a patch cannot hold this: " + text,
                      {.file = to.path()});
}

struct Application {
  std::size_t applied = 0;
  std::vector<std::pair<jtw::PatchChange, std::string>> misfits;
};

Application apply(const ComponentPtr& component, const jtw::Patch& patch, bool force) {
  component->prepareChange();
  component->objectsGone();
  const jtw::ApplyResult result = jtw::applyPatch(component->objects(), patch, force);
  Application application{.applied = result.applied, .misfits = {}};
  for (const jtw::PatchMisfit& misfit : result.misfits)
    application.misfits.emplace_back(patch.changes[misfit.change], misfit.reason);
  if (!force && !application.misfits.empty())
    jtw::failRefused(component->path(), "patch_does_not_fit",
                     std::to_string(application.misfits.size()) +
                         " changes do not fit; the first is (" +
                         changeText(application.misfits.front().first) +
                         "): " + application.misfits.front().second);
  return application;
}

void bindPatch(py::module_& module) {
  using jtw::Patch;
  using jtw::PatchChange;
  py::class_<PatchChange>(module, "Change", "One change of a patch.")
      .def_readonly("at", &PatchChange::at,
                    "The object: \"root\", its key, or \"7/0/1\" for a node below one.")
      .def_property_readonly(
          "what", [](const PatchChange& self) { return jtw::patchWhatName(self.what); },
          "\"object\", \"parent\", \"order\", \"value\" or \"property\".")
      .def_readonly("name", &PatchChange::name, "Of a value, an order or a property; else empty.")
      .def_property_readonly(
          "before", [](const PatchChange& self) { return variantValueOf(self.before); },
          "The old value, or None.")
      .def_property_readonly(
          "after", [](const PatchChange& self) { return variantValueOf(self.after); },
          "The new value, or None.")
      .def("__repr__",
           [](const PatchChange& self) { return "<jtw.Change " + changeText(self) + ">"; });
  py::class_<Patch>(module, "Patch", "The changes that lead from one component to another.")
      .def_readonly("changes", &Patch::changes, "In the order of the objects.")
      .def("to_json", &tool::patchText, "The patch as a document, which the program jtw reads.")
      .def_static(
          "from_json", [](const std::string& text) { return tool::readPatch(text, "patch"); },
          py::arg("text"), "The patch of such a document. Raises Error.")
      .def("__len__", [](const Patch& self) { return self.changes.size(); })
      .def("__iter__", [](const Patch& self) { return py::iter(py::cast(self.changes)); })
      .def("__repr__", [](const Patch& self) {
        return "<jtw.Patch, " + std::to_string(self.changes.size()) + " changes>";
      });
  module.def(
      "patch", &makePatch, py::arg("a"), py::arg("b"), py::kw_only(), py::arg("partial") = false,
      R"(The changes that lead from component `a` to `b`: paths or components, as they are now.

Raises Error "not_in_patch" for what no patch can hold, such as geometry; partial leaves that out.

>>> component["Arm"].name = "Boom"
>>> patch = jtw.patch(cell, component)
>>> with jtw.open(cell) as other:
...     print(other.apply(patch).applied, other["Boom"].key)
1 3)");
  py::class_<Application>(module, "Application", "What applying a patch did.")
      .def_readonly("applied", &Application::applied, "How many changes were made.")
      .def_readonly("misfits", &Application::misfits, "Changes that were left out, and why.");
  py::class_<OpenComponent, ComponentPtr>(module.attr("Component"))
      .def("apply", &apply, py::call_guard<Locked>(), py::arg("patch"), py::kw_only(),
           py::arg("force") = false,
           R"(Makes the changes of a patch, all or none.

force  what does not fit is left out; else Error "patch_does_not_fit" is raised)");
}

// --- Merging

struct Merge {
  jtw::ComponentMerge found;
  std::optional<jt::SaveReport> saved;
};

jtw::MergeSide sideOf(const std::optional<std::string>& name) {
  if (!name) return jtw::MergeSide::neither;
  if (*name == "ours") return jtw::MergeSide::ours;
  if (*name == "theirs") return jtw::MergeSide::theirs;
  tool::failUsage("side is '" + *name + "', not ours or theirs");
}

Merge merge(const py::object& base, const py::object& ours, const py::object& theirs,
            const py::object& output, const std::optional<std::string>& side, bool dryRun) {
  const std::array<std::string, 3> paths{pathOf(base), pathOf(ours), pathOf(theirs)};
  const std::string target = pathOf(output);
  const jtw::MergeSide chosen = sideOf(side);
  const jt::SaveOptions options = saveOptions({}, dryRun);
  const Released released;
  const std::string file = tool::DocumentName(target).isFolder ? tool::jtFileOf(target) : target;
  std::array<ComponentPtr, 3> opened;
  for (std::size_t i = 0; i < opened.size(); ++i) opened[i] = OpenComponent::open(paths[i]);
  Merge merge;
  merge.found = jtw::mergeComponents(opened[0]->objects(), opened[1]->objects(),
                                     opened[2]->objects(), chosen);
  if (merge.found.conflictCount() > 0 && chosen == jtw::MergeSide::neither) return merge;
  OpenComponent& start = *opened[merge.found.startsFromTheirs ? 2 : 1];
  if (!jtw::applyPatch(start.objects(), merge.found.result.patch).misfits.empty())
    jtw::failRefused(start.path(), "not_supported", "the changes of both sides do not go together");
  merge.saved = start.saveTo(file, options);
  return merge;
}

void bindMerge(py::module_& module) {
  using jtw::MergeConflict;
  py::class_<MergeConflict> conflict(module, "Conflict", "Something that both sides changed.");
  conflict.def_readonly("at", &MergeConflict::at, "The object, as in patches.")
      .def_property_readonly(
          "what", [](const MergeConflict& self) { return jtw::patchWhatName(self.what); },
          "As Change.what.")
      .def_readonly("name", &MergeConflict::name, "Of a value, an order or a property.")
      .def_readonly("reason", &MergeConflict::reason, "For readers.");
  const auto value = [&conflict](const char* name, auto member, const char* text) {
    conflict.def_property_readonly(
        name, [member](const MergeConflict& self) { return variantValueOf(self.*member); }, text);
  };
  value("base", &MergeConflict::base, "The value that both sides had.");
  value("ours", &MergeConflict::ours, "The value of ours.");
  value("theirs", &MergeConflict::theirs, "The value of theirs.");
  py::class_<Merge>(module, "Merge", "What a merge found and did.")
      .def_property_readonly(
          "conflicts", [](const Merge& self) { return self.found.result.conflicts; },
          "What both sides changed, each in its own way; those that a side decided too.")
      .def_property_readonly(
          "content_conflict",
          [](const Merge& self) -> std::optional<std::pair<jt::Difference, jt::Difference>> {
            if (!self.found.content) return std::nullopt;
            return std::pair(self.found.content->ours, self.found.content->theirs);
          },
          "A difference of ours and one of theirs, when both changed what no patch can hold.")
      .def_property_readonly(
          "taken",
          [](const Merge& self) {
            py::list taken;
            for (const jtw::MergedChange& change : self.found.result.taken) {
              const char* const side = !change.theirs ? "ours" : change.ours ? "both" : "theirs";
              taken.append(py::make_tuple(side, change.change));
            }
            return taken;
          },
          "What the merged component has of the sides: \"ours\", \"theirs\" or \"both\", and the "
          "change.")
      .def_property_readonly(
          "patch", [](const Merge& self) { return self.found.result.patch; },
          "The changes that lead from where it starts to the merged component.")
      .def_readonly("saved", &Merge::saved,
                    "The report of the save; None when conflicts kept it from being saved.");
  module.def("merge", &merge, py::arg("base"), py::arg("ours"), py::arg("theirs"),
             py::arg("output"), py::kw_only(), py::arg("side") = py::none(),
             py::arg("dry_run") = false,
             R"(Merges the changes that two sides made to a component, object by object, and saves.

With conflicts nothing is saved unless a side is chosen that decides them: "ours" or "theirs".)");
}

// --- Verification

tool::Verdict verify(const py::object& path, const std::optional<double>& properties) {
  const std::string file = pathOf(path);
  const Released released;
  tool::Verdict verdict = tool::examine(file, {.limits = {}, .properties = properties}, {});
  if (const jt::Diagnostic* finding = verdict.unreadable())
    throw tool::Failure(tool::ExitCode::input, finding->code, finding->message,
                        {.file = file, .segment = finding->segment, .offset = finding->offset});
  return verdict;
}

void bindVerify(py::module_& module) {
  py::class_<tool::PartVerdict>(module, "PartVerdict", "A part file, and what is wrong with it.")
      .def_readonly("part", &tool::PartVerdict::part, "The part file.")
      .def_readonly("findings", &tool::PartVerdict::findings, "Errors and warnings.")
      .def_property_readonly("sound", &tool::PartVerdict::isSound, "True without errors.");
  py::class_<tool::Verdict>(module, "Verdict", "What verify() found in a file.")
      .def_readonly("findings", &tool::Verdict::findings, "Errors and warnings in the file itself.")
      .def_readonly("parts", &tool::Verdict::parts, "Its part files, with theirs.")
      .def_readonly("compared", &tool::Verdict::compared,
                    "Parts whose validation properties were compared; None when not asked for.")
      .def_property_readonly("sound", &tool::Verdict::isSound,
                             "True when neither it nor a part file has an error.")
      .def("__bool__", &tool::Verdict::isSound)
      .def("__repr__", [](const tool::Verdict& self) {
        return "<jtw.Verdict, " + self.file + (self.isSound() ? ": sound>" : ": not sound>");
      });
  module.def("verify", &verify, py::arg("path"), py::kw_only(), py::arg("properties") = py::none(),
             R"(Reads and decodes everything in a JT file and its part files.

properties  also compares the validation properties of parts, within this tolerance
Raises Error when the file is missing or no JT file; whatever else is wrong is among the findings.

>>> jtw.verify(cell).sound
True)");
}

}  // namespace

void bindCompare(py::module_& module) {
  bindDiff(module);
  bindPatch(module);
  bindMerge(module);
  bindVerify(module);
}

}  // namespace binding
