#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "ApiDocumentRef.h"
#include "DbDocument.h"
#include "DocumentStore.h"
#include "MemoryStream.h"
#include "RWClassic.h"
#include "TempFolder.h"

namespace {

ApiDocumentRef open(const std::string& path) {
  const host::OpenedDocument opened = host::openDocument(path);
  EXPECT_EQ(opened.error, "");
  return opened.document;
}

RWClassicCString pathOf(const ApiDocumentRef& document) {
  const auto access = DbDocument::docAccess(document, 6);
  const auto* text = dynamic_cast<const DbStringAccess*>(access.get());
  return text == nullptr ? "no access" : text->getString();
}

}  // namespace

TEST(ApiDocumentRef, IdentityIsThePlaceHoweverItIsWritten) {
  const TempFolder temp;
  const ApiDocumentRef a = open(temp.at("gear.kpak"));
  const ApiDocumentRef b = open(temp.at("x\\..\\gear.kpak\\"));
  EXPECT_EQ(a, b);
  EXPECT_EQ(a.hash(), b.hash());
  EXPECT_EQ(pathOf(b), temp.at("x\\..\\gear.kpak")) << "the path stays as written";
  EXPECT_NE(a, open(temp.at("gear2.kpak")));
  EXPECT_NE(a, ApiDocumentRef());
  EXPECT_LT(ApiDocumentRef(), a);
  EXPECT_EQ(ApiDocumentRef(), ApiDocumentRef());
  EXPECT_EQ(ApiDocumentRef().hash(), 0);
  EXPECT_TRUE(open("gear.jt")->identity().starts_with('/'));
}

TEST(ApiDocumentRef, TablesMissRenamedDocumentsUntilRebuilt) {
  RWClassicTValHashDictionary<ApiDocumentRef, int> table(64);
  RWClassicTValOrderedVector<ApiDocumentRef> documents;
  for (int i = 0; i < 200; ++i) {
    documents.push_back(open("/store/" + std::to_string(i) + ".kpak"));
    table[documents.back()] = i;
  }
  for (const ApiDocumentRef& each : documents) {
    const std::size_t before = each.hash();
    each->rename(each->path() + ".renamed");
    EXPECT_NE(each.hash(), before);
  }
  int found = 0;
  for (const ApiDocumentRef& each : documents) found += static_cast<int>(table.count(each));
  EXPECT_EQ(found, 0);
  // The table itself is whole: every entry can be walked, and removed through its iterator.
  RWClassicTValHashDictionary<ApiDocumentRef, int> rebuilt(64);
  for (auto entry = table.begin(); entry != table.end(); entry = table.erase(entry)) {
    rebuilt.insert(*entry);
  }
  EXPECT_TRUE(table.empty());
  for (int i = 0; i < 200; ++i) {
    EXPECT_EQ(rebuilt.at(documents[static_cast<std::size_t>(i)]), i);
  }
}

TEST(DbDocument, StreamsAreOfferedByDuty) {
  using Duty = ApiDocument::StreamDuty;
  const ApiDocumentRef document = open("/store/a.kpak");
  EXPECT_EQ(DbDocument::docAccess(document, 27), nullptr);
  EXPECT_EQ(DbDocument::docAccess(document, 7), nullptr);
  EXPECT_EQ(DbDocument::docAccess(ApiDocumentRef(), 6), nullptr);

  const CComPtr<IStream> stream = MemoryStream::create();
  for (const Duty duty : {Duty::might, Duty::should}) {
    for (const CComPtr<IStream>& each : {stream, CComPtr<IStream>()}) {
      host::withStream(document, each, duty);
      const auto access = DbDocument::docAccess(document, 27);
      const auto* streams = dynamic_cast<const DbIStreamAccess*>(access.get());
      ASSERT_NE(streams, nullptr);
      EXPECT_EQ(streams->shouldHaveIStream(), duty == Duty::should);
      EXPECT_EQ(streams->mightHaveIStream(), duty == Duty::might);
      EXPECT_EQ(streams->getIStream(), each);
    }
  }
}

TEST(DocumentStore, SettingsComeFromTheFolder) {
  const TempFolder temp;
  const std::string folder = temp.folder("gear.kpak");
  EXPECT_EQ(ApiDocument::kind(open(folder)), 0);
  temp.file("gear.kpak/document.json",
            R"({"kind": 12, "properties": [0, -5], "releaseLabels": [["R2", "R1"], "S2"]})");
  const ApiDocumentRef document = open(folder + "\\");
  EXPECT_EQ(ApiDocument::kind(document), ApiDocument::KIND_MANY_JT_FILES);
  EXPECT_TRUE(ApiDocument::doesHaveProperty(document, ApiDocument::PMI_MODE));
  EXPECT_TRUE(document->doesHaveProperty(static_cast<ApiDocument::DocProperty>(-5)));
  EXPECT_FALSE(document->doesHaveProperty(static_cast<ApiDocument::DocProperty>(1)));
  EXPECT_FALSE(ApiDocument::doesHaveProperty(ApiDocumentRef(), ApiDocument::PMI_MODE));
  const RWClassicTValOrderedVector<ApiGraJtReleaseLabels> labels{{"R2", "R1"}, {"S2", ""}};
  EXPECT_EQ(document->releaseLabels(), labels);
  EXPECT_EQ(host::openDocument("").document, ApiDocumentRef());
}

TEST(DocumentStore, BrokenSettingsAreOneClearError) {
  const TempFolder temp;
  const std::string folder = temp.folder("gear.kpak");
  struct Case {
    std::string json;
    const char* complaint;
  };
  for (const Case& c :
       {Case{"", "offset 1"}, Case{"{\"kind\": 1", "offset 11"}, Case{"{} x", "offset 4"},
        Case{"[1]", "expected an object"}, Case{R"({"kind": "12"})", "\"kind\""},
        Case{R"({"kind": 1.5})", "\"kind\""}, Case{R"({"kind": 2147483648})", "\"kind\""},
        Case{R"({"kind": -2147483649})", "\"kind\""}, Case{R"({"kind": 1e999})", "1e999"},
        Case{R"({"properties": 0})", "\"properties\""},
        Case{R"({"properties": [null]})", "\"properties\""}, Case{R"({"kinds": 1})", "\"kinds\""},
        Case{R"({"releaseLabels": ["a","b","c","d","e"]})", "more than 4"},
        Case{R"({"releaseLabels": [["a"]]})", "pair of texts"}, Case{"{\"\xFF\": 1}", "offset 3"},
        Case{"{\"kind\": " + std::string(500'000, '['), "nested too deeply"},
        Case{std::string(1'100'000, ' '), "larger than 1 MiB"}}) {
    temp.file("gear.kpak/document.json", c.json);
    const host::OpenedDocument opened = host::openDocument(folder);
    EXPECT_TRUE(opened.document.isNull()) << c.json.substr(0, 40);
    EXPECT_TRUE(opened.error.starts_with(folder + "/document.json: ")) << opened.error;
    EXPECT_NE(opened.error.find(c.complaint), std::string::npos) << opened.error;
    EXPECT_EQ(opened.error.find('\n'), std::string::npos) << opened.error;
  }
  std::filesystem::remove(folder + "/document.json");
  temp.folder("gear.kpak/document.json");
  EXPECT_NE(host::openDocument(folder).error.find("not a regular file"), std::string::npos);
}
