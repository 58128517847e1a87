#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "HostExport.h"
#include "RWClassic.h"

/// How a stream operation ended.
enum class IStreamResult : std::int32_t {
  ok,
  invalidArgument,  ///< a null buffer, a position before the start, ...
  accessDenied,     ///< the stream or file does not allow it
  notFound,         ///< no such file
  notRegular,       ///< not a regular file
  notCurrent,       ///< somebody else changed what the stream was opened from
  mediumFull,       ///< disk full or quota reached
  outOfMemory,
  ioError,  ///< the medium failed
};

/// A few words for a message.
HOST_API std::string_view toText(IStreamResult result);

/// Where a seek counts from.
enum class IStreamOrigin : std::int32_t { begin, current, end };

/// What a stream reports about itself.
struct IStreamStat {
  std::uint64_t size = 0;
  /// The path of a file; may be empty.
  RWClassicCString name;
  /// Last write, nanoseconds since 1970-01-01 UTC; 0 when unknown.
  std::int64_t lastWriteTime = 0;
};

/// A stream of bytes with a position, in the shape of the component object model: counted
/// references and result codes, no exceptions. The count may be changed from any thread; the other
/// operations want one thread at a time. Made with a count of 0: the first CComPtr owns it.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): only Release() destroys it.
class HOST_API IStream {
 public:
  IStream(const IStream&) = delete;
  IStream& operator=(const IStream&) = delete;

  /// Takes or drops a reference and returns the count there is now. At 0 the stream is destroyed.
  virtual std::uint32_t AddRef() = 0;
  virtual std::uint32_t Release() = 0;

  /// Reads up to `size` bytes at the position and moves it. Fewer bytes with `ok` mean that the end
  /// was reached. `done` is always set.
  virtual IStreamResult Read(void* buffer, std::size_t size, std::size_t& done) = 0;

  /// Writes at the position and moves it; the stream grows as needed, with zeros in a gap. After an
  /// error `done` bytes have been written.
  virtual IStreamResult Write(const void* buffer, std::size_t size, std::size_t& done) = 0;

  /// Moves the position; past the end is allowed. After an error the position is unchanged.
  /// @param newPosition set to the position from the start, if not null
  virtual IStreamResult Seek(std::int64_t move, IStreamOrigin origin,
                             std::uint64_t* newPosition = nullptr) = 0;

  /// Describes the stream.
  virtual IStreamResult Stat(IStreamStat& stat) const = 0;

  /// Cuts or grows (with zeros) the stream; the position is unchanged.
  virtual IStreamResult SetSize(std::uint64_t size) = 0;

  /// Makes what was written durable. A transacted stream shows it to others only now, all of it in
  /// one step; when that fails nothing of it is shown.
  virtual IStreamResult Commit() = 0;

  /// Goes back to what the last Commit() left. Does nothing on a stream that is not transacted.
  virtual IStreamResult Revert() { return IStreamResult::ok; }

 protected:
  IStream() = default;
  virtual ~IStream() = default;
};

/// Owns one reference to a counted object (anything with AddRef and Release).
template <class T>
class CComPtr {
 public:
  CComPtr() = default;
  /// Holds nothing.
  CComPtr(std::nullptr_t) {}
  /// Takes a reference of its own.
  CComPtr(T* object) : object_(object) {
    if (object_ != nullptr) object_->AddRef();
  }
  CComPtr(const CComPtr& other) : CComPtr(other.object_) {}
  CComPtr(CComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  template <class U>
  /// Shares the stream of another handle.
  CComPtr(const CComPtr<U>& other) : CComPtr(other.get()) {}
  ~CComPtr() { Release(); }

  /// Lets go of its stream and takes that of `other`.
  CComPtr& operator=(CComPtr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  /// Drops the reference; the pointer is null afterwards.
  void Release() {
    if (T* was = std::exchange(object_, nullptr); was != nullptr) was->Release();
  }
  /// Takes over a reference that the caller owned.
  void Attach(T* object) {
    Release();
    object_ = object;
  }
  /// Gives the reference to the caller.
  [[nodiscard]] T* Detach() { return std::exchange(object_, nullptr); }

  /// The stream, not owned; null when the handle holds nothing.
  T* get() const { return object_; }
  T* operator->() const { return object_; }
  T& operator*() const { return *object_; }
  explicit operator bool() const { return object_ != nullptr; }

  friend bool operator==(const CComPtr& a, const CComPtr& b) { return a.object_ == b.object_; }

 private:
  T* object_ = nullptr;
};
