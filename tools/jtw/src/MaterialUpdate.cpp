#include "MaterialUpdate.h"

#include <new>
#include <utility>

#include "ApiErrStream.h"
#include "JtwManager.h"
#include "JtwUpdateJtMaterials.h"
#include "SaveResult.h"

namespace tool {
namespace {

using Outcome = MaterialUpdate::Outcome;

constexpr const char* kIsNative = "JTUPDATE_FILE_IS_NATIVE_JT";
constexpr const char* kSaveFailed = "JTUPDATE_SAVE_FILE_FAILED";

/// The same failure under the code that the library reported.
Failure underCode(const Failure& failure, const std::string& code) {
  return {failure.exit(), code, failure.what(), failure.where()};
}

Failure openingFailure(const ApiDocumentRef& document, const DocumentName& name,
                       const std::string& code) {
  try {
    failToOpen(document, name);
  } catch (const Failure& failure) {
    return code.empty() ? failure : underCode(failure, code);
  }
}

Failure savingFailure(const JtwUpdateJtMaterials& update, const DocumentName& name) {
  if (update.saveError())
    return underCode(saveFailure(*update.saveError(), name.path), kSaveFailed);
  return {ExitCode::output, kSaveFailed, jt::lastError(), jt::FilePosition{.file = name.path}};
}

Failure failureOf(const JtwUpdateJtMaterials& update, const ApiDocumentRef& document,
                  const DocumentName& name, const std::string& code) {
  if (code == kSaveFailed) return savingFailure(update, name);
  std::string folder;
  std::string file;
  // Without a code: there is no file, or the file was opened and the conversion gave up.
  if (!code.empty() || !JtwManager::getFileNameFromDocument(document, folder, file))
    return openingFailure(document, name, code);
  return {ExitCode::input, "conversion_failed", jt::lastError(),
          jt::FilePosition{.file = folder + file}};
}

MaterialUpdate update(const DocumentName& name, bool dryRun) {
  const ApiDocumentRef document = openHostDocument(name);
  MaterialUpdate result;
  ApiErrStream::setSink([&result](const ApiErrRecord& record) {
    result.code = record.code;
    if (!record.arguments.empty()) result.file = record.arguments[0];
  });
  JtwUpdateJtMaterials command;
  jt::SaveOptions options;
  options.dryRun = dryRun;
  command.setSaveOptions(options);
  const bool isDone = command.executeOnComponent(document);
  ApiErrStream::setSink({});
  result.conversion = command.conversion();
  result.saved = command.saved();
  if (result.saved) result.file = result.saved->file;
  if (!isDone)
    result.failure = failureOf(command, document, name, result.code);
  else if (result.code.empty())
    result.outcome = Outcome::updated;
  else
    result.outcome = result.code == kIsNative ? Outcome::native : Outcome::alreadyUpdated;
  return result;
}

/// The counts of a conversion and what each is called, in JSON and in text.
struct Count {
  const char* member;
  const char* text;
  std::size_t DmKrUtilsUpdateJtMaterials::Result::*value;
};
constexpr Count kCounts[] = {
    {"clamped", "brought into range", &DmKrUtilsUpdateJtMaterials::Result::clamped},
    {"completed", "completed", &DmKrUtilsUpdateJtMaterials::Result::completed},
    {"alphaMoved", "with opacity moved", &DmKrUtilsUpdateJtMaterials::Result::alphaMoved},
    {"overridesStated", "made clear over vertex colors",
     &DmKrUtilsUpdateJtMaterials::Result::overridesStated},
    {"shared", "replaced by equal ones", &DmKrUtilsUpdateJtMaterials::Result::shared},
};

std::string conversionText(const DmKrUtilsUpdateJtMaterials::Result& conversion) {
  std::string text = counted(conversion.materials, "material");
  const char* separator = ": ";
  for (const Count& count : kCounts)
    if (conversion.*count.value > 0)
      text += std::exchange(separator, ", ") + std::to_string(conversion.*count.value) + " " +
              count.text;
  return text;
}

Ink inkOf(Outcome outcome) {
  if (outcome == Outcome::failed) return Ink::red;
  return outcome == Outcome::updated ? Ink::green : Ink::plain;
}

}  // namespace

const char* outcomeName(Outcome outcome) {
  switch (outcome) {
    case Outcome::updated:
      return "updated";
    case Outcome::alreadyUpdated:
      return "already-updated";
    case Outcome::native:
      return "native";
    case Outcome::failed:
      break;
  }
  return "failed";
}

MaterialUpdate updateMaterials(const DocumentName& document, bool dryRun) {
  MaterialUpdate failed;
  try {
    return update(document, dryRun);
  } catch (const Failure& failure) {
    failed.failure = failure;
  } catch (const std::bad_alloc&) {
    failed.failure = Failure(ExitCode::input, "out_of_memory", "out of memory");
  }
  ApiErrStream::setSink({});
  return failed;
}

void writeMaterialUpdate(JsonWriter& json, const std::string& document,
                         const MaterialUpdate& update) {
  json.member("document", document);
  json.member("result", outcomeName(update.outcome));
  json.textOrNull("code", update.failure ? update.failure->code() : update.code);
  json.textOrNull("message", update.failure ? update.failure->what() : "");
  const jt::FilePosition where = update.failure ? update.failure->where() : jt::FilePosition{};
  json.textOrNull("file", update.file);
  json.textOrNull("segment", where.segment);
  json.member("offset", where.offset);
  if (!update.saved) {
    json.nullMember("materials");
    json.nullMember("saved");
    return;
  }
  json.key("materials");
  json.beginObject(JsonWriter::Layout::line);
  json.member("count", update.conversion.materials);
  for (const Count& count : kCounts) json.member(count.member, update.conversion.*count.value);
  json.end();
  writeSaved(json, *update.saved);
}

void showMaterialUpdate(Output& out, const Style& style, const std::string& document,
                        const MaterialUpdate& update) {
  std::string line =
      printable(document) + ": " + style.paint(inkOf(update.outcome), outcomeName(update.outcome));
  if (update.failure) {
    jt::FilePosition where = update.failure->where();
    if (where.file == document) where.file.clear();  // the line begins with it
    const std::string reason = describe(where, update.failure->what());
    line += ", " + update.failure->code() + ": " + printable(reason);
  } else if (update.saved) {
    line += ", " + conversionText(update.conversion);
  }
  out.line(line);
}

}  // namespace tool
