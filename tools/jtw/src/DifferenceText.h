#pragma once

#include <array>
#include <span>
#include <string>
#include <vector>

#include "JtCompare.h"

namespace tool {

class Session;

/// The names of all kinds of differences, in the order of jt::DifferenceKind.
std::array<const char*, jt::kDifferenceKinds> kindNames();
/// The kind of that name. Where there is none: a usage failure that suggests others.
/// @param option what begins its message, such as "--ignore: "
jt::DifferenceKind kindNamed(const std::string& name, const std::string& option);

/// The numbers of one side as this program shows them: matrices are for row vectors in the scene
/// graph and for column vectors here.
std::vector<double> shownNumbers(const jt::Difference& difference, std::vector<double> numbers);

/// Prints differences for human readers, one a line. A material whose colors changed together, as
/// they do when an object gets a color, is one line.
void showDifferences(Session& session, std::span<const jt::Difference> differences);

}  // namespace tool
