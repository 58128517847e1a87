#include "JtwScript.h"

#include <algorithm>
#include <array>
#include <deque>
#include <unordered_map>
#include <utility>

#include "EditTransaction.h"
#include "JtwEditError.h"
#include "JtwEdits.h"
#include "JtwNearestName.h"
#include "JtwSelection.h"
#include "JtwValueText.h"

namespace jtw {
namespace {

/// The arguments of a step. What is not taken is a setting.
class StepArguments {
 public:
  using Labels = std::unordered_map<std::string, long>;

  /// @param labels of new objects, with their keys: addresses may name them
  StepArguments(const ScriptStep& step, const Labels& labels) : settings_(step.arguments) {
    for (Setting& setting : settings_) resolve(setting, labels);
  }

  const std::string* take(const char* name) {
    const auto found = std::ranges::find(settings_, name, &Setting::name);
    if (found == settings_.end()) return nullptr;
    taken_.push_back(std::move(*found));
    settings_.erase(found);
    return &taken_.back().value;
  }
  std::string takeOr(const char* name, const char* fallback) {
    const std::string* value = take(name);
    return value ? *value : fallback;
  }
  bool takeTruth(const char* name) {
    const std::string* value = take(name);
    return value && parseTruth(name, *value);
  }
  const std::vector<Setting>& settings() const noexcept { return settings_; }
  void requireNoSettings() const {
    if (!settings_.empty()) failUsage("there is no argument '" + settings_.front().name + "'");
  }

 private:
  /// Puts the key of an object in the place of its label.
  static void resolve(Setting& setting, const Labels& labels) {
    const bool isAddress =
        setting.name == "key" || setting.name == "parent" || setting.name == "attachment";
    std::string& value = setting.value;
    if (!isAddress || !value.starts_with('@')) return;
    const std::size_t end = std::min(value.find(':'), value.size());
    const auto found = labels.find(value.substr(1, end - 1));
    if (found == labels.end()) failUsage("no object has the label " + value.substr(0, end));
    value.replace(0, end, std::to_string(found->second));
  }

  std::vector<Setting> settings_;
  std::deque<Setting> taken_;
};

class ScriptRun {
 public:
  ScriptRun(Objects& objects, const ScriptProgress& progress)
      : objects_(objects), progress_(progress) {}

  ScriptResult run(std::span<const ScriptStep> steps) {
    for (std::size_t i = 0; i < steps.size(); ++i) {
      step_ = i;
      verb_ = &steps[i].verb;
      // Removals in a row are made at once: each of them looks at all objects.
      if (steps[i].verb == "rm")
        collectRemoval(steps[i]);
      else
        make(steps[i]);
      const bool endsRemovals = i + 1 == steps.size() || steps[i + 1].verb != "rm";
      if (endsRemovals) remove();
      ++result_.steps;
      if (progress_) progress_(result_.steps);
    }
    return std::move(result_);
  }

  /// The step that is being made, for messages.
  std::string where() const {
    return verb_ ? "steps[" + std::to_string(step_) + "] (" + *verb_ + "): " : std::string();
  }

 private:
  void make(const ScriptStep& step) {
    StepArguments arguments(step, labels_);
    if (step.verb == "set")
      set(arguments);
    else if (step.verb == "add")
      add(arguments);
    else if (step.verb == "mv")
      move(arguments);
    else if (step.verb == "clone")
      clone(arguments);
    else
      failUsage("there is no such verb" + suggestion(step.verb, scriptVerbs()));
  }

  std::vector<JtwNode*> chosen(StepArguments& arguments) {
    const std::string* key = arguments.take("key");
    const std::string* expression = arguments.take("select");
    if ((key == nullptr) == (expression == nullptr))
      failUsage("the object is named by either \"key\" or \"select\"");
    if (key) return {&objects_.object(ObjectAddress(*key))};
    return objects_.nodes(Selection(*expression).someOf(objects_));
  }

