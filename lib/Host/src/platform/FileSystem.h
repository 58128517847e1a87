#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Questions to the operating system about paths. Paths have the system's own separators.

namespace host {

bool fileExists(const std::string& path);
bool isDirectory(const std::string& path);

/// The path from the root without "." and ".." parts and doubled separators; links are not
/// followed.
std::string absolutePath(const std::string& path);

/// Replaces `names` by the names in a folder, in no order; false and no names if it cannot be read.
bool listFolder(const std::string& folder, bool filesOnly, std::vector<std::string>& names);

/// Nanoseconds since 1970-01-01 UTC; false when there is no such file.
bool lastWriteTime(const std::string& path, std::int64_t& nanoseconds);

/// True when both paths lead to one file that exists.
bool isSameFile(const std::string& a, const std::string& b);

/// Brings the entries of a folder to the medium; false when that failed.
bool syncFolder(const std::string& folder);

/// The folder of the running program with a trailing separator; empty if unknown.
std::string programFolder();

}  // namespace host
