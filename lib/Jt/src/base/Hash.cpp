#include "base/Hash.h"

#include <algorithm>
#include <array>

namespace jt::codec {

namespace {

/// The mixing function of the "lookup2" hash by Bob Jenkins (1996).
struct State {
  std::uint32_t a = 0x9e3779b9;
  std::uint32_t b = 0x9e3779b9;
  std::uint32_t c = 0;

  void mix() noexcept {
    a = (a - b - c) ^ (c >> 13);
    b = (b - c - a) ^ (a << 8);
    c = (c - a - b) ^ (b >> 13);
    a = (a - b - c) ^ (c >> 12);
    b = (b - c - a) ^ (a << 16);
    c = (c - a - b) ^ (b >> 5);
    a = (a - b - c) ^ (c >> 3);
    b = (b - c - a) ^ (a << 10);
    c = (c - a - b) ^ (b >> 15);
  }
  void add(std::uint32_t toA, std::uint32_t toB, std::uint32_t toC) noexcept {
    a += toA;
    b += toB;
    c += toC;
    mix();
  }
  void addThree(const std::int32_t* words) noexcept {
    add(static_cast<std::uint32_t>(words[0]), static_cast<std::uint32_t>(words[1]),
        static_cast<std::uint32_t>(words[2]));
  }
};

std::uint32_t wordAt(std::span<const std::int32_t> words, std::size_t index) noexcept {
  return index < words.size() ? static_cast<std::uint32_t>(words[index]) : 0;
}

}  // namespace

std::uint32_t hash32(std::span<const std::int32_t> words, std::uint32_t seed) noexcept {
  State state{.c = seed};
  std::size_t i = 0;
  for (; words.size() - i >= 3; i += 3) state.addThree(&words[i]);
  state.add(wordAt(words, i), wordAt(words, i + 1), static_cast<std::uint32_t>(words.size()));
  return state.c;
}

void HashChain::add(std::span<const std::int32_t> words) {
  const std::size_t whole = words.size() / 3;
  pieces_.push_back({words.data(), whole, wordAt(words, 3 * whole), wordAt(words, 3 * whole + 1),
                     static_cast<std::uint32_t>(words.size())});
}

void HashChain::add(std::span<const std::uint32_t> words) {
  add(std::span(reinterpret_cast<const std::int32_t*>(words.data()), words.size()));
}

void HashChain::add(std::vector<std::int32_t>&& words) {
  add(std::span<const std::int32_t>(words));
  kept_.push_back(std::move(words));
}

void HashChain::addHalves(std::span<const std::int32_t> halves) {
  std::vector<std::int32_t>& words = kept_.emplace_back((halves.size() + 1) / 2);
  const auto low = [&](std::size_t i) { return static_cast<std::uint32_t>(halves[i]) & 0xffff; };
  const std::size_t pairs = halves.size() / 2;
  for (std::size_t i = 0; i < pairs; ++i)
    words[i] = static_cast<std::int32_t>(low(2 * i) | low(2 * i + 1) << 16);
  if (halves.size() % 2 != 0) words[pairs] = static_cast<std::int32_t>(low(halves.size() - 1));
  const std::size_t whole = halves.size() / 6;
  // The low half of the last word stays free for the length.
  pieces_.push_back(
      {words.data(), whole, wordAt(words, 3 * whole), wordAt(words, 3 * whole + 1),
       (wordAt(words, 3 * whole + 2) << 16) + static_cast<std::uint32_t>(halves.size())});
}

std::uint32_t HashChain::hash() const { return hashesOf({this, 1}).front(); }

/// A chain on its way to its hash.
class HashLane {
 public:
  bool isOpen() const noexcept { return chain_ != nullptr; }
  void begin(const HashChain& chain, std::uint32_t& result) noexcept {
    chain_ = &chain;
    result_ = &result;
    piece_ = 0;
    done_ = 0;
    state_ = {};
    endPieces();
  }
  /// Steps until something else comes. @pre isOpen()
  std::size_t left() const noexcept { return chain_->pieces_[piece_].triples - done_; }

  /// The next steps of K lanes. @pre count <= left() of each
  template <std::size_t K>
  static void run(const std::array<HashLane*, K>& lanes, std::size_t count) noexcept {
    std::array<State, K> states;
    std::array<const std::int32_t*, K> words;
    for (std::size_t k = 0; k < K; ++k) {
      states[k] = lanes[k]->state_;
      words[k] = lanes[k]->chain_->pieces_[lanes[k]->piece_].words + 3 * lanes[k]->done_;
    }
    for (std::size_t i = 0; i < count; ++i)
      for (std::size_t k = 0; k < K; ++k) states[k].addThree(words[k] + 3 * i);
    for (std::size_t k = 0; k < K; ++k) {
      lanes[k]->state_ = states[k];
      lanes[k]->done_ += count;
      lanes[k]->endPieces();
    }
  }

 private:
  void endPieces() noexcept {
    while (piece_ < chain_->pieces_.size() && left() == 0) {
      const HashChain::Piece& piece = chain_->pieces_[piece_];
      state_.add(piece.restA, piece.restB, piece.restC);
      state_ = {.c = state_.c};
      done_ = 0;
      ++piece_;
    }
    if (piece_ < chain_->pieces_.size()) return;
    *result_ = state_.c;
    chain_ = nullptr;
  }

  const HashChain* chain_ = nullptr;
  std::uint32_t* result_ = nullptr;
  std::size_t piece_ = 0;
  std::size_t done_ = 0;  // steps in that piece
  State state_;
};

std::vector<std::uint32_t> hashesOf(std::span<const HashChain> chains) {
  std::vector<std::uint32_t> results(chains.size());
  std::array<HashLane, 2> lanes;
  for (std::size_t next = 0;;) {
    for (HashLane& lane : lanes)
      for (; !lane.isOpen() && next < chains.size(); ++next)
        lane.begin(chains[next], results[next]);
    if (lanes[0].isOpen() && lanes[1].isOpen()) {
      HashLane::run<2>({&lanes[0], &lanes[1]}, std::min(lanes[0].left(), lanes[1].left()));
    } else if (lanes[0].isOpen() || lanes[1].isOpen()) {
      HashLane& last = lanes[lanes[0].isOpen() ? 0 : 1];
      HashLane::run<1>({&last}, last.left());
    } else {
      return results;
    }
  }
}

}  // namespace jt::codec
