#pragma once

#include <string>
#include <vector>

#include "JtCompare.h"

/// What a comparison reports, a line a difference: "PATH KIND NAME".
class Differences {
 public:
  Differences(const JtPartition& a, const JtPartition& b, jt::CompareOptions options = {}) {
    result_ = jt::compare(a, b, options, list_);
    for (const jt::Difference& found : list_.all) {
      lines_.push_back(found.path + " " + jt::differenceName(found.kind));
      if (!found.name.empty()) lines_.back() += " " + found.name;
    }
  }
  const std::vector<std::string>& lines() const { return lines_; }
  const std::vector<jt::Difference>& all() const { return list_.all; }
  const jt::CompareResult& result() const { return result_; }

 private:
  jt::DifferenceList list_;
  std::vector<std::string> lines_;
  jt::CompareResult result_;
};
