#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "ApiEnvironment.h"
#include "ApiSysFileAccess.h"
#include "ApiSysFileName.h"
#include "ApiSysFilePath.h"
#include "TempFolder.h"

TEST(ApiSysFilePath, PartsOfAPathWithEitherSeparator) {
  struct Case {
    const char* path;
    bool full;
    const char* folder;
    const char* name;
    const char* extension;
  };
  for (const Case& c :
       {Case{"/x/gear.kpak", true, "/x", "gear.kpak", "kpak"},
        Case{"\\x\\gear.JT", true, "\\x", "gear.JT", "jt"},
        Case{"C:\\x/gear.a.Co", true, "C:\\x", "gear.a.Co", "co"},
        Case{"/gear", true, "", "gear", ""}, Case{"gear.jt", false, "", "gear.jt", "jt"},
        Case{"a.b/gear", false, "a.b", "gear", ""},
        Case{"/x/gear.kpak//", true, "/x", "gear.kpak", "kpak"},
        Case{"C:gear", false, "", "C:gear", ""}, Case{"/", true, "", "", ""},
        Case{"", false, "", "", ""}}) {
    const ApiSysFilePath path(c.path);
    EXPECT_EQ(path.isFullPath(), c.full) << c.path;
    EXPECT_EQ(path.hostingDirPath().asString(), c.folder) << c.path;
    EXPECT_EQ(path.fileName(), c.name) << c.path;
    EXPECT_EQ(path.extension(), c.extension) << c.path;
    EXPECT_EQ(path.asString(), c.path);
  }
}

TEST(ApiSysFileName, JoinHasOneSeparator) {
  const auto join = [](const char* a, const char* b) {
    return (ApiSysFileName(a) + ApiSysFileName(b)).asString();
  };
  EXPECT_EQ(join("/x", "y.jt"), "/x/y.jt");
  EXPECT_EQ(join("\\x\\", "\\y.jt"), "\\x\\y.jt");
  EXPECT_EQ(join("", "y.jt"), "y.jt");
  EXPECT_EQ(join("/x", ""), "/x");
}

TEST(ApiSysFilePath, BackslashesFindFilesOnDisk) {
  const TempFolder temp;
  temp.folder("gear.kpak");
  temp.file("gear.kpak/gear.jt");
  EXPECT_TRUE(ApiSysFilePath(temp.at("gear.kpak\\gear.jt")).exists());
  EXPECT_FALSE(ApiSysFilePath(temp.at("gear.kpak\\other.jt")).exists());
  EXPECT_TRUE(ApiSysFilePath(temp.at("gear.kpak\\")).isDirectory());
  EXPECT_EQ(ApiSysFilePath(temp.at(".\\x\\..\\gear.kpak\\")).absolute().asString(),
            temp.at("gear.kpak"));
}

TEST(ApiSysFileAccess, ListIsFilteredSortedAndStable) {
  const TempFolder temp;
  for (const char* name : {"b.jt", "a.jt", "B.jt", "a.JT", "a.jtx", ".jt"}) temp.file(name);
  temp.folder("folder.jt");
  std::filesystem::create_symlink(temp.at("a.jt"), temp.at("link.jt"));
  std::filesystem::create_symlink(temp.at("gone"), temp.at("broken.jt"));
  const RWCRegexp pattern(".+\\.jt$");
  const ApiSysFilePath folder(temp.path());
  using Names = RWClassicTValOrderedVector<RWClassicCString>;
  Names names{"old"};
  EXPECT_TRUE(ApiSysFileAccess::listDir(folder, pattern, names, true));
  EXPECT_EQ(names, (Names{"B.jt", "a.jt", "b.jt", "link.jt"}));
  EXPECT_TRUE(ApiSysFileAccess::listDir(folder, pattern, names, false));
  EXPECT_EQ(names, (Names{"B.jt", "a.jt", "b.jt", "broken.jt", "folder.jt", "link.jt"}));
  EXPECT_FALSE(ApiSysFileAccess::listDir(ApiSysFilePath(temp.at("gone")), pattern, names, true));
  EXPECT_TRUE(names.empty());
}

TEST(ApiSysFileAccess, WriteTimesDifferByLessThanASecond) {
  const TempFolder temp;
  const std::string a = temp.file("a.jt");
  const std::string b = temp.file("b.jt");
  const auto written = std::filesystem::last_write_time(a);
  std::filesystem::last_write_time(b, written + std::chrono::microseconds(5));
  std::int64_t timeA = 0;
  std::int64_t timeB = 0;
  EXPECT_TRUE(ApiSysFileAccess::lastWriteTime(ApiSysFilePath(a), timeA));
  EXPECT_TRUE(ApiSysFileAccess::lastWriteTime(ApiSysFilePath(b), timeB));
  EXPECT_EQ(timeB - timeA, 5000);
  EXPECT_FALSE(ApiSysFileAccess::lastWriteTime(ApiSysFilePath(temp.at("c.jt")), timeB));
  EXPECT_EQ(timeB - timeA, 5000);
}

TEST(RWCRegexp, PlaceAndLimitsOfWhatIsFound) {
  std::size_t length = 9;
  EXPECT_EQ(RWCRegexp("\\.part;[-0-9]*;[-0-9]*:$").index("bolt.part;0;-12:", &length), 4);
  EXPECT_EQ(length, 12);
  EXPECT_EQ(RWCRegexp("a").index("b", &length), std::string::npos);
  EXPECT_EQ(length, 0);
  EXPECT_FALSE(RWCRegexp("(").isValid());
  EXPECT_FALSE(RWCRegexp("(").isFoundIn("("));
  EXPECT_TRUE(RWCRegexp("[0-9]*x$").isFoundIn(std::string(RWCRegexp::TEXT_LIMIT - 1, '1') + "x"));
  EXPECT_FALSE(RWCRegexp("[0-9]*x$").isFoundIn(std::string(1'000'000, '1') + "x"));
}

TEST(ApiEnvironment, SetToNothingIsSet) {
  const std::string name(ApiEnvironment::DEBUG_JT_IN_CO);
  ::unsetenv(name.c_str());
  EXPECT_FALSE(ApiEnvironment::isSet(name));
  ::setenv(name.c_str(), "", 1);
  EXPECT_EQ(ApiEnvironment::get(name), "");
  ::unsetenv(name.c_str());
}
