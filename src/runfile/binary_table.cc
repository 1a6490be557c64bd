#include "runfile/binary_table.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>
#include <system_error>
#include <vector>

#include "runfile/binary_layout.h"
#include "runfile/recalculations.h"
#include "runfile/row_source.h"
#include "runfile/values.h"
#include "text/system_reasons.h"
#include "text/utf8.h"

namespace ordvane::runfile {
namespace {

constexpr std::size_t kPiece = std::size_t{1} << 16;  // of values

// --- reading ----------------------------------------------------------------------------------------------

// One table of a run that is being read: the head first, then its values.
class TableReader {
 public:
  // `expected`: what the run file says, but for the texts.
  TableReader(const std::filesystem::path& table, const Run& run, TableHead expected)
      : path_(table), run_(run), file_(table, std::ios::binary) {
    read_head(expected);
    read_texts();
  }

  StoredValues values() const {
    StoredValues values = stored(kHeadSize, head_.all_values());
    check(values, [this](std::size_t at, double value) {
      if (!std::isnan(value)) fail_number("values", at, head_.values, value);
      if (mark_of(value) != 0)
        fail(place("values", at, head_.values), "is a NaN of mark " + std::to_string(mark_of(value)) +
                                                    "; a number, or a NaN of mark 0, is expected");
    });
    return values;
  }

  // The texts among the results go to `texts`, where they are asked for.
  StoredValues results(TextsOfResults& texts) const {
    StoredValues results = stored(head_.results_at(), head_.all_results());
    check(results, [&](std::size_t at, double value) {
      if (!std::isnan(value)) fail_number("results", at, head_.recalculations, value);
      const std::uint32_t mark = mark_of(value);
      if (mark == 0 || is_error(mark)) return;
      if (mark < kFirstTextMark || mark - kFirstTextMark >= texts_.size())
        fail(place("results", at, head_.recalculations),
             "is a NaN of mark " + std::to_string(mark) + "; 0, the number of an error or that of one of " +
                 counted(static_cast<std::int64_t>(texts_.size()), "text") + " is expected");
      if (run_.reading.keeps_texts) texts.emplace_hint(texts.end(), at, texts_[mark - kFirstTextMark]);
    });
    return results;
  }

  // Where a value stands: "values[0][17]", with the simulation first and of results the output between.
  std::string place(const char* array, std::uint64_t at, std::uint64_t row) const {
    std::string text = "[" + std::to_string(at % row) + "]";
    at /= row;
    if (row == head_.recalculations && std::string_view(array) == "results") {
      text.insert(0, "[" + std::to_string(at % head_.outputs) + "]");
      at /= head_.outputs;
    }
    return array + ("[" + std::to_string(at) + "]") + text;
  }
  [[noreturn]] void fail(const std::string& field, const std::string& problem) const {
    throw BadRun(path_.string(), field, problem);
  }

 private:
  static bool is_error(std::uint32_t mark) {
    const auto error = static_cast<host::CellError>(mark);
    host::CellError named{};
    return host::cell_error_from_text(host::cell_error_text(error), named) && named == error;
  }

  [[noreturn]] void fail_number(const char* array, std::size_t at, std::uint64_t row, double value) const {
    fail(place(array, at, row), "is " + value_text(value) + "; a number " + kNumberRange + " is expected");
  }

  void expect(const char* field, std::uint64_t is, std::uint64_t expected) const {
    if (is != expected)
      fail(field, "is " + std::to_string(is) + "; " + std::to_string(expected) + " is expected");
  }

