#include "MergedReport.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>
#include <unordered_map>

#include "Command.h"

namespace tool {
namespace {

void requireOneRun(const RunReport& first, const RunReport& other) {
  const RunHeader& a = *first.header;
  const RunHeader& b = *other.header;
  const bool isSame = a.command == b.command && a.options == b.options;
  const bool haveSameShards = !a.shard || !b.shard || a.shard->count == b.shard->count;
  if (isSame && haveSameShards) return;
  throw Failure(ExitCode::input, "not_one_run",
                std::string("this report and '") + first.path + "' are of different " +
                    (isSame                   ? "numbers of shards"
                     : a.command == b.command ? "options"
                                              : "commands"),
                {.file = other.path});
}

/// Without the digits that come of adding.
double inMicroseconds(double seconds) { return std::round(seconds * 1e6) / 1e6; }

}  // namespace

MergedReport::MergedReport(std::vector<RunReport> reports, Scope scope) {
  const std::string path = reports.empty() ? std::string() : reports.front().path;
  std::erase_if(reports, [](const RunReport& report) { return !report.header; });
  if (reports.empty())
    throw Failure(ExitCode::input, "not_a_report", "no run has begun a report in it",
                  {.file = path});
  std::ranges::stable_sort(reports, {}, [](const RunReport& r) { return r.header->started; });
  header_ = *reports.front().header;
  std::unordered_map<std::string, std::size_t> places;              // of entries, by id
  std::unordered_map<std::string, std::vector<std::string>> lines;  // reports with a line of a file
  for (RunReport& report : reports) {
    requireOneRun(reports.front(), report);
    versions_.push_back(report.header->version);
    partOf(report).take(report.entries);
    for (RunEntry& entry : report.entries) {
      lines[entry.id].push_back(report.path);
      const auto [place, isNew] = places.emplace(entry.id, entries_.size());
      if (isNew)
        entries_.push_back(std::move(entry));
      else
        entries_[place->second] = std::move(entry);
    }
  }
  for (const RunEntry& entry : entries_)
    if (auto& paths = lines.at(entry.id); paths.size() > 1)
      duplicates_.push_back({entry.file, std::move(paths)});
  std::ranges::sort(versions_);
  versions_.erase(std::unique(versions_.begin(), versions_.end()), versions_.end());
  std::ranges::sort(entries_, {}, &RunEntry::file);
  std::ranges::sort(duplicates_, {}, &Duplicate::file);
  std::ranges::stable_sort(parts_, {},
                           [](const Part& part) { return part.shard ? part.shard->index : 0; });
  if (scope == Scope::allShards) findMissingShards();
}

void MergedReport::Part::take(const std::vector<RunEntry>& entries) {
  for (const RunEntry& entry : entries) {
    Work& work = done[entry.id];
    work = {.hasFailed = entry.exit != ExitCode::done, .seconds = entry.seconds};
  }
}

std::size_t MergedReport::Part::failed() const {
  return static_cast<std::size_t>(
      std::ranges::count_if(done, [](const auto& work) { return work.second.hasFailed; }));
}

double MergedReport::Part::seconds() const {
  double sum = 0;
  for (const auto& [id, work] : done) sum += work.seconds;
  return inMicroseconds(sum);
}

MergedReport::Part& MergedReport::partOf(const RunReport& report) {
  const RunHeader& header = *report.header;
  const auto known = std::ranges::find_if(
      parts_, [&](const Part& part) { return header.shard && part.shard == header.shard; });
  Part& part = known == parts_.end() ? parts_.emplace_back() : *known;
  part.shard = header.shard;
  part.reports.push_back(report.path);
  part.started = header.started;
  part.list = header.list;
  part.files = header.files;
  return part;
}

void MergedReport::findMissingShards() {
  std::set<std::uint32_t> there;
  std::uint32_t count = 0;
  for (const Part& part : parts_) {
    if (!part.shard) continue;
    there.insert(part.shard->index);
    count = part.shard->count;
  }
  for (std::uint32_t i = 1; i <= count; ++i)
    if (!there.contains(i)) missingShards_.push_back(i);
}

std::size_t MergedReport::missing() const {
  std::size_t count = 0;
  for (const Part& part : parts_) count += part.missing();
  return count;
}

std::size_t MergedReport::failed() const {
  return static_cast<std::size_t>(std::ranges::count_if(
      entries_, [](const RunEntry& entry) { return entry.exit != ExitCode::done; }));
}

bool MergedReport::listsDiffer() const {
  const Part* first = nullptr;
  for (const Part& part : parts_) {
    if (!part.shard) continue;
    if (first && part.list != first->list) return true;
    first = &part;
  }
  return false;
}

bool MergedReport::isComplete() const {
  return missing() == 0 && missingShards_.empty() && !listsDiffer();
}

std::map<std::string, std::size_t> MergedReport::outcomes() const {
  std::map<std::string, std::size_t> counts;
  for (const RunEntry& entry : entries_) ++counts[entry.outcome];
  return counts;
}

double MergedReport::seconds() const {
  double sum = 0;
  for (const Part& part : parts_) sum += part.seconds();
  return inMicroseconds(sum);
}

ExitCode MergedReport::exit() const {
  if (!isComplete()) return ExitCode::no;
  std::vector<ExitCode> exits;
  for (const RunEntry& entry : entries_) exits.push_back(entry.exit);
  return exitOfAll(exits);
}

std::vector<Verdict> MergedReport::verdicts() const {
  std::vector<Verdict> all;
  for (const RunEntry& entry : entries_) all.push_back(verdictOf(entry.result()));
  return all;
}

VerdictRules MergedReport::rules() const {
  std::vector<const char*> words{header_.command.c_str()};
  for (const std::string& option : header_.options) words.push_back(option.c_str());
  return VerdictRules::of(readCommandLine(words).arguments);
}

}  // namespace tool
