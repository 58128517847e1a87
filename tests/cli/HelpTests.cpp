// What the table of commands becomes: help, manual pages, completion; and the document that says
// the same.

#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "Program.h"

namespace cli {
namespace {

namespace fs = std::filesystem;

TEST(Help, ShowsEveryCommandWithAnExample) {
  const Workspace work;
  const Json help = work.json("help");
  EXPECT_GE(help.at("commands").size(), 10U);
  for (const Json& command : help.at("commands")) {
    const std::string name = command.at("name");
    const std::string text = work.run("help " + name).out;
    EXPECT_NE(text.find("jtw " + name), std::string::npos);
    EXPECT_NE(text.find("example: jtw "), std::string::npos);
    EXPECT_EQ(work.run(name + " --help").out, text);
  }
  // All are listed, each in its group.
  const std::string text = work.run("help").out;
  EXPECT_EQ(work.run("-h").out, text);
  for (const Json& command : help.at("commands")) {
    const std::size_t title = text.find(command.at("group").get<std::string>() + ":\n");
    const std::size_t at = text.find("\n  " + command.at("name").get<std::string>() + " ");
    EXPECT_LT(title, at) << command.at("name");
    EXPECT_LT(at, text.find("\n\n", title)) << command.at("name");
  }
  EXPECT_TRUE(matches(work.json("--version"), R"({"schema": "jtw.version/1"})"));
}

TEST(Help, MakesManualPagesWithoutWarnings) {
  const Workspace work;
  work.run("help --man");
  const std::string page = work.read("io/out");
  for (const char* part : {"\\fBjtw\\-set\\fR(1)", "\\-\\-max\\-input", ".SH EXIT STATUS"})
    EXPECT_NE(page.find(part), std::string::npos) << part;
  work.run("--version > io/v; for c in '' set find add; do '" JTW_TOOL
           "' help --man $c > io/page.1; ! command -v man > io/v || LC_ALL=C man -l --warnings "
           "io/page.1 > io/text 2>> io/warnings; done");
  EXPECT_EQ(work.exists("io/warnings") ? work.read("io/warnings") : "", "");
  if (!work.exists("io/text")) GTEST_SKIP() << "no man";
  EXPECT_NE(work.read("io/text").find("jtw-add"), std::string::npos);
}

TEST(Completion, OffersWhatFits) {
  const Workspace work;
  const struct {
    const char* words;
    const char* offered;
  } cases[] = {{"jtw ins", "inspect"},
               {"jtw -q upd", "update-materials"},
               {"jtw info --segm", "--segments"},
               {"jtw tree --color a", "auto always"},
               {"jtw tree --color = ne", "never"},
               {"jtw convert --profile ''", "compatible compact"},
               {"jtw help sn", "snapshot"},
               {"jtw info --max-segment ''", ""}};
  std::string script =
      "source io/jtw; try() { COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _jtw; "
      "echo \"${COMPREPLY[*]}\"; }\n";
  std::string expected;
  for (const auto& [words, offered] : cases) {
    script += std::string("try ") + words + "\n";
    expected += std::string(offered) + "\n";
  }
  work.write("io/try", script);
  EXPECT_EQ(work.run("completion bash > io/jtw; bash io/try").out, expected);
  for (const std::string shell : {"zsh", "fish"})
    EXPECT_EQ(work.run("completion " + shell + " > io/jtw; ! command -v " + shell +
                       " > io/found || " + shell + " -n io/jtw")
                  .exit,
              0)
        << shell;
  EXPECT_EQ(work.run("completion tcsh").exit, 2);
}

/// The sections of docs/cli.md by their titles, and the text above the first one.
std::map<std::string, std::string> sections() {
  std::map<std::string, std::string> all;
  std::string title;
  std::istringstream text(contentOf(fs::path(JTW_TEST_DATA) / "../../docs/cli.md"));
  for (std::string line; std::getline(text, line);) {
    if (line.starts_with("##"))
      title = line.substr(line.find(' ') + 1);
    else
      all[title] += line + "\n";
  }
  return all;
}

/// The options that a text names; what begins a piece of code with another command is not meant.
std::set<std::string> optionsIn(std::string text, const std::string& command,
                                const std::set<std::string>& commands) {
  for (const std::string& other : commands)
    if (other != command) text = std::regex_replace(text, std::regex("`" + other + " [^`]*`"), "");
  std::set<std::string> found;
  const std::regex option("--([a-z][a-z-]*)");
  for (std::sregex_iterator i(text.begin(), text.end(), option), end; i != end; ++i)
    found.insert((*i)[1]);
  return found;
}

TEST(Document, NamesTheCommandsAndOptionsThatThereAre) {
  const Workspace work;
  const Json help = work.json("help");
  std::map<std::string, std::string> text = sections();
  std::set<std::string> names;
  std::set<std::string> all;
  for (const Json& option : help["options"]) all.insert(option["name"]);
  const std::set<std::string> global = all;
  for (const Json& command : help["commands"]) {
    names.insert(command["name"]);
    for (const Json& option : command["options"]) all.insert(option["name"]);
  }
  std::string shared;
  for (const auto& [title, body] : text)
    if (!names.contains(title)) shared += body;
  const std::set<std::string> everywhere = optionsIn(shared, {}, {});
  for (const std::string& option : everywhere) EXPECT_TRUE(all.contains(option)) << option;
  for (const std::string& option : global) EXPECT_TRUE(everywhere.contains(option)) << option;
  for (const Json& command : help["commands"]) {
    const std::string name = command["name"];
    EXPECT_NE(text[name].find("jtw " + name), std::string::npos) << name << " has no section";
    EXPECT_NE(text[""].find("[" + name + "](#" + name + ")"), std::string::npos) << name;
    const std::set<std::string> documented = optionsIn(text[name], name, names);
    std::set<std::string> own = global;
    for (const Json& option : command["options"]) {
      own.insert(option["name"]);
      EXPECT_TRUE(documented.contains(option["name"]) || everywhere.contains(option["name"]))
          << name << " --" << option["name"] << " is not documented";
    }
    for (const std::string& option : documented)
      EXPECT_TRUE(own.contains(option)) << name << " has no --" << option;
  }
}

}  // namespace
}  // namespace cli
