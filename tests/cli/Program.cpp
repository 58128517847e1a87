#include "Program.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace fs = std::filesystem;

namespace cli {
Json Outcome::json() const {
  const Json value = Json::parse(out, nullptr, false);
  EXPECT_TRUE(value.is_object()) << "no JSON object: " << out << err;
  if (!value.is_object()) return {};
  EXPECT_EQ(value.begin().key(), "schema") << out;
  return value;
}

Workspace::Workspace() {
  folder_.folder("io");
  for (const std::string& file : dataFiles())
    fs::copy_file(fs::path(JTW_TEST_DATA) / file, path(file));
}

std::string Workspace::read(const std::string& name) const {
  EXPECT_TRUE(exists(name)) << name;
  return contentOf(folder_.at(name));
}

Outcome Workspace::run(const std::string& line) const {
  const std::string command =
      "cd '" + folder_.path() + "' && { '" JTW_TOOL "' " + line + "; } > io/out 2> io/err";
  const int status = std::system(command.c_str());
  Outcome run;
  // The shell answers 128 + N for signal N.
  if (WIFEXITED(status) && WEXITSTATUS(status) < 128) run.exit = WEXITSTATUS(status);
  run.out = read("io/out");
  run.err = read("io/err");
  return run;
}

Json Workspace::json(const std::string& line, int exit) const {
  const Outcome run = this->run(line + " --json");
  EXPECT_EQ(run.exit, exit) << line << "\n" << run.out << run.err;
  return run.json();
}

std::vector<std::string> dataFiles() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(JTW_TEST_DATA))
    if (entry.path().extension() == ".jt") names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

bool holds(const Json& actual, const Json& expected) {
  if (expected.is_number() && actual.is_number() &&
      (expected.is_number_float() || actual.is_number_float()))
    return std::abs(actual.get<double>() - expected.get<double>()) < 1e-6;
  if (expected.is_object()) {
    if (!actual.is_object()) return false;
    return std::all_of(expected.items().begin(), expected.items().end(), [&](const auto& item) {
      return actual.contains(item.key()) && holds(actual.at(item.key()), item.value());
    });
  }
  if (expected.is_array())
    return actual.is_array() &&
           std::equal(actual.begin(), actual.end(), expected.begin(), expected.end(), holds);
  return actual == expected;
}

testing::AssertionResult matches(const Json& actual, const std::string& expected) {
  if (holds(actual, Json::parse(expected))) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "expected " << expected << "\nfound " << actual.dump(1);
}

}  // namespace cli
