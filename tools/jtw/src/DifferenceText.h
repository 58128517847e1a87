#pragma once

#include <span>
#include <vector>

#include "JtCompare.h"

namespace tool {

class Session;

/// The numbers of one side as this program shows them: matrices are for row vectors in the scene
/// graph and for column vectors here.
std::vector<double> shownNumbers(const jt::Difference& difference, std::vector<double> numbers);

/// Prints differences for human readers, one a line. A material whose colors changed together, as
/// they do when an object gets a color, is one line.
void showDifferences(Session& session, std::span<const jt::Difference> differences);

}  // namespace tool
