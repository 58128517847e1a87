// The command line itself: what is refused, how failures are reported, where output goes.

#include <gtest/gtest.h>

#include "Program.h"

namespace cli {
namespace {

namespace fs = std::filesystem;

struct Failing {
  const char* line;
  int exit;
  const char* code;
};

class Failures : public testing::TestWithParam<Failing> {};

TEST_P(Failures, AreReportedInJsonAndTextWithTheirCode) {
  const Workspace work;
  work.write("text.jt", "this is no JT file, whatever its name says\n");
  work.write("empty.jt", "");
  work.write("cut.jt", work.read("tiny95.jt").substr(0, 600));
  std::filesystem::create_directory(work.path("folder"));
  std::filesystem::create_directory(work.path("hollow.kpak"));
  std::filesystem::create_directory(work.path("odd.kpak"));
  work.write("odd.kpak/document.json", "{\"colour\": 1}");

  const Json error = work.json(GetParam().line, GetParam().exit);
  EXPECT_EQ(error.value("schema", ""), "jtw.error/1");
  EXPECT_EQ(error.value("code", ""), GetParam().code) << error.dump();
  for (const char* member : {"message", "file", "segment", "offset"})
    EXPECT_TRUE(error.contains(member)) << member;

  const Outcome text = work.run(GetParam().line);
  EXPECT_EQ(text.exit, GetParam().exit);
  EXPECT_EQ(text.out, "");
  EXPECT_EQ(text.err.find("jtw: error: "), text.err.rfind("jtw: error: ")) << text.err;
  EXPECT_NE(text.err.find(error.value("message", "-")), std::string::npos) << text.err;
}

TEST(Usage, QuietCommandsSayNothing) {
  const Workspace work;
  for (const char* line :
       {"new a.kpak", "add a.kpak block name=B", "set a.kpak B name=C", "mv a.kpak C --parent root",
        "copy a.kpak/a.jt b.jt", "copy b.jt c.jt --version 9.5", "export a.kpak d.jt",
        "set b.jt C color=red", "diff --patch a.kpak b.jt -o p.json", "apply c.jt p.json",
        "merge a.kpak a.kpak b.jt e.jt", "snapshot tiny95.jt p.png", "rm b.jt C"}) {
    const Outcome run = work.run(std::string(line) + " -q");
    EXPECT_EQ(run.exit, 0) << line;
    EXPECT_EQ(run.out + run.err, "") << line;
  }
  EXPECT_NE(work.run("find a.kpak name=C -q").out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Usage, Failures,
    testing::Values(
        Failing{"", 2, "usage"}, Failing{"inof tiny95.jt", 2, "usage"}, Failing{"info", 2, "usage"},
        Failing{"diff tiny95.jt", 2, "usage"},
        Failing{"diff tiny95.jt tiny95.jt --tolerance -1", 2, "usage"},
        Failing{"diff tiny95.jt tiny95.jt -tnan", 2, "usage"},
        Failing{"graph tiny95.jt tiny81.jt", 2, "usage"},
        Failing{"info --nothing tiny95.jt", 2, "usage"},
        Failing{"info --segments=3 tiny95.jt", 2, "usage"},
        Failing{"info tiny95.jt --max-segment 9X", 2, "usage"},
        Failing{"info tiny95.jt --max-segment 99999999999G", 2, "usage"},
        Failing{"info tiny95.jt -j0", 2, "usage"},
        Failing{"info tiny95.jt --color blue", 2, "usage"},
        Failing{"info tiny95.jt --version", 2, "usage"},
        Failing{"copy tiny95.jt b.jt --version", 2, "usage"},
        Failing{"copy tiny95.jt b.jt --version new", 2, "usage"},
        Failing{"get tiny95.jt /one/", 2, "usage"}, Failing{"get tiny95.jt '#0'", 2, "usage"},
        Failing{"get tiny95.jt '#'", 2, "usage"}, Failing{"get tiny95.jt 99999999999", 2, "usage"},
        Failing{"explain tiny95.jt --segment x", 2, "usage"},
        Failing{"explain tiny95.jt --segment 7", 2, "no_segment"},
        Failing{"explain tiny95.jt@7000", 2, "no_field"}, Failing{"new gear.txt", 2, "usage"}));

INSTANTIATE_TEST_SUITE_P(
    Inputs, Failures,
    testing::Values(
        Failing{"info missing.jt", 3, "not_found"}, Failing{"graph folder", 3, "not_a_file"},
        Failing{"graph text.jt", 3, "not_jt"}, Failing{"info - < empty.jt", 3, "empty"},
        Failing{"explain cut.jt", 3, "truncated"}, Failing{"verify missing.jt", 3, "not_found"},
        Failing{"verify text.jt", 3, "not_jt"}, Failing{"copy cut.jt b.jt", 3, "truncated"},
        Failing{"info tiny95.jt --max-segment 100", 3, "too_large"},
        Failing{"diff tiny95.jt missing.jt", 3, "not_found"},
        Failing{"diff cut.jt text.jt", 3, "truncated"}, Failing{"tree missing.jt", 3, "not_found"},
        Failing{"tree missing.kpak", 3, "not_found"}, Failing{"tree hollow.kpak", 3, "not_found"},
        Failing{"tree odd.kpak", 3, "bad_document"}, Failing{"get text.jt 1", 3, "not_jt"},
        Failing{"tree stream:missing.jt", 3, "not_found"},
        Failing{"set stream:cut.jt 1 name=a", 3, "truncated"}));

INSTANTIATE_TEST_SUITE_P(
    Outputs, Failures,
    testing::Values(Failing{"copy tiny95.jt folder", 4, "unwritable"},
                    Failing{"copy tiny95.jt missing/b.jt", 4, "unwritable"},
                    Failing{"copy tiny95.jt b.jt --version 7.0", 4, "unsupported_version"},
                    Failing{"new missing/gear.kpak", 4, "unwritable"},
                    Failing{"new tiny95.jt", 4, "exists"}, Failing{"new folder/", 2, "usage"},
                    Failing{"set tiny95.jt 5 name=a", 5, "unknown_key"},
                    Failing{"get tiny95.jt 0", 5, "unknown_key"},
                    Failing{"get tiny95.jt one", 5, "unknown_key"},
                    Failing{"get tiny95.jt '#99'", 5, "unknown_key"}));

TEST(Limits, TheMessageNamesTheOptionsAndASuffixCounts) {
  const Workspace work;
  const Json error = work.json("info tiny95.jt --max-segment 1K", 3);
  EXPECT_NE(error.value("message", "").find("--max-segment"), std::string::npos);
  work.json("info tiny95.jt --max-segment 2k");
}

TEST(StandardOutput, ThatTakesNothingIsAFailure) {
  const Workspace work;
  for (const char* line :
       {"info tiny95.jt > /dev/full", "info tiny95.jt --json > /dev/full", "info tiny95.jt >&-",
        "copy tiny95.jt - > /dev/full", "help > /dev/full", "--version >&-"})
    EXPECT_EQ(work.run(line).exit, 4) << line;
  // A pipe whose reader is gone: an exit code, no signal.
  work.run("help; (trap '' PIPE; while printf x; do sleep 0.01; done); '" JTW_TOOL
           "' explain zoo95.jt; echo $? > io/code; } 2> /dev/null | { exec 0<&-; :");
  EXPECT_EQ(work.read("io/code"), "4\n");
}

TEST(StandardOutput, ThatTakesNoReportSaysThatTheSaveIsDone) {
  const Workspace work;
  for (const char* line : {"new made.kpak > /dev/full", "copy tiny95.jt b.jt --json >&-",
                           "import cube.obj cube.kpak > /dev/full"}) {
    if (std::string(line).starts_with("import")) {
      if (!fs::exists(fs::path(JTW_TOOL).replace_filename("jtw-mesh"))) continue;
      work.write("cube.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    }
    const Outcome outcome = work.run(line);
    EXPECT_EQ(outcome.exit, 4) << line;
    EXPECT_NE(outcome.err.find("the save is done: "), std::string::npos) << outcome.err;
  }
  for (const char* file : {"made.kpak/made.jt", "b.jt"}) EXPECT_TRUE(work.exists(file)) << file;
  const Outcome refused = work.run("new made.kpak");
  EXPECT_EQ(refused.err.find("the save is done"), std::string::npos) << refused.err;
}

TEST(StandardOutput, KeepsMessagesOut) {
  const Workspace work;
  const Outcome loud = work.run("copy zoo95.jt b.jt --version 10.0 --json");
  EXPECT_NE(loud.err.find("warning"), std::string::npos);
  EXPECT_EQ(loud.json().value("schema", ""), "jtw.copy/1");
  EXPECT_EQ(work.run("copy zoo95.jt b.jt --version 10.0 -q").err, "");
  EXPECT_EQ(work.run("verify tiny95.jt").err, "") << "progress without a terminal";
}

TEST(Options, ComeBeforeOrAfterTheCommand) {
  const Workspace work;
  const std::string expected = work.run("info tiny95.jt --json").out;
  for (const char* line : {"--json info tiny95.jt", "-q info --json tiny95.jt",
                           "info --json -- tiny95.jt", "-qj4 --color=never info tiny95.jt --json"})
    EXPECT_EQ(work.run(line).out, expected) << line;
  EXPECT_EQ(work.run("info tiny95.jt").out.find('\x1b'), std::string::npos);
  EXPECT_NE(work.run("info tiny95.jt --color always").out.find('\x1b'), std::string::npos);
}

// A mistake has one exit code and one error code, whichever command meets it.
TEST(Usage, AMistakeHasOneExitCodeInAllCommands) {
  const Workspace work;
  EXPECT_EQ(work.run("new a.kpak").exit, 0);
  EXPECT_EQ(work.run("add a.kpak block").exit, 0);
  work.write("bad.jt", "no JT file");
  const char* const readers[] = {"info", "graph",   "metadata", "verify", "tree", "inspect",
                                 "pmi",  "frames",  "wires",    "get",    "set",  "find",
                                 "copy", "explain", "diff",     "export", "rm",   "snapshot"};
  const auto with = [](const std::string& command, const std::string& file) {
    const std::string rest = command == "get" || command == "rm"        ? " 1"
                             : command == "set"                         ? " 1 name=x"
                             : command == "find"                        ? " key"
                             : command == "copy" || command == "export" ? " out.jt"
                             : command == "diff"                        ? " a.kpak"
                             : command == "snapshot"                    ? " out.png"
                                                                        : "";
    return command + " " + file + rest;
  };
  for (const char* command : readers)
    for (const auto& [file, code] : {std::pair{"missing.jt", "not_found"}, {"bad.jt", "not_jt"}})
      EXPECT_EQ(work.json(with(command, file), 3).at("code"), code) << command;
  const struct {
    int exit;
    const char* code;
    std::vector<const char*> lines;
  } mistakes[] = {
      {5,
       "unknown_key",
       {"get a.kpak 99", "set a.kpak 99 name=x", "set a.kpak 2 attachment=99", "rm a.kpak 99",
        "add a.kpak block --parent 99", "mv a.kpak 99 --parent 1", "mv a.kpak 2 --parent 99",
        "clone a.kpak 99", "frames a.kpak 99", "frames a.kpak --from 99 --to 1", "pmi a.kpak 99",
        "wires a.kpak 99", "tree a.kpak --under 99", "metadata a.kpak 99", "find a.kpak below=99",
        "inspect a.kpak --select attached=99"}},
      {2,
       "usage",
       {"get a.kpak /a//b", "rm a.kpak /a//b", "metadata a.kpak /a//b", "tree a.kpak --under /a//b",
        "frames a.kpak --from /a//b --to 1", "mv a.kpak 2 --parent /a//b"}},
      {2,
       "usage",
       {"new b.kpak --unit ell", "set a.kpak 2 unit=ell", "add a.kpak block unit=ell",
        "frames a.kpak --from 1 --to 2 --unit ell"}},
      {2,
       "usage",
       {"copy a.kpak b.jt --version 7", "export a.kpak b.jt --version 7",
        "export-partition a.kpak b.jt --version 7"}},
      {2,
       "bad_expression",
       {"find a.kpak knd=x", "inspect a.kpak --select knd=x", "get a.kpak --select knd=x",
        "tree a.kpak --select knd=x", "set a.kpak --select knd=x name=y",
        "rm a.kpak --select knd=x"}}};
  for (const auto& [exit, code, lines] : mistakes)
    for (const char* line : lines) EXPECT_EQ(work.json(line, exit).at("code"), code) << line;
}

}  // namespace
}  // namespace cli
