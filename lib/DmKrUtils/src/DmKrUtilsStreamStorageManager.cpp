#include "DmKrUtilsStreamStorageManager.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "DmKrUtilsFileStream.h"
#include "DmKrUtilsStreamStorageLocation.h"
#include "JtByteText.h"
#include "JtFormatError.h"

namespace dmkr {
namespace {

using Bytes = std::vector<std::byte>;

class StreamImage final : public jt::FileImage {
 public:
  StreamImage(Bytes bytes, std::string name) : bytes_(std::move(bytes)), name_(std::move(name)) {}
  std::span<const std::byte> bytes() const override { return bytes_; }
  std::optional<jt::FileIdentity> identity() const override { return std::nullopt; }
  void checkPresent() const override {}
  std::string name() const override { return name_; }

 private:
  Bytes bytes_;
  std::string name_;
};

const DmKrUtilsStreamStorageLocation* asStream(const JtStorageLocation& location) {
  return jt::as<DmKrUtilsStreamStorageLocation>(&location);
}

[[noreturn]] void fail(const char* code, const std::string& name, const std::string& message) {
  throw JtFormatError(code, message, {.file = name});
}

/// The stream of a location, with the name that messages show.
class Stream {
 public:
  Stream(const DmKrUtilsStreamStorageLocation& location, std::uint64_t mostBytes)
      : mostBytes_(mostBytes),
        name_(jt::bytesOfText(location.displayName())),
        stream_(location.streamObject() ? location.streamObject()->stream() : nullptr) {
    if (!stream_) fail("not_found", name_, "the document has no stream");
  }

  const std::string& name() const { return name_; }

  /// Reads in blocks no larger than what has been read before: a stream may report any size.
  /// Throws JtFormatError "too_large".
  IStreamResult read(Bytes& bytes) const {
    constexpr std::uint64_t kFirstBlock = 1U << 16;
    IStreamStat stat;
    if (const auto result = stream_->Stat(stat); result != IStreamResult::ok) return result;
    if (stat.size > mostBytes_)
      fail("too_large", name_,
           "the stream has " + std::to_string(stat.size) + " bytes, more than the " +
               std::to_string(mostBytes_) + " that are read (setMaxStreamBytes)");
    if (const auto result = rewind(); result != IStreamResult::ok) return result;
    bytes.clear();
    std::uint64_t filled = 0;
    while (filled < stat.size) {
      const std::uint64_t block = std::min(stat.size - filled, std::max(kFirstBlock, filled));
      bytes.resize(static_cast<std::size_t>(filled + block));
      std::size_t done = 0;
      const auto result =
          stream_->Read(bytes.data() + filled, static_cast<std::size_t>(block), done);
      if (result != IStreamResult::ok) return result;
      if (done == 0) return IStreamResult::ioError;  // shorter than it said
      filled += std::min<std::uint64_t>(done, block);
    }
    bytes.resize(static_cast<std::size_t>(filled));
    return IStreamResult::ok;
  }

  /// Makes the stream hold the pieces and nothing else, to be committed.
  IStreamResult write(std::span<const jt::FilePiece> pieces) const {
    if (const auto result = rewind(); result != IStreamResult::ok) return result;
    std::uint64_t total = 0;
    for (const jt::FilePiece& piece : pieces) {
      if (const auto result = writeAll(piece.bytes); result != IStreamResult::ok) return result;
      total += piece.bytes.size();
    }
    return stream_->SetSize(total);
  }

  bool holds(std::span<const jt::FilePiece> pieces) const {
    Bytes bytes;
    if (read(bytes) != IStreamResult::ok) return false;
    std::span<const std::byte> rest = bytes;
    for (const jt::FilePiece& piece : pieces) {
      if (rest.size() < piece.bytes.size() ||
          !std::equal(piece.bytes.begin(), piece.bytes.end(), rest.begin()))
        return false;
      rest = rest.subspan(piece.bytes.size());
    }
    return rest.empty();
  }

  IStreamResult commit() const { return stream_->Commit(); }

