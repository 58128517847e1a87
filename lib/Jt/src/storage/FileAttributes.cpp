#include "storage/FileAttributes.h"

#include <sys/xattr.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <optional>
#include <string_view>

#include "storage/Descriptor.h"

namespace jt::storage {
namespace {

using Bytes = std::vector<char>;

constexpr const char* kAccessList = "system.posix_acl_access";
constexpr const char* kDefaultList = "system.posix_acl_default";
constexpr mode_t kModeBits = 07777 & ~(S_ISUID | S_ISGID);

/// Asks for the size, then for the value, again should it have grown in between.
template <class Call>
std::optional<Bytes> readSized(Call call) {
  for (;;) {
    const ssize_t size = call(nullptr, std::size_t{0});
    if (size < 0) return std::nullopt;
    Bytes value(static_cast<std::size_t>(size));
    if (value.empty()) return value;
    const ssize_t got = call(value.data(), value.size());
    if (got < 0 && errno == ERANGE) continue;
    if (got < 0) return std::nullopt;
    value.resize(static_cast<std::size_t>(got));
    return value;
  }
}

std::optional<Bytes> readAttribute(int file, const char* name) {
  return readSized([&](char* to, std::size_t size) { return ::fgetxattr(file, name, to, size); });
}

/// Signatures and capabilities of the content are not for another content.
bool belongsToContent(std::string_view name) {
  return name == "security.ima" || name == "security.evm" || name == "security.capability";
}

class Copy {
 public:
  Copy(int from, const struct stat& info, int to) : from_(from), info_(info), to_(to) {}

  std::vector<std::string> run() {
    // A change of owner clears mode bits, a change of mode changes the access list: in this order.
    copyOwner();
    copyMode();
    copyExtended();
    return std::move(missed_);
  }

 private:
  void miss(const std::string& what, int error) {
    missed_.push_back(what + ": " + errorText(error));
  }

  void copyOwner() {
    struct stat now {};
    if (::fstat(to_, &now) != 0) return miss("owner and mode", errno);
    hasGroup_ = now.st_gid == info_.st_gid || ::fchown(to_, uid_t(-1), info_.st_gid) == 0;
    if (!hasGroup_) miss("group " + std::to_string(info_.st_gid), errno);
    const bool hasOwner = now.st_uid == info_.st_uid || ::fchown(to_, info_.st_uid, gid_t(-1)) == 0;
    if (!hasOwner) miss("owner " + std::to_string(info_.st_uid), errno);
  }

  void copyMode() {
    mode_t mode = info_.st_mode & kModeBits;
    // The group is another one: it may do what everybody may.
    if (!hasGroup_) mode &= ~mode_t{S_IRWXG} | ((mode & S_IRWXO) << 3);
    if (::fchmod(to_, mode) != 0) miss("mode", errno);
  }

  void copyExtended() {
    const auto names =
        readSized([&](char* to, std::size_t size) { return ::flistxattr(from_, to, size); });
    if (!names) {
      if (errno != EOPNOTSUPP && errno != ENOSYS) miss("extended attributes", errno);
      return;
    }
    bool hasList = false;
    for (std::string_view left(names->data(), names->size()); !left.empty();) {
      const std::string name(left.substr(0, left.find('\0')));
      left.remove_prefix(std::min(left.size(), name.size() + 1));
      if (name == kAccessList) hasList = true;
      if (!belongsToContent(name)) copyAttribute(name);
    }
    // The folder may have given the new file a list that the old one does not have.
    if (!hasList && readAttribute(to_, kAccessList)) {
      if (::fremovexattr(to_, kAccessList) != 0) miss(kAccessList, errno);
      copyMode();
    }
  }

  void copyAttribute(const std::string& name) {
    if (name == kAccessList && !hasGroup_) return miss(name, EPERM);
    const auto value = readAttribute(from_, name.c_str());
    if (!value) {
      if (errno != ENODATA) miss(name, errno);
      return;
    }
    if (readAttribute(to_, name.c_str()) == value) return;
    if (::fsetxattr(to_, name.c_str(), value->data(), value->size(), 0) != 0) miss(name, errno);
  }

  const int from_;
  const struct stat& info_;
  const int to_;
  bool hasGroup_ = false;
  std::vector<std::string> missed_;
};

/// The process's mask of mode bits. Asking the system for it would change it for all threads, so it
/// is read where the kernel shows it; unknown: what most systems have.
mode_t creationMask() {
  std::ifstream status("/proc/thread-self/status");
  for (std::string word; status >> word;)
    if (word == "Umask:") {
      unsigned mask = 0;
      if (status >> std::oct >> mask) return static_cast<mode_t>(mask) & 0777;
      break;
    }
  return 022;
}

/// The folder's default access list as the list of a file created in it with mode 0666. The value
/// is little-endian: a 32-bit version, then entries of a 16-bit tag, 16-bit rights, a 32-bit id.
std::optional<Bytes> inheritedAccessList(int folder) {
  constexpr std::size_t kHeader = 4;
  constexpr std::size_t kEntry = 8;
  constexpr std::array<char, 4> kLimitedTags{0x01, 0x04, 0x10, 0x20};  // owner group mask other
  auto list = readAttribute(folder, kDefaultList);
  if (!list || list->size() < kHeader) return std::nullopt;
  bool hasMask = false;
  for (std::size_t i = kHeader; i + kEntry <= list->size(); i += kEntry)
    if ((*list)[i] == 0x10) hasMask = true;
  for (std::size_t i = kHeader; i + kEntry <= list->size(); i += kEntry) {
    const char tag = (*list)[i];
    const bool limited =
        std::find(kLimitedTags.begin(), kLimitedTags.end(), tag) != kLimitedTags.end();
    // With a mask the group's own entry is left as it is: the mask limits it.
    if (limited && !(hasMask && tag == 0x04)) (*list)[i + 2] &= 6;
  }
  return list;
}

}  // namespace

std::vector<std::string> copyAttributes(int from, const struct stat& info, int to) {
  return Copy(from, info, to).run();
}

std::vector<std::string> applyCreationMode(int folder, int file) {
  if (const auto list = inheritedAccessList(folder)) {
    if (::fsetxattr(file, kAccessList, list->data(), list->size(), 0) == 0) return {};
    return {std::string(kAccessList) + ": " + errorText(errno)};
  }
  if (::fchmod(file, 0666 & ~creationMask()) == 0) return {};
  return {"mode: " + errorText(errno)};
}

}  // namespace jt::storage
