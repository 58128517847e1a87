#include "file/shapes/ShapeCache.h"

#include <algorithm>

#include "file/shapes/ShapeSegment.h"

namespace jt::file {

std::uint64_t memoryOf(const Mesh& mesh) noexcept {
  std::uint64_t bytes = sizeof(Mesh);
  const auto add = [&](const auto& items) { bytes += items.capacity() * sizeof(items[0]); };
  add(mesh.positions);
  add(mesh.normals);
  add(mesh.colours);
  for (const Mesh::TextureChannel& texture : mesh.textures) add(texture.values);
  add(mesh.flags);
  add(mesh.corners);
  add(mesh.records);
  add(mesh.starts);
  add(mesh.groups);
  return bytes;
}

ShapeCache::ShapeCache(const Container& container)
    : container_(container), variants_([&container] { return examineVariants(container); }) {}

std::shared_ptr<const Mesh> ShapeCache::mesh(const TocEntry& entry) {
  std::shared_ptr<Slot> slot;
  {
    const std::lock_guard lock(mutex_);
    std::shared_ptr<Slot>& place = slots_[&entry];
    if (!place) place = std::make_shared<Slot>();
    slot = place;
  }
  const std::lock_guard decoding(slot->decoding);
  if (auto mesh = slot->mesh.lock()) {
    keep(*slot, mesh);
    return mesh;
  }
  if (slot->damage) throw JtFormatError(*slot->damage);
  try {
    auto mesh = std::make_shared<const Mesh>(
        std::move(readShapeSegment(container_, entry, variants_).mesh));
    slot->mesh = mesh;
    keep(*slot, mesh);
    return mesh;
  } catch (const JtFormatError& error) {
    slot->damage = error;
    throw;
  }
}

void ShapeCache::keep(Slot& slot, const std::shared_ptr<const Mesh>& mesh) {
  const std::lock_guard lock(mutex_);
  if (slot.kept) return;
  const std::uint64_t bytes = memoryOf(*mesh);
  const std::uint64_t limit = container_.limits().maxDocumentBytes;
  if (bytes > limit || keptBytes_ > limit - bytes) return;  // its holders keep it
  slot.kept = mesh;
  slot.bytes = bytes;
  keptBytes_ += bytes;
}

void ShapeCache::release(const TocEntry& entry) {
  std::shared_ptr<const Mesh> released;  // ends behind the lock
  const std::lock_guard lock(mutex_);
  const auto found = slots_.find(&entry);
  if (found == slots_.end()) return;
  Slot& slot = *found->second;
  released = std::move(slot.kept);
  slot.kept = nullptr;
  keptBytes_ -= std::exchange(slot.bytes, 0);
}

void ShapeCache::loadRange(std::size_t first, std::size_t count) {
  const std::vector<TocEntry>& toc = container_.toc();
  std::exception_ptr damage;
  for (std::size_t i = first; i < std::min(toc.size(), first + count); ++i) {
    if (!isShapeSegment(toc[i].type())) continue;
    if (isStopped_.load(std::memory_order_relaxed) || isFull()) return;
    try {
      mesh(toc[i]);
    } catch (const JtFormatError& error) {
      // An element without a mesh is as it should be.
      if (error.code() != "no_geometry") damage = std::current_exception();
    }
  }
  if (damage) std::rethrow_exception(damage);
}

/// True when what is kept has reached the limit: loading ahead is of no more use.
bool ShapeCache::isFull() const {
  // Room that no usual shape would fit in is none.
  constexpr std::uint64_t kLeast = 1 << 20;
  const std::lock_guard lock(mutex_);
  const std::uint64_t limit = container_.limits().maxDocumentBytes;
  return limit < kLeast || keptBytes_ > limit - kLeast;
}

}  // namespace jt::file
