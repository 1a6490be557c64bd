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
#include <numeric>
#include <optional>
#include <system_error>

#include "host/error.h"
#include "runfile/description.h"
#include "runfile/json_file.h"
#include "xlsx/whole_file.h"

namespace ordvane::sweep {
namespace {

using runfile::BadRun;
using runfile::OrderedJson;

constexpr const char* kFormat = "ordvane-part";
constexpr int kVersion = 1;
constexpr const char* kWhat = "a part of a sweep";

std::string header_text(const PartHeader& header) {
  const OrderedJson json{{"format", kFormat},         {"version", kVersion},
                         {"part", header.shard.part}, {"parts", header.shard.parts},
                         {"total", header.total},     {"workbook", header.workbook},
                         {"whatIf", header.what_if},  {"engine", header.engine},
                         {"now", header.now},         {"calculation", header.calculation},
                         {"run", header.run}};
  return json.dump() + "\n";
}

// Of a file's first line; nothing for what is none.
std::optional<PartHeader> read_header(std::string_view line) {
  try {
    OrderedJson json = OrderedJson::parse(line);
    if (json.at("format") != kFormat || json.at("version") != kVersion) return std::nullopt;
    PartHeader header;
    header.shard = {json.at("part").get<std::int32_t>(), json.at("parts").get<std::int32_t>()};
    header.total = json.at("total").get<std::int64_t>();
    header.workbook = json.at("workbook").get<std::string>();
    header.what_if = json.at("whatIf").get<std::string>();
    header.engine = json.at("engine").get<std::string>();
    header.now = json.at("now").get<std::string>();
    header.calculation = std::move(json.at("calculation"));
    header.run = std::move(json.at("run"));
    if (header.shard.part < 1 || header.shard.part > header.shard.parts) return std::nullopt;
    return header;
  } catch (const OrderedJson::exception&) {
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

// Where the rows of a part are in its bytes.
class RowScanner {
 public:
  RowScanner(std::string_view bytes, std::size_t at, const Shape& shape, std::int64_t position)
      : bytes_(bytes), at_(at), shape_(shape), counts_(&shape.steps) {
    while (position > 0 && of_ < counts_->size() && position >= (*counts_)[of_]) skip(position);
    enter(position);
  }

  // Goes past the next row. False when none that is whole, and in its place, is there.
  bool next() {
    std::string expected = "1";
    runfile::append_field(expected, static_cast<std::int64_t>(of_ + 1));
    runfile::append_field(expected, position_ + 1);
    expected += ',';
    if (!bytes_.substr(at_).starts_with(expected)) return false;
    bool quoted = false;
    for (std::size_t at = at_; at < bytes_.size(); ++at) {
      if (bytes_[at] == '"') quoted = !quoted;
      if (bytes_[at] != '\n' || quoted) continue;
      at_ = at + 1;
      enter(position_ + 1);
      return true;
    }
    return false;
  }
  // Behind the rows so far.
  std::size_t at() const { return at_; }

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

  std::string_view bytes_;
  std::size_t at_;
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
  std::ifstream stream(file, std::ios::binary);
  std::string line;
  std::getline(stream, line);
  const std::optional<PartHeader> header = read_header(line);
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
                       const MakeCalculation& calculation)
    : path_(file) {
  open();
  try {
    if (anew && ::ftruncate(file_, 0) != 0)
      fail("cannot be written: " + std::generic_category().message(errno));
    const std::size_t end = rows_there(header, shape);
    if (::ftruncate(file_, static_cast<off_t>(end)) != 0 || ::lseek(file_, 0, SEEK_END) < 0)
      fail("cannot be written: " + std::generic_category().message(errno));
    if (end > 0) return;
    header.calculation = calculation();
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
    if (file_ < 0) fail("cannot be written: " + std::generic_category().message(errno));
    if (::flock(file_, LOCK_EX | LOCK_NB) != 0) {
      const int error = errno;
      ::close(file_);
      fail(error == EWOULDBLOCK ? "another sweep is writing it"
                                : "cannot be locked: " + std::generic_category().message(error));
    }
    struct stat opened {};
    struct stat there {};
    if (::fstat(file_, &opened) == 0 && ::stat(path_.c_str(), &there) == 0 && opened.st_ino == there.st_ino)
      return;
    ::close(file_);
  }
}

// Where the rows that can be kept end; 0 when there is not even a first line.
std::size_t PartWriter::rows_there(const PartHeader& header, const Shape& shape) {
  const std::string bytes = runfile::read_text(path_, kWhat);
  const std::size_t line = bytes.find('\n');
  if (line == std::string::npos) {
    const std::string beginning = header_text(header).substr(0, bytes.size());
    const std::size_t compared = std::min(beginning.size(), beginning.find(",\"part"));
    if (bytes.compare(0, compared, beginning, 0, compared) != 0)
      fail("is there, and is not a part of a sweep");
    return 0;
  }
  const std::optional<PartHeader> there = read_header(std::string_view(bytes).substr(0, line));
  if (!there) fail("is there, and is not a part of a sweep");
  std::string other = difference(*there, header);
  if (there->shard.part != header.shard.part || there->shard.parts != header.shard.parts)
    other = "other parts";
  if (!other.empty()) fail("was begun with " + other + "; remove it, or begin anew with --overwrite");
  RowScanner rows(bytes, line + 1, shape, header.shard.first(header.total));
  const std::int64_t most = header.shard.last(header.total) - header.shard.first(header.total);
  while (done_ < most && rows.next()) ++done_;
  return rows.at();
}

void PartWriter::append(std::string_view rows, std::int64_t count) {
  while (!rows.empty()) {
    const ssize_t size = ::write(file_, rows.data(), rows.size());
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) fail("cannot be written: " + std::generic_category().message(errno));
    rows.remove_prefix(static_cast<std::size_t>(size));
  }
  done_ += count;
}

// --- merging ----------------------------------------------------------------------------------------------

namespace {

struct Part {
  std::filesystem::path file;
  std::string bytes;
  std::size_t rows = 0;  // where they begin
  PartHeader header;
};

Part read_part(const std::filesystem::path& file) {
  Part part{file, runfile::read_text(file, kWhat), 0, {}};
  const std::size_t line = part.bytes.find('\n');
  std::optional<PartHeader> header;
  if (line != std::string::npos) header = read_header(std::string_view(part.bytes).substr(0, line));
  if (!header) refuse(file, "is not a part of a sweep; a file such as model.part-1-of-3.csv is expected");
  part.rows = line + 1;
  part.header = *std::move(header);
  return part;
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

// The rows of inputs varied alone, and those of groups.
struct Rows {
  std::string singles, groups;
};

void add_rows(const Part& part, const Shape& shape, Rows& rows) {
  const PartHeader& header = part.header;
  const std::int64_t first = header.shard.first(header.total);
  const std::int64_t last = header.shard.last(header.total);
  RowScanner scanner(part.bytes, part.rows, shape, first);
  std::size_t border = part.rows;
  for (std::int64_t row = first; row < last; ++row) {
    if (!scanner.next())
      refuse(part.file, "has " + std::to_string(row - first) + " of " + std::to_string(last - first) +
                            " rows; let its sweep finish first");
    if (row < shape.singles()) border = scanner.at();
  }
  if (scanner.at() != part.bytes.size())
    refuse(part.file, "has more than its " + std::to_string(last - first) + " rows");
  const std::string_view bytes = part.bytes;
  rows.singles += bytes.substr(part.rows, border - part.rows);
  rows.groups += bytes.substr(border);
}

std::string beside(const std::filesystem::path& run, const std::string& ending) {
  std::string name = run.filename().string();
  if (name.ends_with(".json")) name.resize(name.size() - 5);
  return name + ending;
}

}  // namespace

void merge_parts(const std::vector<std::filesystem::path>& files, const std::filesystem::path& run,
                 bool replace) {
  std::vector<Part> parts;
  for (const std::filesystem::path& file : files) parts.push_back(read_part(file));
  check_together(parts);
  const PartHeader& header = parts.front().header;
  const runfile::Run description =
      runfile::read_description(runfile::Json(header.run), parts.front().file.string());
  const Shape shape = shape_of(description);
  if (shape.total() != header.total) refuse(parts.front().file, "has a first line that contradicts itself");
  const std::size_t outputs = description.outputs.size();
  std::size_t members = 0;
  for (const runfile::Group& group : description.groups) members = std::max(members, group.members.size());
  Rows rows{runfile::rows_header(outputs), runfile::group_rows_header(members, outputs)};
  for (Part& part : parts) {
    add_rows(part, shape, rows);
    part.bytes = {};
  }
  const std::string csv = beside(run, ".csv");
  const std::string groups_csv = description.groups.empty() ? "" : beside(run, ".groups.csv");
  const xlsx::WholeFileOptions options{replace, nullptr, nullptr};
  // The run file last: where it is, its rows are.
  xlsx::write_whole(run.parent_path() / csv, rows.singles, options);
  if (!groups_csv.empty()) xlsx::write_whole(run.parent_path() / groups_csv, rows.groups, options);
  runfile::OrderedJson whole = header.run;
  if (!header.calculation.is_null()) whole["calculation"] = header.calculation;
  xlsx::write_whole(run, runfile::run_text(std::move(whole), csv, groups_csv), options);
}

}  // namespace ordvane::sweep
