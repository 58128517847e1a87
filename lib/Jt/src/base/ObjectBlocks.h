#pragma once

#include <array>
#include <cstddef>
#include <utility>

namespace jt {

/// Memory of JT objects that are made one after another, such as those of a file, and of what is in
/// them: many objects to a block of memory. A block lives as long as an object in it, and may
/// outlive its ObjectBlocks. For one thread at a time; objects may end on any.
class ObjectBlocks {
  struct Block;
  struct Header;

 public:
  ObjectBlocks() noexcept = default;
  ObjectBlocks(const ObjectBlocks&) = delete;
  ObjectBlocks& operator=(const ObjectBlocks&) = delete;
  ~ObjectBlocks() { close(); }

  /// As long as it lives, the JT objects that its thread makes lie in these blocks.
  class Use {
   public:
    explicit Use(ObjectBlocks& blocks) noexcept : outer_(std::exchange(used(), &blocks)) {}
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    ~Use() { used() = outer_; }

   private:
    ObjectBlocks* outer_;
  };

  /// As long as it lives, blocks hear at once of many objects that end on its thread. Inside of
  /// another one it does nothing.
  class EndTogether {
   public:
    EndTogether() noexcept {
      if (!active()) active() = this;
    }
    EndTogether(const EndTogether&) = delete;
    EndTogether& operator=(const EndTogether&) = delete;
    ~EndTogether();

   private:
    friend class ObjectBlocks;
    /// Objects of a block that have ended and that it has not heard of.
    struct Ended {
      Block* block = nullptr;
      std::size_t objects = 0;
    };
    static EndTogether*& active() noexcept;
    void add(Block* block) noexcept;

    std::array<Ended, 8> ended_;  // by address of the block
  };

  /// Memory for an object: of the blocks that this thread uses, else of its own. Throws
  /// std::bad_alloc.
  static void* allocate(std::size_t size);
  /// Takes back what allocate() gave. @param memory not null
  static void release(void* memory) noexcept;

 private:
  static ObjectBlocks*& used() noexcept;
  void* take(std::size_t size);
  void open(std::size_t atLeast);
  void close() noexcept;

  Block* block_ = nullptr;   // the one with room
  std::size_t size_ = 0;     // of block_, in bytes
  std::size_t taken_ = 0;    // bytes of it
  std::size_t objects_ = 0;  // that were made in it
};

}  // namespace jt
