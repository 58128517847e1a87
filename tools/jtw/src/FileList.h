#pragma once

#include <string>
#include <vector>

namespace tool {

class Session;

/// One of the files that a command works on.
struct ListedFile {
  std::string path;
  /// Where it lies in the folder that was given, "hall/gear.jt"; of one that was named itself, its
  /// name. A result for it has this place in a folder of results.
  std::string place;
  /// The name that its shard depends on: its place in a folder that was given, so that it does not
  /// matter where the folder lies, else the path.
  std::string key;
};

/// The files that a command line names.
struct FileList {
  std::vector<ListedFile> files;
  std::vector<ListedFile> others;  ///< that --shard leaves to other runs
  bool isOne = false;              ///< one file was named itself: the result is about it alone
};

/// What a folder is searched for.
enum class Wanted {
  files,      ///< JT files
  documents,  ///< component folders, and JT files that lie in none
};

/// The arguments, and the names in the list that --files-from asks for. In the place of a folder,
/// which is none of a component, comes what is wanted in it and below, in the order of the paths;
/// links to folders are not followed. With --report each file comes once. Throws Failure: "usage"
/// without any argument or list or for options of the report that do not fit, and "not_found" for a
/// folder or list with nothing in it.
FileList listFiles(const Session& session, Wanted wanted = Wanted::files);

/// Throws Failure "usage" when an option for several files was given: for the form of a command
/// that names one file.
void requireNoList(const Session& session);

/// Where the results for the files go, in the folder of --output-dir: their places with another
/// extension. Throws Failure "usage" when two would get the same name, or one the name of a file
/// that is read, also when it is the file of another shard.
std::vector<std::string> outputsOf(const FileList& list, const std::string& folder,
                                   const std::string& extension);
/// Throws Failure "usage" when a part file that comes along with a file of this shard would get the
/// name of another result.
void requireSeparateParts(const Session& session, const FileList& list, const std::string& folder,
                          const std::string& extension);
/// Makes the folders of these files. Throws Failure.
void makeFoldersOf(const std::vector<std::string>& files);

}  // namespace tool
