#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "JtPartition.h"
#include "JtRefCounted.h"
#include "JtStorageLocation.h"

namespace tool {

class Arguments;
class Session;

/// The JT file that a component folder holds, or the path itself when it is none. Throws Failure.
std::string jtFileOf(const std::string& path);
/// Where a FILE lies that is read; "-" is standard input, a component folder represents its JT
/// file.
jt::Ref<JtStorageLocation> inputLocation(const std::string& path);
/// Where a FILE goes that is written; "-" is standard output. Throws Failure "usage" for the name
/// of a component folder or a stream.
jt::Ref<JtStorageLocation> outputLocation(const std::string& path);
/// To be called before a FILE is written: with "-" the results make room on standard output. Throws
/// Failure "usage" when that is a terminal.
void claimOutput(Session& session, const std::string& path, bool dryRun);

/// The file that an option names for a report; empty when it was not given. Throws Failure "usage"
/// for what has to be the next word on the command line.
std::string reportName(const Session& session, const char* option);

/// All bytes of a FILE that is read as it is; "-" is standard input. Throws Failure.
std::vector<std::byte> readBytes(const std::string& path);
/// Writes a FILE as it is, whole or not at all; "-" is standard output. Throws Failure.
void writeBytes(const std::string& path, std::span<const std::byte> bytes);

/// The options --max-segment, --max-document and --follow-links.
jt::ReadLimits readLimits(const Session& session);

/// The option --max-places: the most objects that are drawn or exported, each where it occurs.
std::uint64_t mostPlaces(const Arguments& arguments);
/// The most that is read from standard input from now on.
void limitStandardInput(std::uint64_t bytes);

/// Reports the first findings of a file on standard error; `verify` is there for all of them.
void showNotes(Session& session, const std::string& path, std::span<const jt::Diagnostic> notes);

/// Opens a JT file: header, table of contents, scene graph. What was noticed while reading goes to
/// standard error. Throws Failure.
jt::Ref<JtPartition> openFile(Session& session, const std::string& path);

}  // namespace tool
