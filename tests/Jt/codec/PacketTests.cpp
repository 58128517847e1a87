// Integer packets and predictors against packets worked out by hand, and against each other.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "JtFormatError.h"
#include "codec/packet/Arithmetic.h"
#include "codec/packet/Packets64.h"
#include "codec/packet/PrefixTree.h"
#include "support/Damage.h"
#include "support/MemoryStorage.h"

namespace {

using namespace jt::codec;
using Values = std::vector<std::int32_t>;

const Values kV{5, 4, 5, 5, 5, 4, 4};
const Values kW{10, 10, 10, 10, 12, 10, 10, 10, 90000, 10};
const Values kTwo{5, 9, 9, 9, 5, 9};  // 9 after each of the first table

Bytes fromHex(std::string_view text) {
  Bytes bytes;
  std::string digits;
  for (const char c : text)
    if (c != ' ') digits += c;
  for (std::size_t i = 0; i < digits.size(); i += 2)
    bytes.push_back(static_cast<std::byte>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  return bytes;
}

/// Decodes all of the bytes. @param rest receives how many are left over
Values decode(PacketKind kind, std::span<const std::byte> bytes, std::size_t* rest = nullptr,
              bool bigEndian = false, Predictor predictor = Predictor::none) {
  const std::unique_ptr<std::byte[]> exact(new std::byte[bytes.size()]);  // for sanitizers
  std::ranges::copy(bytes, exact.get());
  ByteCursor cursor({exact.get(), bytes.size()}, bigEndian);
  Budget budget(1 << 20);
  Values values = decodePacket(kind, cursor, budget, predictor);
  if (rest) *rest = cursor.left();
  return values;
}

struct Packet {
  PacketKind kind;
  const char* name;
  const Values& values;
  const char* hex;
};

const Packet kPackets[] = {
    {PacketKind::mk1, "bitlength", kV, "01 26000000 07000000 02000000 524a21e5 00000010"},
    {PacketKind::mk1, "bitlength", kW,
     "01 64000000 0a000000 04000000 0a8542f1 af502818 04427ee5 000000a0"},
    {PacketKind::mk1, "arithmetic", kV,
     "03 01 00000002 08304100 00000499 c800000000 10000000 07000000 01000000 000000a1"},
    {PacketKind::mk1, "arithmetic with escape", kW,
     "03 01 00000003 0c40810000000a021c0830 01000000 01 1d000000 01000000 01000000 80fccaff"
     "10000000 0a000000 01000000 0000a0ac"},
    {PacketKind::mk1, "arithmetic over two tables", kTwo,
     "03 02 00000002 0c10c1000000057199000000010c1064 00000000 10000000 06000000 06000000 01000000 "
     "00000040"},
    {PacketKind::mk1, "prefix tree", kV,
     "02 01 00000002 08304100 00000499 c800000000 07000000 07000000 01000000 00000046"},
    {PacketKind::mk1, "prefix tree", kW,
     "02 01 00000003 0c44410000000a50000031000120d7e180 00000000 0c000000 0a000000 01000000"
     "0000400c"},
    {PacketKind::mk2, "fixed", kV, "07000000 01 1c000000 c02d2208"},
    {PacketKind::mk2, "fixed", kW,
     "0a000000 01 ce000000 f995920a 00000000 00000000 00010000 00000000 30fc0a00 00000000"},
    {PacketKind::mk2, "variable", kV, "07000000 01 3b000000 02000080 002aba36"},
    {PacketKind::mk2, "variable", kW,
     "0a000000 01 e4000000 98110080 7b6cdbb6 6e36379b b9d9dc6c e66673b7 d9dc0fcb cdfd174f "
     "00000090"},
    {PacketKind::mk2, "arithmetic", kV,
     "07000000 03 10000000 000000a1 000208304000000126e4 00000000"},
    {PacketKind::mk2, "arithmetic with escape", kW,
     "0a000000 03 10000000 0000a0ac 00030c408000000280 8e0830 01000000 01 31000000 20bf9224 "
     "0000c8af"},
    {PacketKind::mk2, "chopper", kV,
     "07000000 04 01 04000000 01 07000000 03 10000000 000000a1 000208304000000026e4 00000000"
     "07000000 01 0d000000 00000000"},
    {PacketKind::mk2, "chopper", kW,
     "0a000000 04 08 0a000000 11 0a000000 03 10000000 00000064 000208420000000029 00c6bc 00000000"
     "0a000000 01 71000000 000c5300 00000000 01000020 00000086"},
    {PacketKind::mk3, "fixed", kV, "07000000 01 12000000 00005721"},
    {PacketKind::mk3, "fixed", kW,
     "0a000000 01 ce000000 d69f0154 00000020 00000000 00010000 00000000 30fc0a00 00000000"},
    {PacketKind::mk3, "variable", kV, "07000000 01 1c000000 00159da0"},
    {PacketKind::mk3, "variable", kW,
     "0a000000 01 d9000000 ba23e78c eeb3b957 3e9bfb6c b7b9cfe6 9bfb6cee 78cae63e 806ceebf"},
    {PacketKind::mk3, "arithmetic", kV, "07000000 03 10000000 000000a1 00020c080000002192"},
    {PacketKind::mk3, "arithmetic with escape", kW,
     "0a000000 03 10000000 0000a0ac 000310100000005444 0180 01000000 01 33000000 83587f06 "
     "0040ac3f"},
    {PacketKind::mk3, "chopper", kV,
     "07000000 04 01 04000000 01 07000000 03 10000000 000000a1 00020c080000000192"
     "07000000 01 0e000000 00001c80"},
    {PacketKind::mk3, "chopper", kW,
     "0a000000 04 08 0a000000 11 0a000000 03 10000000 00000064 000210400000000240035e"
     "0a000000 01 7b000000 ec758ebc b3cf3efb cf3efbed 20fbafb2"},
    {PacketKind::mk3, "move-to-front", kV,
     "07000000 05 02000000 01 0d000000 00005021 07000000 03 10000000 00004012 "
     "00030817fffffffa1aa0"},
    {PacketKind::mk3, "move-to-front", kW,
     "0a000000 05 03000000 01 57000000 d69f0154 00000020 000cbf0a"
     "0a000000 03 10000000 0000eb2a 00030c17fffffff98a94"},
};

TEST(Packets, HandMadePacketsDecodeAndEndWhereTheyEnd) {
  for (const Packet& packet : kPackets) {
    SCOPED_TRACE(packet.name + std::string(" of form ") +
                 std::to_string(static_cast<int>(packet.kind) + 1));
    Bytes bytes = fromHex(packet.hex);
    bytes.resize(bytes.size() + 3);
    std::size_t rest = 0;
    EXPECT_EQ(decode(packet.kind, bytes, &rest), packet.values) << packet.hex;
    EXPECT_EQ(rest, 3U);
  }
}

TEST(Packets, EveryTruncationIsAnErrorAndEveryChangedBitIsHarmless) {
  for (const Packet& packet : kPackets) {
    const Bytes bytes = fromHex(packet.hex);
    for (std::size_t n = 0; n < bytes.size(); ++n)
      EXPECT_THROW(decode(packet.kind, std::span(bytes).first(n)), JtFormatError)
          << packet.name << ' ' << n;
    for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
      Bytes changed = bytes;
      changed[bit / 8] ^= std::byte{1} << (bit % 8);
      try {
        decode(packet.kind, changed);
      } catch (const JtFormatError& error) {
        EXPECT_TRUE(error.where().offset) << error.what();
      }
    }
  }
}

TEST(Packets, EachCheckRefusesSomeDamage) {
  std::set<std::string> said;
  for (const Packet& packet : kPackets)
    addRefusals(fromHex(packet.hex), said,
                [&](const Bytes& changed) { decode(packet.kind, changed); });
  expectRefusals(said, {"bad_context: a context entry leads to table ",
                        "bad_context: a context of  entries does not fit the  bytes that are left",
                        "bad_context: expected  or  context tables, found ",
                        "bad_context: symbol width is , at most  is sound",
                        "bad_context: the occurrences of a context add up to ",
                        "bad_context: the second table has a symbol that the first has not",
                        "bad_count: value count is , expected  or more",
                        "bad_packet:  bits chopped off values of  bits",
                        "bad_packet:  bits of code text are left over",
                        "bad_packet:  bits of code text in  words",
                        "bad_packet: a field width of ",
                        "bad_packet: a number of more than  digits",
                        "bad_packet: a range wider than  bits",
                        "bad_packet: a run passes the end of the values",
                        "bad_packet: a window offset of ",
                        "bad_packet: expected a nested packet of  values, found ",
                        "bad_packet: more escapes than outofband values",
                        "bad_packet: runs that never give a value",
                        "too_large: decoded data would take  bytes, the limit leaves ",
                        "truncated:  values of  bits do not fit the  bits that are left",
                        "truncated: expected  bytes for code text, found ",
                        "truncated: expected  words, found  bytes",
                        "truncated: the code text ends inside a value",
                        "truncated: the code text is longer than what is left"});

  // Symbols and values of several tables: as many of the one as of the other.
  const std::vector<ContextTable> tables{{{{false, 1, 7, 0}}, 1}};
  const Bytes words(8);
  for (const auto& [count, code] : {std::pair{2U, "bad_packet"}, {3U, ""}, {4U, "bad_packet"}}) {
    Values out(count);
    OutOfBand none{Values()};
    EXPECT_EQ(
        errorCode([&] { decodeArithmetic(WordBits(words, 64, false, 0), tables, 3, none, out); }),
        code);
    EXPECT_EQ(
        errorCode([&] { decodePrefixTree(WordBits(words, 0, false, 0), tables, 3, {}, out); }),
        code);
  }
}

/// Producers order equal weights in several ways; the codes are of trees that differ in that.
TEST(Packets, PrefixTreesOfEveryOrderOfEqualWeightsDecode) {
  ContextTable table;
  for (const auto& [occurrences, value] : {std::pair{1U, 5}, {1U, 9}, {1U, -2}, {2U, 40}})
    table.entries.push_back({false, occurrences, value, 0});
  for (const std::uint32_t code : {0b1110000100U, 0b0010001011U, 0b0001111011U, 0b1101110100U}) {
    Bytes word;
    for (const unsigned shift : {0U, 8U, 16U, 24U}) word.push_back(std::byte(code << 22 >> shift));
    Values values(5);
    decodePrefixTree(WordBits(word, 10, false, 0), {&table, 1}, values.size(), {}, values);
    EXPECT_EQ(values, (Values{5, 9, 40, -2, 40})) << code;
  }
}

TEST(Packets, ThePacketsOfOneFormAreNotTakenForThoseOfAnother) {
  for (const Packet& packet : kPackets) {
    if (packet.values != kV || packet.kind == PacketKind::mk1) continue;
    const PacketKind other = packet.kind == PacketKind::mk2 ? PacketKind::mk3 : PacketKind::mk2;
    const Bytes bytes = fromHex(packet.hex);
    try {
      std::size_t rest = 0;
      const Values values = decode(other, bytes, &rest);
      EXPECT_FALSE(values == packet.values && rest == 0) << packet.name;
    } catch (const JtFormatError&) {
    }
  }
}

TEST(Packets, WhatOnlySeemsToNeedMemoryOrTimeIsRefused) {
  struct Case {
    PacketKind kind;
    const char* name;
    const char* hex;
    const char* said;
  };
  const Case cases[] = {
      {PacketKind::mk2, "2^31-1 values of no width", "ffffff7f 01 0d000000 00000000",
       "decoded data would take 8589934588 bytes, the limit leaves 1048576"},
      {PacketKind::mk3, "2^31-1 values of no width", "ffffff7f 01 0b000000 00000000",
       "decoded data would take 8589934588 bytes, the limit leaves 1048576"},
      {PacketKind::mk2, "negative count", "ffffffff 01 0d000000 00000000",
       "value count is -1, expected 0 or more"},
      {PacketKind::mk2, "runs of no length", "07000000 01 40000000 00000080 00000000",
       "runs that never give a value"},
      {PacketKind::mk3, "2^31-1 symbols of no bits", "ffffff7f 03 00000000 0001 040000000008",
       "the occurrences of a context add up to 0"},
      {PacketKind::mk1, "entries of no width", "03 01 ffff0000 00000000 00000000 00000000",
       "a context of 4294901760 entries does not fit the 5 bytes that are left"},
      {PacketKind::mk1, "words that are not there", "00 ffffff7f 00000000",
       "expected 2147483647 words, found 4 bytes"},
      {PacketKind::mk2, "chopper in chopper without end",
       "01000000 04 00 01000000 04 00 01000000 04 00 01000000 04 00 01000000 04 00 01000000 04 00"
       "01000000 04 00 01000000 04 00 01000000 04 00 01000000 04 00",
       "packets nested too deep"},
  };
  for (const Case& hostile : cases)
    EXPECT_EQ(errorText([&] { decode(hostile.kind, fromHex(hostile.hex)); }), hostile.said)
        << hostile.name;
}

TEST(Predictors, ResidualsOfEachPredictor) {
  struct Case {
    Predictor predictor;
    Values residuals;
  };
  // Among the last ones are steps of 8 and -8, which strips do not continue.
  const Values values{10, 11, 13, 17, 25, 26, 40, 42, 48, 60, 40, 61, 33};
  const Case cases[] = {{Predictor::none, values},
                        {Predictor::lag1, {10, 11, 13, 17, 8, 1, 14, 2, 6, 12, -20, 21, -28}},
                        {Predictor::lag2, {10, 11, 13, 17, 12, 9, 15, 16, 8, 18, -8, 1, -7}},
                        {Predictor::stride1, {10, 11, 13, 17, 4, -7, 13, -12, 4, 6, -32, 41, -49}},
                        {Predictor::stride2, {10, 11, 13, 17, 9, 3, 3, 7, -7, 2, -16, -17, 1}},
                        {Predictor::stripIndex, {10, 11, 13, 17, 9, 3, 13, 14, 6, 16, -10, -1, -9}},
                        {Predictor::ramp, {10, 11, 13, 17, 21, 21, 34, 35, 40, 51, 30, 50, 21}},
                        {Predictor::xor1, {10, 11, 13, 17, 8, 3, 50, 2, 26, 12, 20, 21, 28}},
                        {Predictor::xor2, {10, 11, 13, 17, 20, 11, 49, 48, 24, 22, 24, 1, 9}}};
  for (const Case& expected : cases) {
    SCOPED_TRACE(static_cast<int>(expected.predictor));
    Values now = values;
    predict(expected.predictor, now);
    EXPECT_EQ(now, expected.residuals);
    undoPrediction(expected.predictor, now);
    EXPECT_EQ(now, values);
  }
}

RC_GTEST_PROP(Packets, AnEncodedPacketDecodesToItsValues, (bool wide, bool bigEndian)) {
  const auto values = *rc::gen::container<Values>(wide ? rc::gen::arbitrary<std::int32_t>()
                                                       : rc::gen::inRange<std::int32_t>(-9, 9));
  const auto kind = *rc::gen::element(PacketKind::mk1, PacketKind::mk2, PacketKind::mk3);
  const auto predictor = static_cast<Predictor>(*rc::gen::inRange(0, 9));
  const auto style = *rc::gen::element(PacketStyle::plain, PacketStyle::small);
  Bytes bytes;
  encodePacket(kind, bytes, bigEndian, values, predictor, style);
  std::size_t rest = 0;
  RC_ASSERT(decode(kind, bytes, &rest, bigEndian, predictor) == values);
  RC_ASSERT(rest == 0U);
}

/// Values as residuals are: mostly near zero, some far off.
RC_GTEST_PROP(Packets, SmallPacketsAreShorterAndDecode, ()) {
  const auto kind = *rc::gen::element(PacketKind::mk1, PacketKind::mk2, PacketKind::mk3);
  const int spread = *rc::gen::inRange(1, 2000);
  const int offBy = *rc::gen::inRange(1, 1 << 30);
  const auto count = *rc::gen::inRange<std::size_t>(200, 3000);
  std::uint32_t state = *rc::gen::arbitrary<std::uint32_t>();
  Values values(count);
  for (std::int32_t& value : values) {
    std::int64_t sum = 0;
    for (int i = 0; i < 8; ++i) sum += (state = state * 1664525 + 1013904223) >> 16;
    value = static_cast<std::int32_t>((sum - 4 * 65535) * spread / 65536);
    if (state % 97 == 0) value += offBy;
  }
  Bytes plain;
  Bytes small;
  encodePacket(kind, plain, false, values);
  encodePacket(kind, small, false, values, Predictor::none, PacketStyle::small);
  RC_ASSERT(decode(kind, small) == values);
  RC_ASSERT(small.size() <= plain.size() + 8);
}

TEST(Packets, ValuesThatNearlyAllAreTheSameDecode) {
  // The usual value comes before, between or behind the others in the table.
  for (const Values& others : {Values{1}, Values{-1}, Values{-2, 1, 90000}})
    for (const std::uint32_t every : {17U, 40U, 300U, 20000U}) {
      Values values(50000);
      std::uint32_t state = every;
      for (std::int32_t& value : values) {
        state = state * 1664525 + 1013904223;
        if ((state >> 8) % every == 0) value = others[state % others.size()];
      }
      for (const auto kind : {PacketKind::mk1, PacketKind::mk2, PacketKind::mk3}) {
        Bytes bytes;
        encodePacket(kind, bytes, false, values, Predictor::none, PacketStyle::small);
        EXPECT_STREQ(packetCodecName(kind, bytes), "arithmetic");
        EXPECT_EQ(decode(kind, bytes), values) << "one in " << every;
      }
    }
}

TEST(Packets, SteppedWidthsFollowTheValues) {
  // Longer than what is planned at once; each width is worth a change.
  Values values(9000);
  for (std::size_t i = 0; i < values.size(); ++i)
    values[i] = i % 300 < 100 ? 0 : i % 300 < 200 ? -2 : INT32_MIN;
  Bytes bytes;
  encodePacket(PacketKind::mk1, bytes, false, values);
  EXPECT_EQ(decode(PacketKind::mk1, bytes), values);
  EXPECT_LT(bytes.size() * 8, 3000 * (1 + 3 + 33) + 30 * 40);
  for (const Packet& packet : kPackets) {
    if (packet.kind != PacketKind::mk1 || packet.name != std::string_view("bitlength")) continue;
    Bytes own;
    encodePacket(PacketKind::mk1, own, false, packet.values);
    EXPECT_LE(own.size(), fromHex(packet.hex).size());
  }
}

/// Few values for a table, in stretches that are longer than a run and differ by more bits than one
/// change of width has, some of them next to the limits.
TEST(Packets, RunsOfOneWidthFollowTheValues) {
  Values values;
  for (std::int32_t i = 0; i < 120; ++i) {
    values.push_back(i < 40 || i > 60 ? 1000 + i : 1000 - 5557 * i);
    if (i == 50) values.insert(values.end(), {INT32_MIN, INT32_MAX});
  }
  for (const auto kind : {PacketKind::mk2, PacketKind::mk3})
    for (const bool bigEndian : {false, true}) {
      Bytes plain;
      Bytes small;
      encodePacket(kind, plain, bigEndian, values);
      encodePacket(kind, small, bigEndian, values, Predictor::none, PacketStyle::small);
      EXPECT_STREQ(packetCodecName(kind, small), "bitlength");
      EXPECT_LT(small.size(), plain.size() / 2);
      EXPECT_EQ(decode(kind, small, nullptr, bigEndian), values);
    }
}

/// Codes of normals come back soon, but are spread over a range that no table holds.
TEST(Packets, RecentValuesAreCodedByTheirPosition) {
  Values values;
  std::uint32_t state = 1;
  for (std::size_t i = 0; i < 20000; ++i) {
    state = state * 1664525 + 1013904223;
    const bool isFresh = i < 8 || (state >> 16) % 8 == 0;
    values.push_back(isFresh ? static_cast<std::int32_t>(state >> 12)
                             : values[i - 1 - (state >> 20) % 6]);
  }
  Bytes small;
  encodePacket(PacketKind::mk3, small, false, values, Predictor::none, PacketStyle::small);
  EXPECT_STREQ(packetCodecName(PacketKind::mk3, small), "move-to-front");
  EXPECT_EQ(decode(PacketKind::mk3, small), values);
  EXPECT_LT(small.size(), 20000U);
}

/// Angles of neighbours differ by little, and each has low bits that are noise.
TEST(Packets, RecentHighBitsAreFieldsOfTheirOwn) {
  Values values;
  std::uint32_t state = 1;
  std::uint32_t angles[] = {20, 40};
  for (std::size_t i = 0; i < 20000; ++i) {
    std::uint32_t value = 0;
    for (std::uint32_t& angle : angles) {
      state = state * 1664525 + 1013904223;
      angle = (angle + (state >> 30) % 3 + 63) % 64;
      value = value << 10 | angle << 4 | (state >> 20) % 16;
    }
    values.push_back(static_cast<std::int32_t>(value));
  }
  Bytes small;
  encodePacket(PacketKind::mk3, small, false, values, Predictor::none, PacketStyle::small);
  EXPECT_STREQ(packetCodecName(PacketKind::mk3, small), "chopper");
  EXPECT_EQ(decode(PacketKind::mk3, small), values);
  EXPECT_LT(small.size(), 20000 * 15 / 8U);  // of 20 bits, 8 are noise
}

/// A symbol in the middle of the others keeps the code between two bits, until a later one settles
/// words of them at once, upwards or downwards.
TEST(Packets, CarryPropagatesThroughPendingBits) {
  for (const std::int32_t next : {0, 2}) {
    Values values(300, 1);
    values.insert(values.end(), 300, next);
    values.insert(values.end(), 300, 2 - next);
    Bytes small;
    encodePacket(PacketKind::mk2, small, false, values, Predictor::none, PacketStyle::small);
    EXPECT_STREQ(packetCodecName(PacketKind::mk2, small), "arithmetic");
    EXPECT_EQ(decode(PacketKind::mk2, small), values) << next;
  }
}

// --- 64 bits, and segments that are compressed as a whole

constexpr std::int64_t kWide = (std::int64_t{1} << 40) + 5;

TEST(Packets, ValuesOf64BitsInEveryCodec) {
  const struct {
    const char* name;
    std::vector<std::int64_t> values;
    const char* hex;
  } packets[] = {
      {"null",
       {-(std::int64_t{1} << 50) + 1, 6},
       "020000000010000000010000000000fcff0600000000000000"},
      {"fixed",
       {-3, 900, 12, -3, 77},
       "0500000001b3000000feffff7fffffffffc2010080000000001e381c0000000a00"},
      {"variable",
       {5, -(std::int64_t{1} << 45), 5 + (std::int64_t{1} << 33), 4},
       "0400000001e00000000200008000000080bbbbbb00ffffffa88cffdffd00000010c3111105"},
      {"arithmetic with escape",
       {7, -9, 7, kWide, 7, -9, 3, kWide},
       "0800000003210000000080795a000000000004094fffffffbffffffffd0000000900300000010002000000"
       "000020000000e800010000000300000000000000"},
      {"chopper",
       {17179869289, 106, 34359738475},
       "03000000040a64000000000000002c03000000018700000000000000000000000100000000000000000000"
       "24030000000187000000020000000000008003000000000000800000000c"},
      {"move-to-front",
       {256, 44, 256, 256, 44},
       "0500000005020000000191000000160000000000000080000000000000000000006a05000000018b000000"
       "ffffff7fffffffff00000080000000800000c004"},
      {"empty", {}, "00000000"}};
  std::set<std::string> said;
  for (const auto& packet : packets) {
    SCOPED_TRACE(packet.name);
    const Bytes bytes = fromHex(packet.hex);
    addRefusals(bytes, said, [](const Bytes& changed) {
      ByteCursor cursor(changed, false);
      Budget budget(1 << 20);
      decodePacket64(cursor, budget, OutOfBandForm::plain);
    });
    const auto decode64 = [&](std::size_t size) {
      const std::unique_ptr<std::byte[]> exact(new std::byte[size]);  // for sanitizers
      std::copy_n(bytes.begin(), size, exact.get());
      ByteCursor cursor({exact.get(), size}, false);
      Budget budget(1 << 20);
      auto values = decodePacket64(cursor, budget, OutOfBandForm::plain);
      EXPECT_EQ(cursor.left(), 0U);
      return values;
    };
    EXPECT_EQ(decode64(bytes.size()), packet.values);
    for (std::size_t size = 0; size < bytes.size(); ++size)
      EXPECT_THROW(decode64(size), JtFormatError) << size;
    for (const bool big : {false, true}) {
      Bytes written;
      encodePacket64(written, big, packet.values);
      ByteCursor cursor(written, big);
      Budget budget(1 << 20);
      EXPECT_EQ(decodePacket64(cursor, budget, OutOfBandForm::nested), packet.values);
    }
  }
  std::string deep;
  for (int level = 0; level < 10; ++level) deep += "0100000005";
  const Bytes nested = fromHex(deep);
  EXPECT_EQ(errorText([&] {
              ByteCursor cursor(nested, false);
              Budget budget(1 << 20);
              decodePacket64(cursor, budget, OutOfBandForm::plain);
            }),
            "packets nested too deep");
  expectRefusals(
      said,
      {"bad_context: a context of  entries does not fit",
       "bad_context: the occurrences of a context add up to ",
       "bad_packet:  bits chopped off values of  bits", "bad_packet: a field width of ",
       "bad_packet: a run passes the end of the values", "bad_packet: a window offset of ",
       "bad_packet: expected a nested packet of  values, found ",
       "bad_packet: fewer new values than places for them",
       "bad_packet: more escapes than outofband values", "truncated:  values of  bits do not fit"});
}

TEST(Packets, OutOfBandValuesArePlainInCompressedSegments) {
  const Bytes bytes =
      fromHex("0a000000 03 10000000 0000a0ac 0003101000000054440180 01000000 905f0100");
  ByteCursor cursor(bytes, false);
  Budget budget(1 << 20);
  EXPECT_EQ(decodePacket(PacketKind::mk3, cursor, budget, Predictor::none, OutOfBandForm::plain),
            kW);
  EXPECT_EQ(cursor.left(), 0U);
}

}  // namespace