  /// Makes the stream hold again what it held. False when that cannot be done either.
  bool restore(const Bytes& old) const {
    const jt::FilePiece before{.bytes = old};
    const std::span<const jt::FilePiece> all(&before, 1);
    stream_->Revert();
    return holds(all) || (write(all) == IStreamResult::ok && commit() == IStreamResult::ok) ||
           holds(all);
  }

  /// A file behind the stream; null for streams of other kinds.
  DmKrUtilsFileStream* file() const { return dynamic_cast<DmKrUtilsFileStream*>(stream_.get()); }

 private:
  IStreamResult rewind() const { return stream_->Seek(0, IStreamOrigin::begin); }

  IStreamResult writeAll(std::span<const std::byte> bytes) const {
    while (!bytes.empty()) {
      std::size_t done = 0;
      const auto result = stream_->Write(bytes.data(), bytes.size(), done);
      if (result != IStreamResult::ok) return result;
      if (done == 0) return IStreamResult::ioError;
      bytes = bytes.subspan(std::min(done, bytes.size()));
    }
    return IStreamResult::ok;
  }

  std::uint64_t mostBytes_;
  std::string name_;
  CComPtr<IStream> stream_;
};

const char* saveErrorCode(IStreamResult result) {
  switch (result) {
    case IStreamResult::mediumFull:
      return "no_space";
    case IStreamResult::accessDenied:
      return "read_only";
    case IStreamResult::notCurrent:
      return "changed_on_disk";
    default:
      return "write_failed";
  }
}

jt::StorageSaveResult saveStream(const Stream& stream, std::span<const jt::FilePiece> pieces,
                                 bool readBack) {
  Bytes old;
  if (const auto result = stream.read(old); result != IStreamResult::ok)
    fail("unwritable", stream.name(),
         "the old content could not be read to be kept: " + std::string(toText(result)));

  DmKrUtilsFileStream* const file = stream.file();
  auto result = stream.write(pieces);
  const bool written = result == IStreamResult::ok && (!readBack || stream.holds(pieces));
  if (written) result = stream.commit();
  if (written && result == IStreamResult::ok)
    return file ? file->takeCommitted() : jt::StorageSaveResult{};

  const bool restored = stream.restore(old);
  if (written && file && file->failure()) throw JtFormatError(*file->failure());
  std::string message = result == IStreamResult::ok
                            ? "the stream does not hold what was written"
                            : "the stream could not be written: " + std::string(toText(result));
  message += restored ? "; it holds its old content again"
                      : "; its old content could not be put back either";
  fail(result == IStreamResult::ok ? "verify_failed" : saveErrorCode(result), stream.name(),
       message);
}

}  // namespace
}  // namespace dmkr

jt::Ref<DmKrUtilsStreamStorageManager> DmKrUtilsStreamStorageManager::createInstance() {
  return jt::Ref<DmKrUtilsStreamStorageManager>(new DmKrUtilsStreamStorageManager());
}

jt::Ref<jt::FileImage> DmKrUtilsStreamStorageManager::open(const JtStorageLocation& location) {
  const auto* place = dmkr::asStream(location);
  if (!place) return JtStorageManager::open(location);
  const dmkr::Stream stream(*place, maxStreamBytes_);
  dmkr::Bytes bytes;
  if (const auto result = stream.read(bytes); result != IStreamResult::ok)
    dmkr::fail("unreadable", stream.name(),
               "the stream could not be read: " + std::string(toText(result)));
  return jt::make<dmkr::StreamImage>(std::move(bytes), stream.name());
}

jt::StorageSaveResult DmKrUtilsStreamStorageManager::save(const JtStorageLocation& location,
                                                          std::span<const jt::FilePiece> pieces,
                                                          const jt::StorageSaveOptions& options) {
  const auto* place = dmkr::asStream(location);
  if (!place) return JtStorageManager::save(location, pieces, options);
  return dmkr::saveStream(dmkr::Stream(*place, maxStreamBytes_), pieces, options.readBack);
}

jt::Ref<JtStorageLocation> DmKrUtilsStreamStorageManager::resolve(const JtStorageLocation& base,
                                                                  const JtString& relativePath) {
  if (dmkr::asStream(base)) return {};
  return JtStorageManager::resolve(base, relativePath);
}
