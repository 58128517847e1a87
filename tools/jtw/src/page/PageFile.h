#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace tool {

/// The page without data, which is built apart from this program. Throws Failure "not_installed".
std::string emptyPage();

/// The page with data in it: compressed, as letters, so that nothing in them can be markup. Throws
/// Failure "too_large" for more than a browser opens. @param page as emptyPage() has it
std::string filledPage(std::string page, std::span<const std::byte> data);

}  // namespace tool
