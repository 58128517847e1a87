#include "FileList.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <string_view>
#include <system_error>

#include "ApiSysFilePath.h"
#include "Assembly.h"
#include "Command.h"
#include "Component.h"
#include "InputFile.h"
#include "RunLog.h"
#include "RunReport.h"
#include "Session.h"
#include "Shard.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

bool isPlainFolder(const std::string& path) {
  return path != "-" && !path.empty() && !DocumentName(path).isFolder &&
         !DocumentName(path).isStream && ApiSysFilePath(path).isDirectory();
}

/// What is wanted in a folder, by path.
void search(const fs::path& folder, Wanted wanted, std::vector<ListedFile>& found) {
  const std::size_t first = found.size();
  std::error_code error;
  fs::recursive_directory_iterator entry(folder, error);
  for (const fs::recursive_directory_iterator end; !error && entry != end; entry.increment(error)) {
    const std::string path = entry->path().string();
    const bool isFolder = entry->is_directory(error);
    const DocumentName name(path);
    const bool isDocument = wanted == Wanted::documents && name.isFolder && isFolder;
    if (isDocument && entry->is_directory()) entry.disable_recursion_pending();
    if (isDocument || (!isFolder && name.isJt && !name.isFolder)) {
      const std::string place = entry->path().lexically_relative(folder).string();
      found.push_back({path, place, place});
    }
    error.clear();  // of one entry that is gone again
  }
  if (error)
    throw Failure(ExitCode::input, "unreadable", error.message(), {.file = folder.string()});
  if (found.size() == first)
    throw Failure(ExitCode::input, "not_found", "there is no JT file in this folder or below",
                  {.file = folder.string()});
  std::sort(found.begin() + static_cast<std::ptrdiff_t>(first), found.end(),
            [](const ListedFile& a, const ListedFile& b) { return a.path < b.path; });
}

/// The names in a list: lines, or what ends with a zero byte.
std::vector<std::string> readNames(const std::string& list, bool endWithZero) {
  const std::vector<std::byte> bytes = readBytes(list);
  std::string_view rest(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (!endWithZero && rest.find('\0') != std::string_view::npos)
    throw Failure(ExitCode::input, "bad_list",
                  "there is a zero byte in it; option for such lists: --null", {.file = list});
  std::vector<std::string> names;
  const char separator = endWithZero ? '\0' : '\n';
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(separator), rest.size());
    std::string_view name = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (!endWithZero && name.ends_with('\r')) name.remove_suffix(1);
    if (!name.empty()) names.emplace_back(name);
  }
  if (names.empty())
    throw Failure(ExitCode::input, "not_found", "the list names no file", {.file = list});
  return names;
}

/// A report has a line for each file, however often it is named.
void keepOnce(std::vector<ListedFile>& files) {
  std::set<std::string> known;
  std::erase_if(files, [&known](const ListedFile& file) {
    if (file.path == "-") failUsage("'-' has no name that a report could have");
    return !known.insert(idOf(file.path)).second;
  });
}

void leaveToOthers(const Shard& shard, FileList& list) {
  const auto others =
      std::stable_partition(list.files.begin(), list.files.end(),
                            [&shard](const ListedFile& file) { return shard.has(file.key); });
  list.others.assign(std::make_move_iterator(others), std::make_move_iterator(list.files.end()));
  list.files.erase(others, list.files.end());
}

std::string outputOf(const ListedFile& file, const std::string& folder,
                     const std::string& extension) {
  fs::path place(file.place);
  place.replace_extension(extension);
  return (fs::path(folder) / place).string();
}

/// One text for all names of a file.
std::string real(const std::string& path) {
  std::error_code ignored;
  const fs::path full = fs::weakly_canonical(fs::absolute(path, ignored), ignored);
  return full.empty() ? path : full.string();
}

}  // namespace