  void label(const std::string* name, long key) {
    if (name && !labels_.emplace(*name, key).second)
      failUsage("the label '" + *name + "' is given twice");
  }

  void set(StepArguments& arguments) {
    const std::vector<JtwNode*> nodes = chosen(arguments);
    if (arguments.settings().empty()) failUsage("there is nothing to set");
    for (const ApiProtoKey& key : setObjects(objects_, nodes, arguments.settings()))
      if (!key.isNull()) result_.changed.push_back(key.getAsLong());
  }

  void add(StepArguments& arguments) {
    const std::string* kind = arguments.take("kind");
    if (!kind) failUsage("\"kind\" is missing");
    AddRequest request{.kind = *kind,
                       .key = arguments.takeOr("key", "auto"),
                       .parent = arguments.takeOr("parent", "root"),
                       .type = arguments.takeOr("type", ""),
                       .leader = arguments.takeOr("leader", "")};
    const std::string* name = arguments.take("as");
    request.settings = arguments.settings();
    const AddResult added = addObject(objects_, request);
    label(name, added.key.getAsLong());
    result_.added.push_back(added.key.getAsLong());
  }

  void move(StepArguments& arguments) {
    const std::vector<JtwNode*> nodes = chosen(arguments);
    const std::string* parent = arguments.take("parent");
    if (!parent) failUsage("\"parent\" is missing");
    const bool keepsPlace = arguments.takeTruth("keep-place");
    arguments.requireNoSettings();
    for (const MoveResult& moved : moveObjects(objects_, nodes, ObjectAddress(*parent), keepsPlace))
      result_.changed.push_back(moved.key.getAsLong());
  }

  void clone(StepArguments& arguments) {
    const std::string* key = arguments.take("key");
    if (!key) failUsage("\"key\" is missing");
    const std::string newKey = arguments.takeOr("new-key", "auto");
    const bool withGeometry = !arguments.takeTruth("without-geometry");
    const std::string* name = arguments.take("as");
    JtwNode& copy = cloneObject(objects_, objects_.object(ObjectAddress(*key)), newKey,
                                withGeometry, arguments.settings());
    const long made = copy.key().getAsLong();
    label(name, made);
    result_.added.push_back(made);
  }

  void collectRemoval(const ScriptStep& step) {
    StepArguments arguments(step, labels_);
    const std::vector<JtwNode*> nodes = chosen(arguments);
    arguments.requireNoSettings();
    removals_.insert(removals_.end(), nodes.begin(), nodes.end());
  }

  void remove() {
    if (removals_.empty()) return;
    RemoveResult removed = removeObjects(objects_, std::exchange(removals_, {}));
    const auto append = [](std::vector<long>& to, const std::vector<long>& from) {
      to.insert(to.end(), from.begin(), from.end());
    };
    append(result_.removed, removed.removed);
    append(result_.detached, removed.detached);
  }

  Objects& objects_;
  const ScriptProgress& progress_;
  ScriptResult result_;
  StepArguments::Labels labels_;
  std::vector<JtwNode*> removals_;
  std::size_t step_ = 0;
  const std::string* verb_ = nullptr;
};

}  // namespace

std::span<const char* const> scriptVerbs() noexcept {
  static constexpr std::array<const char*, 5> kVerbs{"set", "add", "rm", "mv", "clone"};
  return kVerbs;
}

ScriptResult runScript(Objects& objects, std::span<const ScriptStep> steps,
                       const ScriptProgress& progress) {
  EditTransaction transaction(objects);
  ScriptRun run(objects, progress);
  try {
    ScriptResult result = run.run(steps);
    objects.storeFrames();
    transaction.commit();
    return result;
  } catch (const EditError& error) {
    throw EditError(error.kind(), error.code(), run.where() + error.what(), error.document(),
                    error.offset());
  }
}

}  // namespace jtw
