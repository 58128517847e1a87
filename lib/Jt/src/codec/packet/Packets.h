#pragma once

// Integer packets: vectors of 32-bit integers in the three forms that the generations have. Nothing
// in a packet names its form or its predictor; the field decides.

#include <functional>
#include <span>
#include <vector>

#include "base/Bytes.h"
#include "codec/packet/Arithmetic.h"
#include "codec/packet/Contexts.h"
#include "codec/packet/Predictors.h"

namespace jt::codec {

/// How Mk.3 packets store the values that arithmetic code has no symbol for.
enum class OutOfBandForm : std::uint8_t {
  nested,  ///< in a packet: segments that are stored as they are
  plain,   ///< as words behind their count: segments that are compressed as a whole
};

/// Reads a packet and undoes its prediction. Safe on untrusted bytes: throws JtFormatError with the
/// offset; takes time and memory linear in the input and in what the budget allows.
std::vector<std::int32_t> decodePacket(PacketKind kind, ByteCursor& cursor, Budget& budget,
                                       Predictor predictor = Predictor::none,
                                       OutOfBandForm form = OutOfBandForm::nested);

/// A batch of packets, read in sequence and decoded together at the end: faster for arithmetic
/// code. Large ones are decoded on two cores.
class PacketBatch {
 public:
  /// Reads a packet. Its values are there when finish() has been called; their number is now. Safe
  /// on untrusted bytes as decodePacket() is.
  /// @param values must stay where it is until then
  void add(PacketKind kind, ByteCursor& cursor, Budget& budget, Predictor predictor,
           std::vector<std::int32_t>& values, OutOfBandForm form = OutOfBandForm::nested);
  /// Decodes what was added. Throws JtFormatError.
  void finish();
  /// True when a packet of Mk.2 or Mk.3 is in a code that only PacketStyle::small uses.
  bool hasSmall() const noexcept { return hasSmall_; }

 private:
  friend class PacketReader;
  struct Stream {
    std::size_t packet;
    ArithmeticStream decoder;
  };
  /// What follows when the streams of its packet are decoded; in order.
  struct Step {
    std::size_t packet;
    std::function<void()> run;
  };

  std::vector<bool> halfOf() const;
  template <class IsWanted>
  void finish(const IsWanted& isWanted);

  std::size_t packets_ = 0;
  std::vector<Stream> streams_;
  std::vector<Step> steps_;
  bool hasSmall_ = false;
};

enum class PacketStyle : std::uint8_t {
  plain,  ///< what every reader understands: fields of one width, or of stepped widths in Mk.1
  small,  ///< the shortest of these, arithmetic code, from Mk.2 on both by high and low bits, in
          ///< Mk.3 places among the latest values, and in Mk.1 values as they are
};

/// Appends a packet.
void encodePacket(PacketKind kind, Bytes& out, bool bigEndian, std::span<const std::int32_t> values,
                  Predictor predictor = Predictor::none, PacketStyle style = PacketStyle::plain);

/// Throws JtFormatError "bad_packet" unless a nested packet that was just read has as many values
/// as the outer one expects.
void expectCount(std::size_t found, std::size_t expected, const ByteCursor& cursor);

/// Human-readable name of the codec of a packet that begins with these bytes.
const char* packetCodecName(PacketKind kind, std::span<const std::byte> packet);

}  // namespace jt::codec
