#pragma once

/// Marks what the host library shows to the libraries above it; all else stays hidden.
#define HOST_API [[gnu::visibility("default")]]
