// Validation properties: what parts measure, stored by --check and compared by `verify`.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

#include "AssemblyFiles.h"
#include "Program.h"

namespace cli {
namespace {

class Validation : public testing::Test {
 protected:
  /// A closed pyramid over a triangle of 3 by 2, 5 high, with an apex that is on no coarse step.
  Validation() {
    work_.write("wedge.obj",
                "v 1 0 0\nv 4 0 0\nv 1 2 0\nv 1.31 0.4 5\nf 1 3 2\nf 1 2 4\nf 1 4 3\nf 2 3 4\n");
  }
  /// The codes of what `verify --properties` finds, and the number of compared parts.
  std::string found(const std::string& arguments, int exit) const {
    const Json report = work_.json("verify --properties " + arguments, exit);
    std::string text = report.at("compared").dump();
    for (const Json& finding : report.at("findings"))
      text += " " + finding.at("code").get<std::string>();
    return text;
  }
  Workspace work_;
};

TEST_F(Validation, MeasuresArePropertiesOfParts) {
  work_.json("convert wedge.obj wedge.jt --check");
  const std::string listing = work_.run("metadata wedge.jt").out;
  EXPECT_NE(listing.find("JTW_VALIDATION = triangles=4 area="), std::string::npos) << listing;
  const std::pair<const char*, double> numbers[] = {
      {" area=", 24.786567422}, {" volume=", 5}, {" centroid=", 1.888717058}, {",", 0.581495582}};
  for (const auto& [name, number] : numbers) {
    const std::size_t at = listing.find(name, listing.find("JTW_VALIDATION"));
    EXPECT_NEAR(std::stod(listing.substr(at + std::strlen(name))), number, 1e-5) << name << listing;
  }
  EXPECT_EQ(found("wedge.jt", 0), "1");
  // They go along into other versions and forms, as long as these are near enough.
  work_.json("copy wedge.jt wedge8.jt --version 8.1");
  EXPECT_EQ(found("wedge8.jt", 0), "1");
  work_.json("convert wedge8.jt coarse.jt --bits 4,4");
  EXPECT_EQ(found("coarse.jt", 1).substr(0, 20), "1 validation_differs");
  EXPECT_EQ(found("coarse.jt --tolerance 0.1", 0), "1");
  EXPECT_EQ(found("coarse.jt --ignore validation_differs", 0), "1");
  // What changes the geometry on purpose has no use for them.
  work_.json("convert wedge.jt finest.jt --lod 0");
  EXPECT_EQ(found("finest.jt", 0), "0 no_validation");
  EXPECT_EQ(found("finest.jt --strict", 1), "0 no_validation");
  work_.json("convert coarse.jt coarse2.jt --check");
  EXPECT_EQ(found("coarse2.jt -t 0.000001", 0), "1");
}

TEST_F(Validation, EveryPartHasItsOwn) {
  AssemblyFiles{.cells = 3, .partsPerCell = 4}.write(work_.path("in"));
  work_.json("copy in/hall.jt whole/hall.jt --check", 4);
  std::filesystem::create_directory(work_.path("out"));
  work_.json("copy in/hall.jt out/hall.jt --check");
  EXPECT_EQ(found("out/hall.jt", 0), "12");
  EXPECT_EQ(found("in/hall.jt", 0), "0 no_validation");
  // Another part in its place, with what the first measured.
  work_.write("out/" + AssemblyFiles::part(1, 2), work_.read("out/" + AssemblyFiles::part(1, 3)));
  EXPECT_EQ(found("out/hall.jt", 0), "12");
  for (const char* form : {"--per-part", "--monolithic"}) {
    work_.json(std::string("export out/hall.jt exported.jt --check ") + form);
    EXPECT_EQ(found("exported.jt", 0), "12") << form;
    work_.json(std::string("export out/hall.jt exported.jt ") + form);
    EXPECT_EQ(found("exported.jt", 0), "0 no_validation") << form;
  }
  EXPECT_EQ(
      work_.json("copy out/hall.jt empty.jt --check --top-only").at("warnings").at(0).at("code"),
      "no_validation");
  work_.json("verify wedge.obj --tolerance 1", 2);
  work_.json("verify out/hall.jt --properties --tolerance -0.5", 2);
}

}  // namespace
}  // namespace cli
