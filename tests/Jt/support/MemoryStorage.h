#pragma once

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "JtFormatError.h"
#include "JtPartition.h"
#include "JtStorageManager.h"

// Files in memory, so that a test can open very many of them.

using Bytes = std::vector<std::byte>;

/// Bytes on the heap, exactly as many as there are: a sanitizer sees a read of one byte too many.
class MemoryImage : public jt::FileImage {
 public:
  MemoryImage(std::span<const std::byte> bytes, std::string name)
      : bytes_(new std::byte[bytes.size()]), size_(bytes.size()), name_(std::move(name)) {
    std::copy(bytes.begin(), bytes.end(), bytes_.get());
  }
  std::span<const std::byte> bytes() const override { return {bytes_.get(), size_}; }
  std::optional<jt::FileIdentity> identity() const override { return {}; }
  void checkPresent() const override {}
  std::string name() const override { return name_; }

 private:
  std::unique_ptr<std::byte[]> bytes_;
  std::size_t size_;
  std::string name_;
};

class MemoryLocation : public JtStorageLocation {
 public:
  explicit MemoryLocation(std::string name) : name_(std::move(name)) {}
  static const JtType* classTypeID() {
    static const JtType type("MemoryLocation", JtStorageLocation::classTypeID());
    return &type;
  }
  const JtType* typeID() const override { return classTypeID(); }
  JtString displayName() const override { return JtString(name_); }
  const std::string& name() const { return name_; }

 private:
  std::string name_;
};

/// The storage manager in use for as long as this lives, without shapes loaded in the background.
class MemoryStorage {
 public:
  MemoryStorage() : before_(g_pInstanceJtStorageManager), autoLoad_(JtPartition::_autoLoadShapes) {
    jt::installStorageManager(new Manager(files_));
    JtPartition::_autoLoadShapes = false;
  }
  ~MemoryStorage() {
    jt::installStorageManager(before_.get());
    JtPartition::_autoLoadShapes = autoLoad_;
  }
  MemoryStorage(const MemoryStorage&) = delete;
  MemoryStorage& operator=(const MemoryStorage&) = delete;

  Bytes& operator[](const std::string& name) { return files_[name]; }

  /// Opens a file; throws JtFormatError.
  static jt::Ref<JtPartition> open(const std::string& name, const jt::ReadLimits& limits = {}) {
    const auto place = jt::make<MemoryLocation>(name);
    JtPartition* raw = nullptr;
    JtPartition::openPartition(place.get(), nullptr, raw, limits);
    jt::Ref<JtPartition> partition(raw);
    raw->unref();
    return partition;
  }
  jt::Ref<JtPartition> open(const Bytes& bytes, const jt::ReadLimits& limits = {}) {
    files_["opened"] = bytes;
    return open("opened", limits);
  }
  /// What a save writes.
  Bytes saved(JtPartition& partition, const jt::SaveOptions& options = {}) {
    report_ = partition.save(jt::make<MemoryLocation>("saved").get(), options);
    return files_["saved"];
  }
  /// What the last `saved` did.
  const jt::SaveReport& report() const { return report_; }

 private:
  class Manager : public JtStorageManager {
   public:
    explicit Manager(std::map<std::string, Bytes>& files) : files_(files) {}
    jt::Ref<jt::FileImage> open(const JtStorageLocation& location) override {
      const auto found = files_.find(location.displayName().stringToMbs());
      if (found == files_.end()) throw JtFormatError("not_found", "no such file");
      return jt::make<MemoryImage>(found->second, found->first);
    }
    jt::StorageSaveResult save(const JtStorageLocation& location,
                               std::span<const jt::FilePiece> pieces,
                               const jt::StorageSaveOptions&) override {
      Bytes bytes;
      for (const jt::FilePiece& piece : pieces)
        bytes.insert(bytes.end(), piece.bytes.begin(), piece.bytes.end());
      files_[location.displayName().stringToMbs()] = std::move(bytes);
      return {};
    }
    jt::Ref<JtStorageLocation> resolve(const JtStorageLocation&, const JtString& path) override {
      if (!files_.contains(path.stringToMbs())) return {};
      return jt::make<MemoryLocation>(path.stringToMbs());
    }

   private:
    std::map<std::string, Bytes>& files_;
  };

  std::map<std::string, Bytes> files_;
  jt::Ref<JtStorageManager> before_;
  bool autoLoad_;
  jt::SaveReport report_;
};

/// A file of the test data folder.
inline Bytes testData(const std::string& name) {
  std::ifstream file(std::string(JTW_TEST_DATA "/") + name, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

inline constexpr const char* kVectors[] = {"tiny81.jt",  "tiny95.jt", "tiny95be.jt", "tiny100.jt",
                                           "tiny105.jt", "asm95.jt",  "zoo81.jt",    "zoo95.jt",
                                           "zoo100.jt",  "zoo105.jt"};

/// The JtFormatError that `call` throws, if it throws one.
template <class Call>
std::optional<JtFormatError> errorOf(Call call) {
  try {
    call();
  } catch (const JtFormatError& error) {
    return error;
  }
  return std::nullopt;
}
/// Its code; empty when there is none.
template <class Call>
std::string errorCode(Call call) {
  const std::optional<JtFormatError> error = errorOf(call);
  return error ? error->code() : std::string();
}
/// What it says.
template <class Call>
std::string errorText(Call call) {
  const std::optional<JtFormatError> error = errorOf(call);
  return error ? error->message() : std::string();
}
