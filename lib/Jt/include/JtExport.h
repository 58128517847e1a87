#pragma once

/// Marks what the scene-graph library exports; everything else is hidden.
#define JT_API __attribute__((visibility("default")))
