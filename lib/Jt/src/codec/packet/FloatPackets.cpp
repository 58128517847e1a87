#include "codec/packet/FloatPackets.h"

#include <bit>
#include <string>

#include "codec/packet/Arithmetic.h"

namespace jt::codec {

namespace {

constexpr std::uint8_t kPlain = 0;
constexpr std::uint8_t kArithmetic = 3;
constexpr std::int32_t kEscape = -2;

double doubleOf(ByteCursor& cursor, const char* what) {
  const auto bytes = cursor.take(sizeof(double), what);
  std::uint64_t bits;
  std::memcpy(&bits, bytes.data(), sizeof bits);
  return std::bit_cast<double>(inFileOrder(bits, cursor.bigEndian()));
}

std::vector<double> doubles(ByteCursor& cursor, Budget& budget, std::size_t count,
                            const char* what) {
  if (count > cursor.left() / sizeof(double))
    fail("truncated", std::to_string(count) + " values of 64 bits do not fit", cursor.offset());
  budget.spend(std::uint64_t{count} * sizeof(double), cursor.offset());
  std::vector<double> values(count);
  for (double& value : values) value = doubleOf(cursor, what);
  return values;
}

/// Two words a value, the low one first.
std::vector<double> plain(ByteCursor& cursor, Budget& budget) {
  const std::size_t words = cursor.count("word count");
  if (words % 2 != 0 || words > cursor.left() / 4)
    fail("bad_packet", std::to_string(words) + " words for values of 64 bits", cursor.offset());
  budget.spend(std::uint64_t{words} * 4, cursor.offset());
  std::vector<double> values(words / 2);
  for (double& value : values) {
    const std::uint64_t low = cursor.u32("value");
    value = std::bit_cast<double>(low | std::uint64_t{cursor.u32("value")} << 32);
  }
  return values;
}

struct Table {
  ContextTable symbols;  // the value of an entry is its position
  std::vector<double> values;
};

/// The first table; @param count of all of them
Table readTables(ByteCursor& cursor, Budget& budget, std::size_t& count) {
  constexpr std::size_t kEntrySize = 4 + 4 + 8 + 4;
  count = cursor.count("context table count");
  if (count < 1 || count > 2)
    fail("bad_context", "expected 1 or 2 context tables, found " + std::to_string(count),
         cursor.offset());
  Table first;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t entries = cursor.count("context entry count");
    if (entries > cursor.left() / kEntrySize)
      fail("bad_context", "a context of " + std::to_string(entries) + " entries does not fit",
           cursor.offset());
    budget.spend(std::uint64_t{entries} * (sizeof(ContextEntry) + sizeof(double)), cursor.offset());
    Table table;
    std::uint64_t total = 0;
    for (std::size_t entry = 0; entry < entries; ++entry) {
      const bool escape = cursor.i32("context symbol") == kEscape;
      const std::uint32_t occurrences = cursor.u32("occurrence count");
      total += occurrences;
      table.values.push_back(doubleOf(cursor, "context value"));
      cursor.i32("reserved");
      table.symbols.entries.push_back({escape, occurrences, static_cast<std::int32_t>(entry), 0});
    }
    if (total > 0x7fffffffU)
      fail("bad_context", "the occurrences of a context add up to " + std::to_string(total),
           cursor.offset());
    table.symbols.total = static_cast<std::uint32_t>(total);
    if (i == 0) first = std::move(table);
  }
  return first;
}

std::vector<double> arithmetic(ByteCursor& cursor, Budget& budget) {
  std::size_t tables = 0;
  Table table = readTables(cursor, budget, tables);
  cursor.take(2 * sizeof(double), "value range");
  std::vector<double> rest = doubles(cursor, budget, cursor.count("out-of-band count"), "value");
  const std::size_t bits = cursor.count("code text length");
  const std::size_t count = cursor.count("value count");
  if (tables > 1) cursor.count("symbol count");
  const std::size_t words = cursor.count("code text word count");
  const std::size_t offset = cursor.offset();
  if (words > cursor.left() / 4 || bits > words * 32)
    fail("truncated", "a code text of " + std::to_string(bits) + " bits does not fit", offset);
  const WordBits text(cursor.take(words * 4, "code text"), bits, cursor.bigEndian(), offset);
  if (bits == 0) {
    if (rest.size() != count)
      fail("bad_packet",
           "expected " + std::to_string(count) + " values, found " + std::to_string(rest.size()),
           offset);
    return rest;
  }
  if (tables > 1 || table.symbols.total == 0)
    fail("bad_context", "code text over this number of tables or without symbols is not defined",
         offset);
  budget.spend(std::uint64_t{count} * (sizeof(double) + sizeof(std::int32_t)), offset);
  // The decoder returns entry positions; escapes are resolved afterwards.
  std::vector<bool> escapes;
  escapes.reserve(table.symbols.entries.size());
  for (ContextEntry& entry : table.symbols.entries) {
    escapes.push_back(entry.escape);
    entry.escape = false;
  }
  std::vector<std::int32_t> entries(count);
  OutOfBand none({});
  decodeArithmetic(text, std::span(&table.symbols, 1), count, none, entries);
  std::vector<double> values(count);
  std::size_t used = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const auto entry = static_cast<std::size_t>(entries[i]);
    if (escapes[entry] && used == rest.size())
      fail("bad_packet", "more escapes than out-of-band values", offset);
    values[i] = escapes[entry] ? rest[used++] : table.values[entry];
  }
  return values;
}

}  // namespace

std::vector<double> decodeFloatPacket(ByteCursor& cursor, Budget& budget) {
  const std::uint8_t codec = cursor.u8("codec");
  if (codec == kPlain) return plain(cursor, budget);
  if (codec == kArithmetic) return arithmetic(cursor, budget);
  fail("bad_packet", "codec " + std::to_string(codec) + " is not known for doubles",
       cursor.offset() - 1);
}

void encodeFloatPacket(Bytes& out, bool bigEndian, std::span<const double> values) {
  append(out, kPlain, bigEndian);
  append(out, static_cast<std::int32_t>(2 * values.size()), bigEndian);
  for (const double value : values) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    append(out, static_cast<std::uint32_t>(bits), bigEndian);
    append(out, static_cast<std::uint32_t>(bits >> 32), bigEndian);
  }
}

}  // namespace jt::codec
