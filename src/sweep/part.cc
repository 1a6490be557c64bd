#include "sweep/part.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <limits>
#include <numeric>
#include <optional>
#include <system_error>

#include "host/error.h"
#include "runfile/binary_table.h"
#include "runfile/break_evens.h"
#include "runfile/csv_parts.h"
#include "runfile/description.h"
#include "runfile/json_file.h"
#include "runfile/json_tree.h"
#include "sweep/run_files.h"
#include "text/system_reasons.h"

namespace ordvane::sweep {
namespace {

using runfile::BadRun;
using runfile::Json;

constexpr const char* kFormat = "ordvane-part";
constexpr int kVersion = 1;

std::string header_text(const PartHeader& header) {
  const Json json{{"format", kFormat},         {"version", kVersion},
                  {"part", header.shard.part}, {"parts", header.shard.parts},
                  {"total", header.total},     {"workbook", header.workbook},
                  {"whatIf", header.what_if},  {"engine", header.engine},
                  {"now", header.now},         {"calculation", header.calculation},
                  {"run", header.run},         {"breakEvens", header.break_evens}};
  return json.dump() + "\n";
}

// Of a file's first line; nothing for what is none.
std::optional<PartHeader> read_header(std::string_view line) {
  try {
    Json json = runfile::parse_json(line, "");
    if (json.at("format") != kFormat || json.at("version") != kVersion) return std::nullopt;
    PartHeader header;
    const std::int64_t part = json.at("part").integer();
    const std::int64_t parts = json.at("parts").integer();
    if (part < 1 || part > parts || parts > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
    header.shard = {static_cast<std::int32_t>(part), static_cast<std::int32_t>(parts)};
    header.total = json.at("total").integer();
    header.workbook = json.at("workbook").string();
    header.what_if = json.at("whatIf").string();
    header.engine = json.at("engine").string();
    header.now = json.at("now").string();
    header.calculation = std::move(json.at("calculation"));
    header.run = std::move(json.at("run"));
    header.break_evens = std::move(json.at("breakEvens"));
    return header;
  } catch (const BadRun&) {
    return std::nullopt;
  } catch (const Json::Mismatch&) {
    return std::nullopt;
  }
}

// In what two headers differ, for a message; "" for nothing.
std::string difference(const PartHeader& a, const PartHeader& b) {
  if (a.workbook != b.workbook) return "another workbook, or another state of it";
  if (a.what_if != b.what_if || a.total != b.total || a.run != b.run) return "another what-if definition";
  if (a.engine != b.engine) return "another engine (" + a.engine + ", not " + b.engine + ")";
  if (a.now != b.now) return "another clock of the model (" + a.now + ", not " + b.now + ")";
  return {};
}

struct Line {
  std::string text;
  bool is_whole = false;  // a line break follows
};

Line first_line(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  stream.exceptions(std::ios::badbit);  // where memory is lacking for a line, it is not taken for another one
  Line line;
  line.is_whole = std::getline(stream, line.text) && !stream.eof();
  return line;
}

constexpr std::size_t kPiece = std::size_t{1} << 20;  // of a file that is read

// Goes through the rows of a part, of which it never holds more than a piece.
class RowScanner {
 public:
  // `at`: where the rows begin; `position`: of the first among all recalculations.
  RowScanner(const std::filesystem::path& file, std::int64_t at, const Shape& shape, std::int64_t position)
      : file_(file, std::ios::binary), at_(at), shape_(shape), counts_(&shape.steps) {
    file_.seekg(at);
    while (position > 0 && of_ < counts_->size() && position >= (*counts_)[of_]) skip(position);
    enter(position);
  }

  // Goes past the next row. False when none that is whole, and in its place, is there.
  bool next() {
    std::string expected = "1";
    runfile::append_field(expected, static_cast<std::int64_t>(of_ + 1));
    runfile::append_field(expected, position_ + 1);
    expected += ',';
    while (buffer_.size() - begin_ < expected.size())
      if (!fill()) return false;
    if (buffer_.compare(begin_, expected.size(), expected) != 0) return false;
    bool quoted = false;
    for (std::size_t length = 0;; ++length) {
      if (begin_ + length == buffer_.size() && !fill()) return false;
      const char byte = buffer_[begin_ + length];
      if (byte == '"') quoted = !quoted;
      if (byte == '\n' && quoted) ++lines_;
      if (byte != '\n' || quoted) continue;
      begin_ += length + 1;
      at_ += static_cast<std::int64_t>(length) + 1;
      ++lines_;
      enter(position_ + 1);
      return true;
    }
  }
  // Behind the rows so far, and how many lines they have.
  std::int64_t at() const { return at_; }
  std::int64_t lines() const { return lines_; }

 private:
  void skip(std::int64_t& position) {
    position -= (*counts_)[of_++];
    if (of_ == counts_->size() && counts_ == &shape_.steps) {
      counts_ = &shape_.combinations;
      of_ = 0;
    }
  }
  void enter(std::int64_t position) {
    while (of_ < counts_->size() && position >= (*counts_)[of_]) skip(position);
    position_ = position;
  }
  // Reads on; false at the end of the file.
  bool fill() {
    buffer_.erase(0, begin_);
    begin_ = 0;
    const std::size_t size = buffer_.size();
    buffer_.resize(size + kPiece);
    file_.read(buffer_.data() + size, kPiece);
    buffer_.resize(size + static_cast<std::size_t>(file_.gcount()));
    return file_.gcount() > 0;
  }

  std::ifstream file_;
  std::string buffer_;     // from the piece that the next row begins in
  std::size_t begin_ = 0;  // of the next row
  std::int64_t at_, lines_ = 0;
  const Shape& shape_;
  const std::vector<std::int64_t>* counts_;
  std::size_t of_ = 0;
  std::int64_t position_ = 0;
};

[[noreturn]] void refuse(const std::filesystem::path& file, const std::string& problem) {
  throw BadRun(file.string(), "", problem);
}

}  // namespace

std::string hash_of(std::string_view bytes) {
  std::uint64_t hash = 14695981039346656037U;  // FNV-1a
  for (const char byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211U;
  std::array<char, 16> digits{};
  digits.fill('0');
  std::array<char, 16> written{};
  const auto end = std::to_chars(written.data(), written.data() + written.size(), hash, 16);
  std::copy_backward(written.data(), end.ptr, digits.data() + digits.size());
  return {digits.data(), digits.size()};
}

std::filesystem::path part_file(const std::filesystem::path& run, const Shard& shard) {
  std::string name = run.string();
  for (const std::string ending : {".json", ".run"})
    if (name.ends_with(ending)) name.resize(name.size() - ending.size());
  return name + ".part-" + std::to_string(shard.part) + "-of-" + std::to_string(shard.parts) + ".csv";
}

std::string clock_of_part(const std::filesystem::path& file) {
  const std::optional<PartHeader> header = read_header(first_line(file).text);
  return header ? header->now : std::string();
}

std::int64_t Shape::singles() const {
  return std::accumulate(steps.begin(), steps.end(), std::int64_t{0});
}

std::int64_t Shape::total() const {
  return std::accumulate(combinations.begin(), combinations.end(), singles());
}

Shape shape_of(const runfile::Run& run) {
  Shape shape;
  for (const runfile::Input& input : run.inputs) shape.steps.push_back(input.steps);
  for (const runfile::Group& group : run.groups) shape.combinations.push_back(group.combinations);
  return shape;
}

// --- writing ----------------------------------------------------------------------------------------------

PartWriter::PartWriter(const std::filesystem::path& file, PartHeader header, const Shape& shape, bool anew,
                       const Complete& complete)
    : path_(file) {
  open();
  try {
    if (anew && ::ftruncate(file_, 0) != 0) fail("cannot be written: " + text::system_reason(errno));
    const std::int64_t end = rows_there(header, shape);
    if (::ftruncate(file_, end) != 0 || ::lseek(file_, 0, SEEK_END) < 0)
      fail("cannot be written: " + text::system_reason(errno));
    if (end > 0) return;
    complete(header);
    append(header_text(header), 0);
  } catch (...) {
    ::close(file_);
    throw;
  }
}

PartWriter::~PartWriter() {
  ::close(file_);
}

void PartWriter::fail(const std::string& problem) const {
  throw host::Error(host::errc::kHostRefused, path_.string() + ": " + problem);
}

// The file can be gone by the time that it is locked: whoever had it may have merged it.
void PartWriter::open() {
  for (;;) {
    file_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (file_ < 0) fail("cannot be written: " + text::system_reason(errno));
    if (::flock(file_, LOCK_EX | LOCK_NB) != 0) {
      const int error = errno;
      ::close(file_);
      fail(error == EWOULDBLOCK ? "another sweep is writing it"
                                : "cannot be locked: " + text::system_reason(error));
    }
    struct stat opened {};
    struct stat there {};
    if (::fstat(file_, &opened) == 0 && ::stat(path_.c_str(), &there) == 0 && opened.st_ino == there.st_ino)
      return;
    ::close(file_);
  }
}

// Where the rows that can be kept end; 0 when there is not even a first line.
std::int64_t PartWriter::rows_there(const PartHeader& header, const Shape& shape) {
  const auto [bytes, is_whole] = first_line(path_);
  if (!is_whole) {
    const std::string beginning = header_text(header).substr(0, bytes.size());
    const std::size_t compared = std::min(beginning.size(), beginning.find(",\"part"));
    if (bytes.compare(0, compared, beginning, 0, compared) != 0)
      fail("is there, and is not a part of a sweep");
    return 0;
  }
  const std::optional<PartHeader> there = read_header(bytes);
  if (!there) fail("is there, and is not a part of a sweep");
  std::string other = difference(*there, header);
  if (there->shard.part != header.shard.part || there->shard.parts != header.shard.parts)
    other = "other parts";
  if (!other.empty()) fail("was begun with " + other + "; remove it, or begin anew with --overwrite");
  RowScanner rows(path_, static_cast<std::int64_t>(bytes.size()) + 1, shape,
                  header.shard.first(header.total));
  const std::int64_t most = header.shard.last(header.total) - header.shard.first(header.total);
  while (done_ < most && rows.next()) ++done_;
  return rows.at();
}

void PartWriter::append(std::string_view rows, std::int64_t count) {
  while (!rows.empty()) {
    const ssize_t size = ::write(file_, rows.data(), rows.size());
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) fail("cannot be written: " + text::system_reason(errno));
    rows.remove_prefix(static_cast<std::size_t>(size));
  }
  done_ += count;
}

// --- merging ----------------------------------------------------------------------------------------------

namespace {

struct Part {
  std::filesystem::path file;
  PartHeader header;
  // Where the rows begin, those of groups among them, and where they end.
  std::int64_t rows = 0, groups = 0, end = 0;
  std::int64_t single_lines = 0;  // of the rows before those of groups
};

Part read_part(const std::filesystem::path& file) {
  if (!std::ifstream(file)) refuse(file, "cannot be read: " + text::system_reason(errno));
  const Line line = first_line(file);
  std::optional<PartHeader> header;
  if (line.is_whole) header = read_header(line.text);
  if (!header) refuse(file, "is not a part of a sweep; a file such as model.part-1-of-3.csv is expected");
  return {file, *std::move(header), static_cast<std::int64_t>(line.text.size()) + 1};
}

// Sorted by their place, every one there once, all of one sweep.
void check_together(std::vector<Part>& parts) {
  std::sort(parts.begin(), parts.end(),
            [](const Part& a, const Part& b) { return a.header.shard.part < b.header.shard.part; });
  const PartHeader& first = parts.front().header;
  const auto shown_part = [&](std::int32_t part) {
    return "part " + std::to_string(part) + " of " + std::to_string(first.shard.parts);
  };
  for (const Part& part : parts) {
    std::string other = difference(part.header, first);
    if (part.header.shard.parts != first.shard.parts)
      other =
          std::to_string(part.header.shard.parts) + " parts instead of " + std::to_string(first.shard.parts);
    if (!other.empty()) refuse(part.file, "is of " + other + " than " + parts.front().file.string());
  }
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const auto expected = static_cast<std::int32_t>(i + 1);
    if (parts[i].header.shard.part == expected) continue;
    if (i > 0 && parts[i].header.shard.part == parts[i - 1].header.shard.part)
      refuse(parts[i].file,
             "is " + shown_part(parts[i].header.shard.part) + ", as " + parts[i - 1].file.string() + " is");
    refuse(parts[i].file, shown_part(expected) + " is missing");
  }
  const auto next = static_cast<std::int32_t>(parts.size() + 1);
  if (next <= first.shard.parts) refuse(parts.back().file, shown_part(next) + " is missing");
}

// Finds the rows, all of them.
void find_rows(Part& part, const Shape& shape) {
  const PartHeader& header = part.header;
  const std::int64_t first = header.shard.first(header.total);
  const std::int64_t last = header.shard.last(header.total);
  RowScanner scanner(part.file, part.rows, shape, first);
  part.groups = part.rows;
  for (std::int64_t row = first; row < last; ++row) {
    if (!scanner.next())
      refuse(part.file, "has " + std::to_string(row - first) + " of " + std::to_string(last - first) +
                            " rows; let its sweep finish first");
    if (row >= shape.singles()) continue;
    part.groups = scanner.at();
    part.single_lines = scanner.lines();
  }
  part.end = scanner.at();
  if (part.end != static_cast<std::int64_t>(std::filesystem::file_size(part.file)))
    refuse(part.file, "has more than its " + std::to_string(last - first) + " rows");
}

void copy_bytes(const Part& part, std::int64_t begin, std::int64_t end, xlsx::ByteSink& table) {
  std::ifstream file(part.file, std::ios::binary);
  file.seekg(begin);
  std::string piece;
  while (begin < end) {
    piece.resize(static_cast<std::size_t>(std::min<std::int64_t>(end - begin, kPiece)));
    if (!file.read(piece.data(), static_cast<std::streamsize>(piece.size())))
      refuse(part.file, "cannot be read to its end");
    table.write(piece);
    begin += static_cast<std::int64_t>(piece.size());
  }
}

// The rows of all parts as they stand there.
RunTables csv_tables(const std::vector<Part>& parts, const runfile::Run& run) {
  const std::size_t outputs = run.outputs.size();
  std::size_t members = 0;
  for (const runfile::Group& group : run.groups) members = std::max(members, group.members.size());
  RunTables tables;
  tables.singles = [&parts, outputs](xlsx::ByteSink& table) {
    table.write(runfile::rows_header(outputs));
    for (const Part& part : parts) copy_bytes(part, part.rows, part.groups, table);
  };
  if (members == 0) return tables;
  tables.groups = [&parts, outputs, members](xlsx::ByteSink& table) {
    table.write(runfile::group_rows_header(members, outputs));
    for (const Part& part : parts) copy_bytes(part, part.groups, part.end, table);
  };
  return tables;
}

// A file that is written here and there: what it has not come to yet is zeros.
class Pages {
 public:
  explicit Pages(xlsx::ByteSink& file) : file_(file) {}
  void write(std::uint64_t at, std::string_view bytes) {
    while (end_ < at)
      append(std::string(static_cast<std::size_t>(std::min<std::uint64_t>(at - end_, kPiece)), '\0'));
    const auto over = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), end_ - at));
    if (over > 0) file_.write_over(at, bytes.substr(0, over));
    append(bytes.substr(over));
  }

 private:
  void append(std::string_view bytes) {
    file_.write(bytes);
    end_ += bytes.size();
  }

  xlsx::ByteSink& file_;
  std::uint64_t end_ = 0;
};

