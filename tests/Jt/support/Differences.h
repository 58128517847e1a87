#pragma once

#include <string>
#include <vector>

#include "JtCompare.h"

/// What a comparison reports, a line a difference: "PATH KIND NAME".
class Differences : public jt::CompareSink {
 public:
  Differences(const JtPartition& a, const JtPartition& b, jt::CompareOptions options = {}) {
    result_ = jt::compare(a, b, options, *this);
  }
  void difference(const jt::Difference& found) override {
    std::string line = found.path + " " + jt::differenceName(found.kind);
    if (!found.name.empty()) line += " " + found.name;
    lines_.push_back(std::move(line));
    all_.push_back(found);
  }
  const std::vector<std::string>& lines() const { return lines_; }
  const std::vector<jt::Difference>& all() const { return all_; }
  const jt::CompareResult& result() const { return result_; }

 private:
  std::vector<std::string> lines_;
  std::vector<jt::Difference> all_;
  jt::CompareResult result_;
};
