#include "codec/packet/Contexts.h"

#include <algorithm>

#include "codec/packet/Bits.h"

namespace jt::codec {

namespace {

constexpr std::uint32_t kMostEntries = 65535;
constexpr std::int32_t kEscapeSymbol = -2;

/// Widths of the fields of an entry.
struct Widths {
  unsigned symbol = 0;
  unsigned occurrences = 0;
  unsigned value = 0;
  unsigned next = 0;
  unsigned sum() const noexcept { return symbol + occurrences + value + next; }
};

unsigned takeWidth(ByteBits& bits, unsigned fieldBits, const char* what) {
  const std::uint32_t width = bits.take(fieldBits, what);
  if (width > 32)
    fail("bad_context",
         std::string(what) + " is " + std::to_string(width) + ", at most 32 is sound",
         bits.offset());
  return width;
}

void checkEntryCount(std::uint32_t count, unsigned bitsPerEntry, const ByteBits& bits,
                     Budget& budget) {
  if (count == 0 || count > kMostEntries || std::uint64_t{count} * bitsPerEntry > bits.left())
    fail("bad_context",
         "a context of " + std::to_string(count) + " entries does not fit the " +
             std::to_string(bits.left() / 8) + " bytes that are left",
         bits.offset());
  budget.spend(std::uint64_t{count} * sizeof(ContextEntry), bits.offset());
}

void finishTable(ContextTable& table, std::size_t offset) {
  std::uint64_t total = 0;
  for (const ContextEntry& entry : table.entries) total += entry.occurrences;
  if (total == 0 || total > 0x7fffffffU)
    fail("bad_context", "the occurrences of a context add up to " + std::to_string(total), offset);
  table.total = static_cast<std::uint32_t>(total);
}

std::int32_t plus(std::uint32_t value, std::uint32_t min) {
  return static_cast<std::int32_t>(value + min);
}

ContextTable readMk2(ByteBits& bits, Budget& budget) {
  ContextTable table;
  const std::uint32_t count = bits.take(16, "context entry count");
  Widths widths;
  widths.symbol = takeWidth(bits, 6, "symbol width");
  widths.occurrences = takeWidth(bits, 6, "occurrence width");
  widths.value = takeWidth(bits, 6, "value width");
  const std::uint32_t min = bits.take(32, "context minimum");
  checkEntryCount(count, widths.sum(), bits, budget);
  table.entries.resize(count);
  for (ContextEntry& entry : table.entries) {
    entry.escape = bits.take(widths.symbol, "symbol") == 0;
    entry.occurrences = bits.take(widths.occurrences, "occurrences");
    entry.value = plus(bits.take(widths.value, "value"), min);
  }
  finishTable(table, bits.offset());
  return table;
}

ContextTable readMk3(ByteBits& bits, Budget& budget) {
  ContextTable table;
  const std::uint32_t count = bits.take(16, "context entry count");
  Widths widths{1, 0, 0, 0};
  widths.occurrences = takeWidth(bits, 6, "occurrence width");
  widths.value = takeWidth(bits, 7, "value width");
  const std::uint32_t min = bits.take(32, "context minimum");
  checkEntryCount(count, widths.sum(), bits, budget);
  table.entries.resize(count);
  for (ContextEntry& entry : table.entries) {
    entry.escape = bits.take(1, "escape flag") != 0;
    entry.occurrences = bits.take(widths.occurrences, "occurrences");
    entry.value = plus(bits.take(widths.value, "value"), min);
  }
  finishTable(table, bits.offset());
  return table;
}

/// Reads Mk.1 tables. A second table has no values: its entries take those of the entries of the
/// first with the same symbol.
std::vector<ContextTable> readMk1(ByteBits& bits, Budget& budget) {
  const std::uint32_t tableCount = bits.take(8, "context table count");
  if (tableCount < 1 || tableCount > 2)
    fail("bad_context", "expected 1 or 2 context tables, found " + std::to_string(tableCount),
         bits.offset());
  std::vector<ContextTable> tables(tableCount);
  std::vector<std::pair<std::int32_t, std::int32_t>> valueOfSymbol;
  std::uint32_t min = 0;
  Widths widths;
  for (std::size_t t = 0; t < tables.size(); ++t) {
    const std::uint32_t count = bits.take(32, "context entry count");
    widths.symbol = takeWidth(bits, 6, "symbol width");
    widths.occurrences = takeWidth(bits, 6, "occurrence width");
    widths.value = t == 0 ? takeWidth(bits, 6, "value width") : 0;
    widths.next = takeWidth(bits, 6, "next context width");
    if (t == 0) min = bits.take(32, "context minimum");
    checkEntryCount(count, widths.sum(), bits, budget);
    tables[t].entries.resize(count);
    for (ContextEntry& entry : tables[t].entries) {
      const std::int32_t symbol = plus(bits.take(widths.symbol, "symbol"), 0U - 2U);
      entry.escape = symbol == kEscapeSymbol;
      entry.occurrences = bits.take(widths.occurrences, "occurrences");
      if (t == 0) {
        entry.value = plus(bits.take(widths.value, "value"), min);
        valueOfSymbol.emplace_back(symbol, entry.value);
      } else if (!entry.escape) {
        const auto found = std::ranges::lower_bound(valueOfSymbol, std::pair{symbol, INT32_MIN});
        if (found == valueOfSymbol.end() || found->first != symbol)
          fail("bad_context", "the second table has a symbol that the first has not",
               bits.offset());
        entry.value = found->second;
      }
      entry.next = bits.take(widths.next, "next context");
      if (entry.next >= tableCount)
        fail("bad_context", "a context entry leads to table " + std::to_string(entry.next),
             bits.offset());
    }
    finishTable(tables[t], bits.offset());
    std::ranges::sort(valueOfSymbol);
  }
  return tables;
}

}  // namespace

bool ContextTable::hasEscape() const noexcept {
  return std::ranges::any_of(entries, &ContextEntry::escape);
}

std::vector<ContextTable> readContexts(PacketKind kind, ByteCursor& cursor, Budget& budget) {
  ByteBits bits(cursor);  // what is left of its last byte is padding
  if (kind == PacketKind::mk1) return readMk1(bits, budget);
  std::vector<ContextTable> tables;
  tables.push_back(kind == PacketKind::mk2 ? readMk2(bits, budget) : readMk3(bits, budget));
  return tables;
}

}  // namespace jt::codec