  void read_head(const TableHead& expected) {
    std::error_code error;
    if (std::filesystem::is_directory(path_, error)) fail("", "is not a file");
    if (!file_) fail("", "cannot be read: " + text::system_reason(errno));
    std::string bytes(kHeadSize, '\0');
    const std::uintmax_t size = std::filesystem::file_size(path_, error);
    file_.read(bytes.data(), kHeadSize);
    if (!begins_as_binary_table(std::string_view(bytes).substr(0, static_cast<std::size_t>(file_.gcount()))))
      fail("magic",
           "is not that of a binary table; \"ORDVANE\" and a line feed are expected at its beginning");
    if (error || size < kHeadSize)
      fail("", "the file is too short: " + std::to_string(size) + " bytes; its head alone has " +
                   std::to_string(kHeadSize));
    std::memcpy(&head_, bytes.data() + kTableMagic.size(), sizeof head_);
    expect("version", head_.version, kTableVersion);
    std::uint32_t sum = 0;
    std::memcpy(&sum, bytes.data() + kChecksumAt, sizeof sum);
    if (sum != table_checksum(std::string_view(bytes).substr(0, kChecksumAt)))
      fail("checksum", "is not that of the head: the file is damaged");
    if (bytes.find_first_not_of('\0', kChecksumAt + kSumSize) != std::string::npos)
      fail("", "the head has bytes behind its checksum; zeros are expected");
    expect("kind", static_cast<std::uint32_t>(head_.kind), static_cast<std::uint32_t>(expected.kind));
    expect("simulations", head_.simulations, expected.simulations);
    expect("values", head_.values, expected.values);
    expect("recalculations", head_.recalculations, expected.recalculations);
    expect("outputs", head_.outputs, expected.outputs);
    // The counts are those of the run file, which are small enough to be multiplied.
    if (size < head_.texts_at() || head_.text_bytes != size - head_.texts_at())
      fail("", "the file has " + std::to_string(size) + " bytes; " + std::to_string(head_.texts_at()) +
                   " are expected, and behind them the " + std::to_string(head_.text_bytes) +
                   " bytes of the texts");
    if (head_.texts > head_.text_bytes / kSumSize)
      fail("texts", "is " + std::to_string(head_.texts) + ", more than " + std::to_string(head_.text_bytes) +
                        " bytes hold");
  }

  void read_texts() {
    file_.seekg(static_cast<std::streamoff>(head_.texts_at()));
    std::uint64_t left = head_.text_bytes;
    for (std::uint64_t i = 0; i < head_.texts; ++i) {
      std::uint32_t size = 0;
      std::string text;
      if (left >= sizeof size) file_.read(reinterpret_cast<char*>(&size), sizeof size);
      if (left < sizeof size || size > left - sizeof size) fail_text(i, "is longer than the file");
      text.resize(size);
      file_.read(text.data(), size);
      left -= sizeof size + size;
      if (text::first_invalid_byte(text) != std::string_view::npos) fail_text(i, "is not UTF-8 text");
      texts_.push_back(std::move(text));
    }
    if (!file_) fail("", "cannot be read: " + text::system_reason(errno));
    if (left > 0) fail("textBytes", "has " + std::to_string(left) + " bytes more than the texts");
  }
  [[noreturn]] void fail_text(std::uint64_t text, const std::string& problem) const {
    fail("texts[" + std::to_string(text) + "]", problem);
  }

  StoredValues stored(std::uint64_t offset, std::uint64_t count) const {
    constexpr const char* kTooLarge = "is too large for this machine's memory";
    if (offset + count * sizeof(double) > std::numeric_limits<std::size_t>::max()) fail("", kTooLarge);
    try {
      return StoredValues::of_table(path_, static_cast<std::size_t>(offset), static_cast<std::size_t>(count));
    } catch (const std::system_error& error) {
      fail("", "cannot be read: " + text::system_reason(error.code()));
    } catch (const std::bad_alloc&) {
      fail("", kTooLarge);
    }
  }

  // Calls `unusual` for what is no number of a run.
  template <class Unusual>
  void check(const StoredValues& values, const Unusual& unusual) const {
    for (std::size_t begin = 0; begin < values.size(); begin += kPiece) {
      const std::size_t end = std::min(begin + kPiece, values.size());
      for (std::size_t at = begin; at < end; ++at)
        if (const double value = values.recorded(at); !(std::fabs(value) < kNumberLimit)) unusual(at, value);
      values.looked_at(end - begin);
      if (run_.reading.progress)
        run_.reading.progress(path_, static_cast<std::int64_t>(end),
                              static_cast<std::int64_t>(values.size()));
    }
  }

