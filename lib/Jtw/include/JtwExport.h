#pragma once

/// Marks what the component library exports; everything else is hidden.
#define JTW_API __attribute__((visibility("default")))
