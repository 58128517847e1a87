#pragma once

#include <cstdint>

/// How an object is attached to its attachment parent. The host gives the values their meaning;
/// every 32-bit value is valid and is stored unchanged.
enum AttachmentType : std::int32_t {
  ATTACHMENT_DEFAULT = 0,
};