// Of all parts, in their order.
struct AllRows {
  std::vector<runfile::CsvRows> singles, groups;
};

AllRows rows_of(const std::vector<Part>& parts, std::int64_t singles) {
  AllRows all;
  for (const Part& part : parts) {
    const std::int64_t first = part.header.shard.first(part.header.total);
    const std::int64_t last = part.header.shard.last(part.header.total);
    if (first < singles) all.singles.push_back({part.file, part.rows, 1, std::min(last, singles) - first});
    if (last > singles)
      all.groups.push_back({part.file, part.groups, 1 + part.single_lines, last - std::max(first, singles)});
  }
  return all;
}

RunTables binary_tables(const AllRows& rows, runfile::Run& run, const std::function<void()>& between) {
  RunTables tables;
  tables.form = TableForm::kBinary;
  tables.singles = [&](xlsx::ByteSink& table) {
    Pages pages(table);
    runfile::csv_to_binary_rows(
        rows.singles, run, [&](std::uint64_t at, std::string_view bytes) { pages.write(at, bytes); },
        between);
  };
  if (run.groups.empty()) return tables;
  tables.groups = [&](xlsx::ByteSink& table) {
    Pages pages(table);
    runfile::csv_to_binary_group_rows(
        rows.groups, run, [&](std::uint64_t at, std::string_view bytes) { pages.write(at, bytes); }, between);
  };
  return tables;
}

