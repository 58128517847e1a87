// update-materials: one document, and many of which some are bad.

#include <gtest/gtest.h>

#include "JtMaterial.h"
#include "JtPartition.h"
#include "JtStorageLocation.h"
#include "Program.h"
#include "VisMetaDataNode.h"

namespace cli {
namespace {

namespace fs = std::filesystem;

class UpdateMaterials : public testing::Test {
 protected:
  /// A component folder with two equal materials that have a color out of range.
  void component(const std::string& name) const {
    fs::create_directories(work_.path(name + ".kpak"));
    const auto partition = jt::make<JtPartition>();
    const auto node = jt::make<VisMetaDataNode>();
    node->addProperty(JtString("KrObjType"),
                      jt::make<JtStringPropAtom>(JtString("KrComponent")).get(), true);
    for (int i = 0; i < 2; ++i) {
      const auto material = jt::make<JtMaterial>();
      material->setDiffuseColor(1.5F, 0, 0);
      node->appendAttribute(material.get());
    }
    partition->addChild(node.get());
    const auto place = jt::make<JtFSStorageLocation>(
        JtString(), JtString(work_.path(name + ".kpak/" + name + ".jt").string()));
    partition->save(place.get());
  }

  Workspace work_;
};

TEST_F(UpdateMaterials, AreNotRepeatedByAResumedRun) {
  component("gear");
  component("lid");
  const std::string line = "update-materials gear.kpak lid.kpak gear.kpak --report r";
  const std::string outcomes = R"({"summary": {"files": 2}, "outcomes": {"updated": 2}})";
  EXPECT_TRUE(matches(work_.json(line), outcomes));
  const std::string before = work_.read("lid.kpak/lid.jt");
  // The files are no longer those that were read, and still those that the run left behind.
  EXPECT_TRUE(matches(work_.json(line + " --resume"), outcomes));
  EXPECT_EQ(work_.read("lid.kpak/lid.jt"), before);
}

TEST_F(UpdateMaterials, OneDocumentIsDoneOnce) {
  component("gear");
  const std::string before = work_.read("gear.kpak/gear.jt");
  const char* const updated = R"({"schema": "jtw.update-materials/1", "document": "gear.kpak",
      "result": "updated", "code": null, "file": "gear.kpak/gear.jt", "materials":
      {"count": 2, "clamped": 2, "completed": 0, "alphaMoved": 0, "overridesStated": 0,
       "shared": 1}, "saved": {"version": "10.0", "segments": {"kept": 0}}})";
  EXPECT_TRUE(matches(work_.json("update-materials gear.kpak --dry-run"), updated));
  EXPECT_EQ(work_.read("gear.kpak/gear.jt"), before);
  EXPECT_TRUE(matches(work_.json("update-materials gear.kpak"), updated));
  const std::string once = work_.read("gear.kpak/gear.jt");
  EXPECT_NE(once, before);
  EXPECT_TRUE(matches(work_.json("update-materials gear.kpak"),
                      R"({"result": "already-updated", "code": "JTUPDATE_FILE_HAS_BEEN_UPDATED",
                          "materials": null, "saved": null})"));
  EXPECT_EQ(work_.read("gear.kpak/gear.jt"), once);
  EXPECT_TRUE(matches(work_.json("update-materials tiny95.jt"),
                      R"({"result": "native", "code": "JTUPDATE_FILE_IS_NATIVE_JT"})"));
}

TEST_F(UpdateMaterials, FailuresReportTheirCode) {
  component("kept");
  fs::permissions(work_.path("kept.kpak/kept.jt"), fs::perms::owner_read);
  work_.write("cut.jt", work_.read("tiny95.jt").substr(0, 300));
  work_.write("text.jt", "no JT file");
  fs::create_directory(work_.path("empty.kpak"));
  struct Case {
    const char* document;
    int exit;
    const char* code;
  };
  const Case cases[] = {
      {"kept.kpak", 4, "JTUPDATE_SAVE_FILE_FAILED"},
      {"cut.jt", 3, "JTUPDATE_OPEN_FILE_FAILED"},
      {"text.jt", 3, "JTUPDATE_OPEN_FILE_FAILED"},
      {"missing.jt", 3, "JTUPDATE_OPEN_FILE_FAILED"},
      {"missing.kpak", 3, "not_found"},
      {"empty.kpak", 3, "not_found"},
      {"stream:tiny95.jt", 2, "usage"},
  };
  for (const Case& expected : cases) {
    const std::string line = "update-materials " + std::string(expected.document);
    EXPECT_EQ(work_.json(line, expected.exit)["code"], expected.code) << line;
  }
  EXPECT_EQ(work_.run("update-materials cut.jt missing.kpak").exit, 3) << "all alike";
  EXPECT_EQ(work_.run("update-materials cut.jt kept.kpak").exit, 1) << "not alike";
}

TEST_F(UpdateMaterials, ABadDocumentStopsNoOther) {
  constexpr int kOfEach = 50;
  const std::string damaged = work_.read("tiny100.jt").substr(0, 700);
  std::string line = "update-materials";
  for (int i = 0; i < kOfEach; ++i) {
    const std::string number = std::to_string(i);
    component("good" + number);
    fs::copy_file(work_.path("tiny105.jt"), work_.path("native" + number + ".jt"));
    work_.write("bad" + number + ".jt", damaged);
    line += " good" + number + ".kpak native" + number + ".jt bad" + number + ".jt missing" +
            number + ".kpak";
  }
  line += " ./good7.kpak";  // the same file once more, never at the same time
  const Json first = work_.json(line + " -j 3", 1);
  EXPECT_EQ(first["summary"], Json::parse(R"({"documents": 201, "updated": 50,
      "alreadyUpdated": 1, "native": 50, "failed": 100})"));
  const auto& documents = first["documents"];
  EXPECT_TRUE(matches(documents[28], R"({"document": "good7.kpak", "result": "updated"})"));
  EXPECT_TRUE(matches(documents[30], R"({"document": "bad7.jt", "result": "failed",
      "code": "JTUPDATE_OPEN_FILE_FAILED", "file": "bad7.jt", "saved": null})"));
  EXPECT_TRUE(
      matches(documents[200], R"({"document": "./good7.kpak", "result": "already-updated"})"));

  const std::string once = work_.read("good7.kpak/good7.jt");
  const Outcome again = work_.run(line);
  EXPECT_EQ(again.exit, 1);
  EXPECT_NE(again.out.find("201 documents: 51 already-updated, 50 native, 100 failed\n"),
            std::string::npos)
      << again.out;
  EXPECT_EQ(again.err, "");
  EXPECT_EQ(work_.read("good7.kpak/good7.jt"), once);
}

}  // namespace
}  // namespace cli
