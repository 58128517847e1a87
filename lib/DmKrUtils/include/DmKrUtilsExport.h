#pragma once

/// Marks what the geometry utilities export; everything else is hidden.
#define DMKR_API __attribute__((visibility("default")))
