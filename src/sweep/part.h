// Part files: what one process has calculated of a sweep, row after row, so that nothing is lost when it ends
// and several processes can share the work.
//
// The first line is a JSON object: the part's place, hashes of all that its results depend on, and the run
// without its rows. The rows that follow are those of the run's CSV files, in their order.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "runfile/run.h"
#include "runfile/write_run.h"
#include "sweep/run_files.h"

namespace ordvane::sweep {

// Which part of how many. Parts are counted from 1.
struct Shard {
  std::int32_t part = 1, parts = 1;
  // Its recalculations among `total`: [first, last).
  std::int64_t first(std::int64_t total) const { return total * (part - 1) / parts; }
  std::int64_t last(std::int64_t total) const { return total * part / parts; }
};

struct PartHeader {
  Shard shard;
  std::int64_t total = 0;  // recalculations of all parts
  std::string workbook, what_if, engine;
  std::string now;  // where the model's clock stands; empty: it reads none
  runfile::Json run, calculation;
  // By output, the field "breakEven" as far as this part has looked for it; null: it is not to be looked for.
  runfile::Json break_evens;
};

// A hash of bytes, for telling files apart that differ by accident.
std::string hash_of(std::string_view bytes);

// "budget.part-2-of-3.csv" for "budget.run.json", beside it.
std::filesystem::path part_file(const std::filesystem::path& run, const Shard& shard);

// Where the clock stands in a part that is there; empty where none is, or its model reads none.
std::string clock_of_part(const std::filesystem::path& file);

// How many recalculations each input and each group has.
struct Shape {
  std::vector<std::int64_t> steps, combinations;
  std::int64_t singles() const;
  std::int64_t total() const;
};
Shape shape_of(const runfile::Run& run);

// A part that is being calculated, locked against every other process.
class PartWriter {
 public:
  // Goes on where the rows that are there end; a last one that is torn is cut off. `anew`: whatever is there
  // goes. `complete` adds what is not known before the first line is written, `calculation` and
  // `break_evens`. Throws host::Error for a file that cannot be used: one that another process is writing, or
  // that was begun with another workbook, definition or engine.
  using Complete = std::function<void(PartHeader& header)>;
  PartWriter(const std::filesystem::path& file, PartHeader header, const Shape& shape, bool anew,
             const Complete& complete);
  ~PartWriter();
  PartWriter(const PartWriter&) = delete;
  PartWriter& operator=(const PartWriter&) = delete;

  // Rows that are there.
  std::int64_t done() const { return done_; }
  // Whole rows, each with its line break. On failure, host::Error; what is there stays usable.
  void append(std::string_view rows, std::int64_t count);

 private:
  void open();
  std::int64_t rows_there(const PartHeader& header, const Shape& shape);
  [[noreturn]] void fail(const std::string& problem) const;

  std::filesystem::path path_;
  int file_ = -1;
  std::int64_t done_ = 0;
};

struct MergeOptions {
  bool replace = false;  // files that are there; false refuses them
  TableForm form = TableForm::kCsv;
  // The rows are read as those of a run are; false for rows that this process has just written.
  bool check = true;
  std::function<void()> between = {};  // called now and then where that is set; what it throws ends the work
};

// The run of all parts, given in any order: the run file and its tables, which appear whole or not at all.
// Throws runfile::BadRun for parts that do not belong together, are missing, given twice or not complete, and
// for what a run cannot have, with file, line and column.
void merge_parts(const std::vector<std::filesystem::path>& parts, const std::filesystem::path& run,
                 const MergeOptions& options);

}  // namespace ordvane::sweep
