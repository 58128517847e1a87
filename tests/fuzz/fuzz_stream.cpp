// Streams of a host. A script of operations on a stream in memory, beside a plain list of bytes;
// and a component that is opened from, changed in and saved to a stream that reads and writes less
// than asked, fails, and tells a wrong size. Findings: another content, and a failed save that
// could put back the old content and did not.

#include <algorithm>
#include <cstdint>
#include <deque>

#include "DmKrUtilsStreamStorageLocation.h"
#include "DmKrUtilsStreamStorageManager.h"
#include "Finding.h"
#include "JtPropAtom.h"
#include "MemoryStream.h"
#include "SegmentMutator.h"

namespace {

using Script = std::deque<std::uint8_t>;

std::uint8_t next(Script& script) {
  if (script.empty()) return 0;
  const std::uint8_t value = script.front();
  script.pop_front();
  return value;
}

void runOnMemory(Script script) {
  constexpr auto ok = IStreamResult::ok;
  const auto stream = MemoryStream::create();
  std::vector<std::byte> model;
  std::uint64_t position = 0;
  while (!script.empty()) {
    const std::uint8_t operation = next(script);
    const std::size_t size = next(script);
    std::vector<std::byte> bytes(size, std::byte{operation});
    std::size_t done = 0;
    if (operation % 4 == 0) {
      const std::size_t at = std::min<std::size_t>(position, model.size());
      const std::size_t count = std::min(size, model.size() - at);
      if (stream->Read(bytes.data(), size, done) != ok || done != count ||
          !std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count),
                      model.begin() + static_cast<std::ptrdiff_t>(at)))
        finding("a stream reads something else");
      position += count;
    } else if (operation % 4 == 1) {
      if (stream->Write(bytes.data(), size, done) != ok || done != size)
        finding("a stream does not write");
      if (size > 0) model.resize(std::max<std::size_t>(model.size(), position + size));
      std::ranges::copy(bytes, model.begin() + static_cast<std::ptrdiff_t>(
                                                   std::min<std::size_t>(position, model.size())));
      position += size;
    } else if (operation % 4 == 2) {
      const auto origin = static_cast<IStreamOrigin>(operation / 4 % 3);
      const std::int64_t base = origin == IStreamOrigin::begin ? 0
                                : origin == IStreamOrigin::current
                                    ? static_cast<std::int64_t>(position)
                                    : static_cast<std::int64_t>(model.size());
      const std::int64_t move = static_cast<std::int8_t>(size);
      if ((stream->Seek(move, origin) == ok) != (base + move >= 0))
        finding("a stream seeks where it cannot");
      if (base + move >= 0) position = static_cast<std::uint64_t>(base + move);
    } else {
      if (stream->SetSize(size) != ok) finding("a stream cannot be cut");
      model.resize(size);
    }
    if (stream->bytes() != model) finding("a stream holds something else");
  }
}

/// A stream over one in memory that does what a script says.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): only Release() destroys it.
class OddStream final : public CountedStream {
 public:
  explicit OddStream(Bytes bytes) : inner_(MemoryStream::create(std::move(bytes))) {}

  /// From now on an operation fails when the script's next byte is 255, and does less for smaller
  /// ones.
  void follow(Script script) { script_ = std::move(script); }
  const Bytes& bytes() const { return inner_->bytes(); }
  bool hasFailed() const { return hasFailed_; }

  IStreamResult Read(void* buffer, std::size_t size, std::size_t& done) override {
    done = 0;
    return fails() ? IStreamResult::ioError : inner_->Read(buffer, less(size), done);
  }
  IStreamResult Write(const void* buffer, std::size_t size, std::size_t& done) override {
    done = 0;
    return fails() ? IStreamResult::mediumFull : inner_->Write(buffer, less(size), done);
  }
  IStreamResult Seek(std::int64_t move, IStreamOrigin origin, std::uint64_t* position) override {
    return fails() ? IStreamResult::ioError : inner_->Seek(move, origin, position);
  }
  IStreamResult Stat(IStreamStat& stat) const override {
    const IStreamResult result = inner_->Stat(stat);
    if (last_ % 16 == 15) stat.size += last_ / 16;
    return result;
  }
  IStreamResult SetSize(std::uint64_t size) override {
    return fails() ? IStreamResult::accessDenied : inner_->SetSize(size);
  }
  IStreamResult Commit() override { return fails() ? IStreamResult::ioError : inner_->Commit(); }

 private:
  ~OddStream() override = default;
  bool fails() {
    last_ = next(script_);
    hasFailed_ = hasFailed_ || last_ == 255 || last_ % 16 == 15;
    return last_ == 255;
  }
  std::size_t less(std::size_t size) const {
    return last_ == 0 || size == 0 ? size : std::max<std::size_t>(size * last_ / 256, 1);
  }

  CComPtr<MemoryStream> inner_;
  Script script_;
  std::uint8_t last_ = 0;
  bool hasFailed_ = false;
};

void runOnFile(const Bytes& file, Script script) {
  jt::installStorageManager(DmKrUtilsStreamStorageManager::createInstance().get());
  const CComPtr<OddStream> stream(new OddStream(file));
  const auto location = jt::make<DmKrUtilsStreamStorageLocation>();
  location->setStreamObject(new DmKrUtilsStreamObject(CComPtr<IStream>(stream.get())));
  const auto open = [&] {
    JtPartition* raw = nullptr;
    JtPartition::openPartition(location.get(), nullptr, raw, smallLimits());
    jt::Ref<JtPartition> partition(raw);
    raw->unref();
    return partition;
  };
  try {
    const auto root = open();
    root->addProperty(jt::make<JtStringPropAtom>(JtString("edited")).get(),
                      jt::make<JtInt32PropAtom>(7).get(), true);
    stream->follow(std::move(script));
    bool isSaved = true;
    std::string why;
    try {
      root->save(location.get(), {});
    } catch (const JtFormatError& error) {
      isSaved = false;
      why = error.what();
    }
    stream->follow({});
    if (isSaved) {
      open();
    } else if (stream->bytes() != file && why.find("old content again") != std::string::npos) {
      finding("a failed save says that the old content is there, and it is not");
    } else if (!stream->hasFailed()) {
      finding("a save fails without a reason");
    }
  } catch (const JtFormatError&) {
    // Cannot be opened.
  }
}

}  // namespace

/// The last byte is the number of bytes in front of it that are the script; what is before is a
/// file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  static const bool isReady = [] {
    JtPartition::_autoLoadShapes = false;
    return true;
  }();
  (void)isReady;
  const std::size_t steps = std::min<std::size_t>(data[size - 1], size - 1);
  const auto file = std::as_bytes(std::span(data, size - 1 - steps));
  const Script script(data + file.size(), data + size - 1);
  if (file.empty()) {
    runOnMemory(script);
  } else {
    runOnFile({file.begin(), file.end()}, script);
  }
  return 0;
}
