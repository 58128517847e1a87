#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "../Host/TempFolder.h"

namespace cli {

using Json = nlohmann::ordered_json;

/// What one run of the program left behind.
struct Outcome {
  int exit = -1;  ///< -1: it ended with a signal
  std::string out;
  std::string err;

  /// The one object on standard output; a null value, and a failed test, when it is none or does
  /// not begin with its schema.
  Json json() const;
};

/// A folder of its own for one test, with copies of the test data; the program runs in it.
class Workspace {
 public:
  Workspace();

  std::filesystem::path path(const std::string& name) const { return folder_.at(name); }
  std::string read(const std::string& name) const;
  void write(const std::string& name, const std::string& bytes) const { folder_.file(name, bytes); }
  bool exists(const std::string& name) const { return std::filesystem::exists(path(name)); }

  /// Runs the program with the words of a command line for the shell: `copy - - < a.jt`.
  Outcome run(const std::string& line) const;
  /// The same with --json, and the object that it printed.
  Json json(const std::string& line, int exit = 0) const;

 private:
  TempFolder folder_;
};

/// The JT files among the test data, by name.
std::vector<std::string> dataFiles();

/// True when `actual` has everything that `expected` has: members of objects may be more, lists are
/// equal in length, numbers are equal but for rounding.
bool holds(const Json& actual, const Json& expected);

/// EXPECT_TRUE with this prints both sides.
testing::AssertionResult matches(const Json& actual, const std::string& expected);

}  // namespace cli
