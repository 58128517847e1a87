#pragma once

/// Marks what the toolkit exports; everything else is hidden.
#define JTK_API __attribute__((visibility("default")))