  const std::filesystem::path& path_;
  const Run& run_;
  std::ifstream file_;
  TableHead head_;
  std::vector<std::string> texts_;
};

// A member has one value at a step, whatever the others are at.
void check_members(const TableReader& table, const Run& run) {
  for (std::int32_t simulation = 0; simulation < run.simulations; ++simulation)
    for (const Group& group : run.groups)
      for (std::size_t member = 0; member < group.members.size(); ++member) {
        const std::int64_t stride = group.stride(member);
        for (std::int64_t combination = 0; combination < group.combinations; ++combination) {
          const std::int64_t first = combination / stride % group.steps[member] * stride;
          const std::size_t at = run.group_value_index(simulation, group, combination, member);
          const double value = run.group_input_values[at];
          const double wanted =
              run.group_input_values[run.group_value_index(simulation, group, first, member)];
          if (value == wanted || (std::isnan(value) && std::isnan(wanted))) continue;
          table.fail(table.place("values", at, run.group_values),
                     "is " + value_text(value) + "; " + as_at_this_step(wanted) + " is expected");
        }
      }
}

// --- writing ----------------------------------------------------------------------------------------------

class TableWriter {
 public:
  TableWriter(const Run& run, TableKind kind, const WriteBytes& write)
      : head_(head_of(run, kind)),
        singles_(kind == TableKind::kSingles),
        values_(singles_ ? run.input_values : run.group_input_values),
        results_(singles_ ? run.output_values : run.group_output_values),
        texts_(singles_ ? run.texts : run.group_texts),
        write_(write) {
    for (const auto& [place, text] : texts_) marks_.mark(text);
    marks_.count_in(head_);
  }

  void write_all() {
    write_(bytes_of(head_));
    auto text = texts_.end();
    write_values(values_, text);
    text = texts_.begin();
    write_values(results_, text);
    marks_.write(write_);
  }

 private:
  // `text`: the first among these values.
  void write_values(const StoredValues& values, TextsOfResults::const_iterator& text) {
    std::vector<double> coded;
    std::size_t at = 0;
    values.take_pieces(0, values.size(), [&](std::span<const double> piece) {
      while (!piece.empty()) {
        const auto part = piece.first(std::min(piece.size(), kPiece));
        coded.clear();
        for (const double value : part) coded.push_back(coded_value(value, at++, text));
        write_({reinterpret_cast<const char*>(coded.data()), coded.size() * sizeof(double)});
        piece = piece.subspan(part.size());
      }
    });
  }

  double coded_value(double value, std::size_t at, TextsOfResults::const_iterator& text) {
    if (text == texts_.end() || text->first != at) return coded(value);
    return marked(marks_.mark((text++)->second));
  }

  TableHead head_;
  bool singles_;
  const StoredValues& values_;
  const StoredValues& results_;
  const TextsOfResults& texts_;
  const WriteBytes& write_;
  TextMarks marks_;
};

}  // namespace

bool is_binary_table(const std::filesystem::path& table) {
  return table.extension() == kBinaryEnding;
}

bool begins_as_binary_table(std::string_view bytes) {
  return bytes.starts_with(kTableMagic);
}

void read_binary_rows(const std::filesystem::path& table, Run& run) {
  count_rows(run, run.file.string());
  const TableReader reader(table, run, head_of(run, TableKind::kSingles));
  run.input_values = reader.values();
  run.output_values = reader.results(run.texts);
}

void read_binary_group_rows(const std::filesystem::path& table, Run& run) {
  count_group_rows(run, run.file.string());
  const TableReader reader(table, run, head_of(run, TableKind::kGroups));
  run.group_input_values = reader.values();
  check_members(reader, run);
  run.group_output_values = reader.results(run.group_texts);
}

void write_binary_rows(const Run& run, const WriteBytes& write) {
  TableWriter(run, TableKind::kSingles, write).write_all();
}

void write_binary_group_rows(const Run& run, const WriteBytes& write) {
  TableWriter(run, TableKind::kGroups, write).write_all();
}

}  // namespace ordvane::runfile
