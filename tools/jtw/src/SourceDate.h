#pragma once

namespace tool {

/// Takes the moment in the environment variable SOURCE_DATE_EPOCH, where it is set, for the current
/// time in all layers, so that an export says the same whenever it is made. Throws a Failure of
/// usage for a value that is no number of seconds since 1970.
void useSourceDate();

}  // namespace tool
