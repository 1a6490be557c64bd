// Where everything stands in a binary table (docs/run-file.md), for those that read and write them.
#pragma once

#include <bit>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "runfile/run.h"

namespace ordvane::runfile {

static_assert(std::endian::native == std::endian::little, "the values are mapped as they are");

inline constexpr std::string_view kTableMagic = "ORDVANE\n";
inline constexpr std::uint32_t kTableVersion = 1;
inline constexpr std::size_t kHeadSize = 128;
inline constexpr std::size_t kChecksumAt = 64;
inline constexpr std::size_t kSumSize = sizeof(std::uint32_t);  // that of a text's size, too

enum class TableKind : std::uint32_t { kSingles = 1, kGroups = 2 };

// As it stands behind the magic.
struct TableHead {
  std::uint32_t version = kTableVersion;
  TableKind kind = TableKind::kSingles;
  std::uint64_t simulations = 0;
  std::uint64_t values = 0;          // of inputs, in one simulation
  std::uint64_t recalculations = 0;  // in one simulation
  std::uint64_t outputs = 0;
  std::uint64_t texts = 0, text_bytes = 0;

  std::uint64_t all_values() const { return simulations * values; }
  std::uint64_t all_results() const { return simulations * outputs * recalculations; }
  std::uint64_t results_at() const { return kHeadSize + sizeof(double) * all_values(); }
  std::uint64_t texts_at() const { return results_at() + sizeof(double) * all_results(); }
};
static_assert(sizeof(TableHead) == 56);

// Of a run whose rows are counted; without texts.
TableHead head_of(const Run& run, TableKind kind);
// All of it, with magic and checksum.
std::string bytes_of(const TableHead& head);
// CRC-32 as zip archives and PNG have it.
std::uint32_t table_checksum(std::string_view bytes);

// A value or a result that is no text of its own, as the table has it.
double coded(double value);

// The different texts among the results of a table.
class TextMarks {
 public:
  // The mark of a text, a new one for a text that is.
  std::uint32_t mark(std::string_view text);
  void count_in(TableHead& head) const;
  // The end of the table.
  void write(const std::function<void(std::string_view)>& write) const;

 private:
  std::map<std::string, std::uint32_t, std::less<>> marks_;
  std::vector<std::string_view> texts_;  // by their marks; they stand in `marks_`
};

}  // namespace ordvane::runfile
