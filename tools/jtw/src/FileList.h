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
};

/// The files that a command line names.
struct FileList {
  std::vector<ListedFile> files;
  bool isOne = false;  ///< one file was named itself: the result is about it alone
};

/// What a folder is searched for.
enum class Wanted {
  files,      ///< JT files
  documents,  ///< component folders, and JT files that lie in none
};

/// The arguments, and the names in the list that --files-from asks for. In the place of a folder,
/// which is none of a component, comes what is wanted in it and below, in the order of the paths;
/// links to folders are not followed. Throws Failure: "usage" without any argument or list, and
/// "not_found" for a folder or list with nothing in it.
FileList listFiles(const Session& session, Wanted wanted = Wanted::files);

/// Throws Failure "usage" when --files-from or --null was given: for the form of a command that
/// names one file.
void requireNoList(const Session& session);

/// Where the results for the files go, in the folder of --output-dir: their places with another
/// extension. Throws Failure "usage" when two would get the same name, or one the name of a file
/// that is read.
std::vector<std::string> outputsOf(const FileList& list, const std::string& folder,
                                   const std::string& extension);
/// Throws Failure "usage" when a part file that comes along with a file of the list would get the
/// name of another result.
void requireSeparateParts(const Session& session, const FileList& list,
                          const std::vector<std::string>& outputs);
/// Makes the folders of these files. Throws Failure.
void makeFoldersOf(const std::vector<std::string>& files);

}  // namespace tool
