#pragma once

// The hash that shape elements store over their decoded arrays.

#include <cstdint>
#include <span>
#include <vector>

namespace jt::codec {

/// Hash of 32-bit words; hashes of several arrays are chained by the seed.
std::uint32_t hash32(std::span<const std::int32_t> words, std::uint32_t seed) noexcept;

/// Arrays that are hashed one after the other, each with the hash of the one before it as its seed.
class HashChain {
 public:
  HashChain() { pieces_.reserve(kUsualPieces); }
  HashChain(HashChain&&) = default;
  HashChain& operator=(HashChain&&) = default;
  HashChain(const HashChain&) = delete;
  HashChain& operator=(const HashChain&) = delete;
  ~HashChain() = default;

  /// An array of words, which has to outlive the chain.
  void add(std::span<const std::int32_t> words);
  void add(std::span<const std::uint32_t> words);
  /// An array that the chain keeps.
  void add(std::vector<std::int32_t>&& words);
  /// Numbers that count as 16 bits each; copied.
  void addHalves(std::span<const std::int32_t> halves);

  std::uint32_t hash() const;

 private:
  friend class HashLane;
  static constexpr std::size_t kUsualPieces = 24;  // a topology has no more
  /// Words in threes, and what comes behind them.
  struct Piece {
    const std::int32_t* words;
    std::size_t triples;
    std::uint32_t restA;
    std::uint32_t restB;
    std::uint32_t restC;
  };
  std::vector<Piece> pieces_;
  std::vector<std::vector<std::int32_t>> kept_;
};

/// The hash of each chain. A step of a hash has to wait for the one before it, so that two chains
/// at a time take little longer than one.
std::vector<std::uint32_t> hashesOf(std::span<const HashChain> chains);

}  // namespace jt::codec
