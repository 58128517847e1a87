#include "ApiSysFilePath.h"

#include <algorithm>
#include <string_view>

#include "ApiSysFileName.h"
#include "platform/FileSystem.h"

namespace {

constexpr const char* kSeparators = "/\\";

bool isSeparator(char c) { return c == '/' || c == '\\'; }

/// The path without separators at its end, which name no part.
std::string_view withoutEnd(std::string_view path) {
  return path.substr(0, path.find_last_not_of(kSeparators) + 1);
}

}  // namespace

RWClassicCString ApiSysFilePath::asNativeString() const {
  RWClassicCString native = text_;
  std::replace(native.begin(), native.end(), '\\', '/');
  return native;
}

bool ApiSysFilePath::isFullPath() const {
  if (text_.empty()) return false;
  if (isSeparator(text_[0])) return true;
  const auto letter = static_cast<unsigned>(text_[0] | 0x20) - 'a';
  return letter < 26 && text_.size() > 2 && text_[1] == ':' && isSeparator(text_[2]);
}

ApiSysFilePath ApiSysFilePath::hostingDirPath() const {
  const std::string_view path = withoutEnd(text_);
  const std::size_t last = path.find_last_of(kSeparators);
  if (last == std::string_view::npos) return {};
  return ApiSysFilePath(RWClassicCString(path.substr(0, last)));
}

RWClassicCString ApiSysFilePath::fileName() const {
  const std::string_view path = withoutEnd(text_);
  return RWClassicCString(path.substr(path.find_last_of(kSeparators) + 1));
}

RWClassicCString ApiSysFilePath::extension() const {
  RWClassicCString name = fileName();
  const std::size_t dot = name.rfind('.');
  if (dot == RWClassicCString::npos) return {};
  name.erase(0, dot + 1);
  std::transform(name.begin(), name.end(), name.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
  });
  return name;
}

bool ApiSysFilePath::exists() const { return host::fileExists(asNativeString()); }

bool ApiSysFilePath::isDirectory() const { return host::isDirectory(asNativeString()); }

ApiSysFilePath ApiSysFilePath::absolute() const {
  return ApiSysFilePath(host::absolutePath(asNativeString()));
}

ApiSysFileName operator+(const ApiSysFileName& folder, const ApiSysFileName& name) {
  if (folder.asString().empty()) return name;
  if (name.asString().empty()) return folder;
  RWClassicCString joined = folder.asString();
  std::string_view rest = name.asString();
  rest.remove_prefix(std::min(rest.find_first_not_of(kSeparators), rest.size()));
  if (!isSeparator(joined.back())) joined.push_back('/');
  return ApiSysFileName(joined.append(rest));
}
