#include "DmKrUtilsFileStream.h"

#include <new>
#include <string_view>
#include <utility>

namespace dmkr {
namespace {

IStreamResult resultOf(const JtFormatError& error) {
  constexpr std::pair<std::string_view, IStreamResult> kResults[] = {
      {"changed_on_disk", IStreamResult::notCurrent}, {"exists", IStreamResult::notCurrent},
      {"no_space", IStreamResult::mediumFull},        {"read_only", IStreamResult::accessDenied},
      {"unwritable", IStreamResult::accessDenied},
  };
  for (const auto& [code, result] : kResults)
    if (code == error.code()) return result;
  return IStreamResult::ioError;
}

// The files of the file system, whatever serves the JT data of the host.
jt::Ref<JtStorageManager> files() { return jt::make<JtStorageManager>(); }

}  // namespace
}  // namespace dmkr

CComPtr<DmKrUtilsFileStream> DmKrUtilsFileStream::open(const RWClassicCString& path, Mode mode) {
  return new DmKrUtilsFileStream(path, mode);
}

DmKrUtilsFileStream::DmKrUtilsFileStream(const RWClassicCString& path, Mode mode)
    : location_(path), mode_(mode) {
  if (mode == Mode::createNew) {
    content_ = MemoryStream::create();
    before_.emplace();
    return;
  }
  const jt::Ref<jt::FileImage> file = dmkr::files()->open(location_);
  const auto bytes = file->bytes();
  content_ = MemoryStream::create({bytes.begin(), bytes.end()});
  identity_ = file->identity();
}

IStreamResult DmKrUtilsFileStream::Read(void* buffer, std::size_t size, std::size_t& done) {
  return content_->Read(buffer, size, done);
}

IStreamResult DmKrUtilsFileStream::beginChange() {
  if (mode_ == Mode::readOnly) return IStreamResult::accessDenied;
  if (before_) return IStreamResult::ok;
  try {
    before_ = content_->bytes();
  } catch (const std::bad_alloc&) {
    return IStreamResult::outOfMemory;
  }
  return IStreamResult::ok;
}

IStreamResult DmKrUtilsFileStream::Write(const void* buffer, std::size_t size, std::size_t& done) {
  done = 0;
  const IStreamResult result = beginChange();
  return result == IStreamResult::ok ? content_->Write(buffer, size, done) : result;
}

IStreamResult DmKrUtilsFileStream::Seek(std::int64_t move, IStreamOrigin origin,
                                        std::uint64_t* newPosition) {
  return content_->Seek(move, origin, newPosition);
}

IStreamResult DmKrUtilsFileStream::Stat(IStreamStat& stat) const {
  const IStreamResult result = content_->Stat(stat);
  stat.name = location_.fullFilePath();
  stat.lastWriteTime = identity_ ? identity_->modifiedNs : 0;
  return result;
}

IStreamResult DmKrUtilsFileStream::SetSize(std::uint64_t size) {
  const IStreamResult result = beginChange();
  return result == IStreamResult::ok ? content_->SetSize(size) : result;
}

IStreamResult DmKrUtilsFileStream::Commit() try {
  failure_.reset();
  if (!before_) return IStreamResult::ok;
  const jt::FilePiece piece{.bytes = content_->bytes()};
  jt::StorageSaveOptions options;
  options.expected = identity_;
  options.createOnly = !identity_;
  committed_ = dmkr::files()->save(location_, {&piece, 1}, options);
  identity_ = committed_.identity;
  before_.reset();
  return IStreamResult::ok;
} catch (const JtFormatError& error) {
  failure_ = error;
  return dmkr::resultOf(error);
} catch (const std::bad_alloc&) {
  return IStreamResult::outOfMemory;
}

IStreamResult DmKrUtilsFileStream::Revert() try {
  if (!before_) return IStreamResult::ok;
  std::uint64_t position = 0;
  content_->Seek(0, IStreamOrigin::current, &position);
  const CComPtr<MemoryStream> old = MemoryStream::create(*before_);
  old->Seek(static_cast<std::int64_t>(position), IStreamOrigin::begin);
  content_ = old;
  if (identity_) before_.reset();
  return IStreamResult::ok;
} catch (const std::bad_alloc&) {
  return IStreamResult::outOfMemory;
}
