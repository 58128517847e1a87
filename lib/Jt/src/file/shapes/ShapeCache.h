#pragma once

// The decoded shapes of one file.

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "JtFormatError.h"
#include "JtMesh.h"
#include "codec/surface/Topology.h"
#include "file/container/Container.h"

namespace jt::file {

/// Bytes that a mesh takes in memory.
std::uint64_t memoryOf(const Mesh& mesh) noexcept;

/// Decodes each shape segment once, however many shapes and threads ask for it, and keeps what was
/// decoded until the file's memory is wanted for something else. All operations are safe from any
/// thread.
class ShapeCache {
 public:
  /// @param container outlives the cache
  explicit ShapeCache(const Container& container);
  ~ShapeCache();
  ShapeCache(const ShapeCache&) = delete;
  ShapeCache& operator=(const ShapeCache&) = delete;

  /// The geometry of a segment; never null. Throws JtFormatError for a damaged one, every time.
  std::shared_ptr<const Mesh> mesh(const TocEntry& entry);
  /// Lets go of the geometry of a segment.
  void release(const TocEntry& entry);
  /// Decodes the shapes of a range of the table of contents. Ends early when the limit is reached
  /// or after `stopLoading`. Throws the last JtFormatError when all that could be decoded is.
  void loadRange(std::size_t first, std::size_t count);
  void stopLoading() noexcept { isStopped_.store(true, std::memory_order_relaxed); }
  /// How the file's surfaces are walked.
  codec::VariantChoice& variants() noexcept { return variants_; }

 private:
  struct Slot {
    std::mutex decoding;
    std::weak_ptr<const Mesh> mesh;       // also when it is not kept
    std::shared_ptr<const Mesh> kept;     // guarded by the cache's mutex
    std::optional<JtFormatError> damage;  // guarded by `decoding`, as `mesh`
  };
  bool isFull() const;
  std::shared_ptr<const Mesh> decode(const TocEntry& entry);
  void dropUnused() noexcept;

  const Container& container_;
  codec::VariantChoice variants_;
  mutable std::mutex mutex_;
  std::unordered_map<const TocEntry*, std::shared_ptr<Slot>> slots_;
  std::atomic<bool> isStopped_{false};
};

}  // namespace jt::file
