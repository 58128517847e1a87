#include "file/shapes/ShapeCache.h"

#include <algorithm>

#include "file/shapes/ShapeSegment.h"

namespace jt::file {

std::uint64_t memoryOf(const Mesh& mesh) noexcept {
  std::uint64_t bytes = sizeof(Mesh);
  const auto add = [&](const auto& items) { bytes += items.capacity() * sizeof(items[0]); };
  add(mesh.positions);
  add(mesh.normals);
  add(mesh.colors);
  for (const Mesh::TextureChannel& texture : mesh.textures) add(texture.values);
  add(mesh.flags);
  add(mesh.corners);
  add(mesh.records);
  add(mesh.starts);
  add(mesh.groups);
  return bytes;
}

namespace {

/// A mesh that counts against the document's memory as long as somebody holds it.
struct CountedMesh {
  Mesh mesh;
  MemoryShare memory;
};

}  // namespace

ShapeCache::ShapeCache(const Container& container)
    : container_(container), variants_([&container] { return examineVariants(container); }) {
  container_.memory().setReclaimer([this] { dropUnused(); });
}

ShapeCache::~ShapeCache() { container_.memory().setReclaimer({}); }

std::shared_ptr<const Mesh> ShapeCache::mesh(const TocEntry& entry) {
  std::shared_ptr<Slot> slot;
  {
    const std::lock_guard lock(mutex_);
    std::shared_ptr<Slot>& place = slots_[&entry];
    if (!place) place = std::make_shared<Slot>();
    slot = place;
  }
  const std::lock_guard decoding(slot->decoding);
  auto mesh = slot->mesh.lock();
  if (!mesh && slot->damage) throw JtFormatError(*slot->damage);
  if (!mesh) try {
      mesh = decode(entry);
      slot->mesh = mesh;
    } catch (const JtFormatError& error) {
      if (error.code() != "too_large") slot->damage = error;  // memory may be free another time
      throw;
    }
  const std::lock_guard lock(mutex_);
  slot->kept = mesh;
  return mesh;
}

std::shared_ptr<const Mesh> ShapeCache::decode(const TocEntry& entry) {
  auto counted = std::make_shared<CountedMesh>();
  counted->memory = container_.share();
  counted->mesh = std::move(readShapeSegment(container_, entry, variants_).mesh);
  try {
    counted->memory.take(memoryOf(counted->mesh));
  } catch (const DocumentLimitError& error) {
    throw error.within(container_.position(entry));
  }
  return {counted, &counted->mesh};
}

/// Drops the decoded meshes that nobody else holds.
void ShapeCache::dropUnused() noexcept {
  const std::lock_guard lock(mutex_);
  for (const auto& [entry, slot] : slots_)
    if (slot->kept.use_count() == 1) slot->kept.reset();
}

void ShapeCache::release(const TocEntry& entry) {
  std::shared_ptr<const Mesh> released;  // ends behind the lock
  const std::lock_guard lock(mutex_);
  const auto found = slots_.find(&entry);
  if (found != slots_.end()) released = std::move(found->second->kept);
}

void ShapeCache::loadRange(std::size_t first, std::size_t count) {
  const std::span<const TocEntry> toc = container_.toc();
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

/// True when memory is short: loading ahead is of no more use.
bool ShapeCache::isFull() const {
  // Room that no usual shape would fit in is none.
  constexpr std::uint64_t kLeast = 1 << 20;
  return container_.memory().left() < kLeast;
}

}  // namespace jt::file