FileList listFiles(const Session& session, Wanted wanted) {
  const Arguments& arguments = session.arguments();
  checkReportOptions(session);
  std::vector<std::string> names = arguments.positional();
  const std::string* list = arguments.value("files-from");
  if (!list) {
    requireArguments(session, 1, kManyArguments);
    if (arguments.has("null")) failUsage("--null is for a list of files, --files-from");
  } else {
    if (*list == "-" && std::ranges::find(names, "-") != names.end())
      failUsage("'-' is the list of files, and one of the files");
    const std::vector<std::string> more = readNames(*list, arguments.has("null"));
    names.insert(names.end(), more.begin(), more.end());
  }
  FileList found;
  found.isOne = names.size() == 1 && !list && !arguments.has("report") && !arguments.has("shard") &&
                !isPlainFolder(names[0]);
  for (const std::string& name : names) {
    if (!found.isOne && isPlainFolder(name))
      search(name, wanted, found.files);
    else
      found.files.push_back(
          {name, name.empty() ? name : fs::path(DocumentName(name).path).filename().string(),
           fs::path(name).lexically_normal().string()});
  }
  if (arguments.has("report")) keepOnce(found.files);
  if (const auto shard = Shard::of(arguments)) leaveToOthers(*shard, found);
  return found;
}

void requireNoList(const Session& session) {
  for (const char* option : {"files-from", "null", "shard", "report", "resume", "retry-failed"})
    if (session.arguments().has(option))
      failUsage("--" + std::string(option) + " is for several files, with --output-dir");
}

std::vector<std::string> outputsOf(const FileList& list, const std::string& folder,
                                   const std::string& extension) {
  std::set<std::string> read;
  for (const auto* files : {&list.files, &list.others})
    for (const ListedFile& file : *files) {
      if (file.path == "-") failUsage("'-' has no name that a file in '" + folder + "' could have");
      read.insert(real(jtFileOf(DocumentName(file.path).path)));
    }
  std::map<std::string, std::string> sources;
  const auto claim = [&](const ListedFile& file) {
    std::string output = outputOf(file, folder, extension);
    const auto [earlier, isNew] = sources.emplace(output, file.path);
    if (!isNew)
      failUsage("'" + earlier->second + "' and '" + file.path + "' would both become '" + output +
                "'; nothing was written");
    if (read.contains(real(output)))
      failUsage("'" + file.path + "' would become '" + output +
                "', which is read; nothing was written");
    return output;
  };
  std::vector<std::string> outputs;
  for (const ListedFile& file : list.files) outputs.push_back(claim(file));
  for (const ListedFile& file : list.others) claim(file);
  return outputs;
}

void requireSeparateParts(const Session& session, const FileList& list, const std::string& folder,
                          const std::string& extension) {
  const jt::ReadLimits limits = readLimits(session);
  std::map<std::string, std::string> sources;  // of the files that are written
  const auto claim = [&sources](const std::string& output, const std::string& source) {
    const auto [known, isNew] = sources.emplace(real(output), real(source));
    if (!isNew && known->second != real(source))
      failUsage("'" + known->second + "' and '" + source + "' would both become '" + output +
                "'; nothing was written");
  };
  for (const auto* files : {&list.files, &list.others})
    for (const ListedFile& file : *files)
      claim(outputOf(file, folder, extension), jtFileOf(DocumentName(file.path).path));
  // Other shards look for their own part files: this costs an opened file each.
  for (const ListedFile& listed : list.files) {
    if (!DocumentName(listed.path).isJt) continue;
    const std::string file = jtFileOf(DocumentName(listed.path).path);
    const fs::path from = fs::path(real(file)).parent_path();
    const fs::path to = fs::path(outputOf(listed, folder, extension)).parent_path();
    for (const jt::PartFile& part : listPartFiles(*inputLocation(file), limits))
      if (part.state == jt::PartFile::State::read)
        claim((to / fs::path(real(part.file)).lexically_relative(from)).string(), part.file);
  }
}

void makeFoldersOf(const std::vector<std::string>& files) {
  for (const std::string& file : files) {
    const fs::path folder = fs::path(file).parent_path();
    std::error_code error;
    if (!folder.empty()) fs::create_directories(folder, error);
    if (error)
      throw Failure(ExitCode::output, "unwritable", error.message(), {.file = folder.string()});
  }
}

}  // namespace tool