// What could not be read as a run is not made into one. `file`: for what is wrong with the description.
void check_readable(const Json& description, const AllRows& rows, const std::string& file,
                    const std::function<void()>& between) {
  runfile::Run run = runfile::read_description(description, file);
  runfile::read_csv_parts(rows.singles, run, between);
  if (!run.groups.empty()) runfile::read_csv_group_parts(rows.groups, run, between);
  runfile::check_break_evens(runfile::JsonValue(description, "", file), run);
}

// Each part has looked for those of its own inputs, which stand in the order of the parts.
void add_break_evens(const Part& part, std::size_t output, Json& item) {
  const Json& found = part.header.break_evens;
  if (!found.is_array() || output >= found.size() || !found[output].is_array()) return;
  Json& all = item["breakEven"];
  if (all.is_null()) all = Json::array();
  for (const Json& point : found[output]) all.push_back(point);
}

}  // namespace

void merge_parts(const std::vector<std::filesystem::path>& files, const std::filesystem::path& run,
                 const MergeOptions& options) {
  std::vector<Part> parts;
  parts.reserve(files.size());
  for (const std::filesystem::path& file : files) parts.push_back(read_part(file));
  check_together(parts);
  const PartHeader& header = parts.front().header;
  const std::string name = parts.front().file.string();
  runfile::Run description = runfile::read_description(header.run, name);
  const Shape shape = shape_of(description);
  if (shape.total() != header.total || description.simulations != 1)
    refuse(parts.front().file, "has a first line that contradicts itself");
  for (Part& part : parts) find_rows(part, shape);
  runfile::Json whole = header.run;
  if (!header.calculation.is_null()) whole["calculation"] = header.calculation;
  for (std::size_t output = 0; output < description.outputs.size(); ++output)
    for (const Part& part : parts) add_break_evens(part, output, whole["outputs"][output]);
  const std::function<void()> between = [&options] {
    if (options.between) options.between();
  };
  const AllRows rows = rows_of(parts, shape.singles());
  if (options.check) check_readable(whole, rows, name, between);
  const RunTables tables = options.form == TableForm::kBinary ? binary_tables(rows, description, between)
                                                              : csv_tables(parts, description);
  write_run_files(run, std::move(whole), tables, options.replace);
}

}  // namespace ordvane::sweep
