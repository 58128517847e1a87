#include "base/ObjectBlocks.h"

#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace jt {

namespace {

constexpr std::size_t kAlignment = 16;  // of objects
constexpr std::size_t kLeastBlock = std::size_t{1} << 12;
constexpr std::size_t kMostBlock = std::size_t{1} << 16;   // what one object can keep alive
constexpr std::size_t kMostObject = std::size_t{1} << 12;  // what is larger has memory of its own

void* allocateBytes(std::size_t size) {
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}

std::byte* bytesAt(void* memory, std::size_t offset) noexcept {
  return static_cast<std::byte*>(memory) + offset;
}

}  // namespace

/// In front of each object.
struct ObjectBlocks::Header {
  std::uint32_t offset;  ///< of the object in its block; 0 for memory of its own
  std::uint32_t size;    ///< of the object, where it lies in a block
};

struct alignas(kAlignment) ObjectBlocks::Block {
  /// What a block that is open counts beside its objects. An object that is made is not counted
  /// until the block is closed: only ends of objects touch the count. Far more than the objects of
  /// a block, and fits 32 bits.
  static constexpr std::size_t kOpen = std::size_t{1} << 30;

  std::atomic<std::size_t> count = kOpen;

  void drop(std::size_t many) noexcept {
    if (count.fetch_sub(many, std::memory_order_acq_rel) == many) std::free(this);
  }
};

ObjectBlocks*& ObjectBlocks::used() noexcept {
  static thread_local ObjectBlocks* blocks = nullptr;
  return blocks;
}

void* ObjectBlocks::allocate(std::size_t size) {
  if (ObjectBlocks* const blocks = used(); blocks && size <= kMostObject) return blocks->take(size);
  std::byte* const memory = bytesAt(allocateBytes(size + kAlignment), kAlignment);
  ::new (memory - sizeof(Header)) Header{};
  return memory;
}

void* ObjectBlocks::take(std::size_t size) {
  const std::size_t wanted = (size + sizeof(Header) + kAlignment - 1) / kAlignment * kAlignment;
  if (!block_ || wanted > size_ - taken_) open(wanted);
  // An object begins where the header of the next one would end.
  const std::size_t offset = taken_ + sizeof(Header);
  std::byte* const memory = bytesAt(block_, offset);
  ASAN_UNPOISON_MEMORY_REGION(memory - sizeof(Header), sizeof(Header) + size);
  ::new (memory - sizeof(Header))
      Header{static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(size)};
  taken_ += wanted;
  ++objects_;
  return memory;
}

void ObjectBlocks::open(std::size_t atLeast) {
  const std::size_t start = sizeof(Block) + kAlignment - sizeof(Header);
  const std::size_t size =
      std::max(std::clamp(2 * size_, kLeastBlock, kMostBlock), start + atLeast);
  void* const memory = allocateBytes(size);
  close();
  block_ = ::new (memory) Block;
  size_ = size;
  taken_ = start;
  ASAN_POISON_MEMORY_REGION(bytesAt(block_, start), size - start);
}

void ObjectBlocks::close() noexcept {
  if (block_) block_->drop(Block::kOpen - objects_);
  block_ = nullptr;
  objects_ = 0;
}

void ObjectBlocks::release(void* memory) noexcept {
  const auto* const header =
      std::launder(reinterpret_cast<Header*>(static_cast<std::byte*>(memory) - sizeof(Header)));
  const std::size_t offset = header->offset;
  if (offset == 0) {
    std::free(static_cast<std::byte*>(memory) - kAlignment);
    return;
  }
  ASAN_POISON_MEMORY_REGION(memory, header->size);
  auto* const block =
      std::launder(reinterpret_cast<Block*>(static_cast<std::byte*>(memory) - offset));
  if (EndTogether* const together = EndTogether::active())
    together->add(block);
  else
    block->drop(1);
}

ObjectBlocks::EndTogether*& ObjectBlocks::EndTogether::active() noexcept {
  static thread_local EndTogether* together = nullptr;
  return together;
}

void ObjectBlocks::EndTogether::add(Block* block) noexcept {
  // Blocks that follow one another in memory have places of their own.
  Ended& place = ended_[reinterpret_cast<std::uintptr_t>(block) / kMostBlock % ended_.size()];
  if (place.block != block) {
    if (place.block) place.block->drop(place.objects);
    place = {block, 0};
  }
  ++place.objects;
}

ObjectBlocks::EndTogether::~EndTogether() {
  if (active() != this) return;
  active() = nullptr;
  for (const Ended& place : ended_)
    if (place.block) place.block->drop(place.objects);
}

}  // namespace jt
