#include "sweep/libreoffice.h"

#include <fstream>
#include <optional>
#include <set>
#include <utility>

#include "calc/address.h"
#include "calc/value.h"
#include "host/error.h"
#include "runfile/json_file.h"
#include "runfile/json_tree.h"
#include "sweep/child_process.h"
#include "sweep/frozen_cells.h"
#include "text/calendar.h"
#include "text/edit.h"
#include "text/system_reasons.h"
#include "xlsx/package_reader.h"

namespace ordvane::sweep {
namespace {

using runfile::Json;

constexpr std::size_t kBatch = 64;  // recalculations that are asked for in one line
constexpr int kMostCrashes = 6;     // one after the other: of three recalculations that were tried twice
constexpr const char* kEndedUnexpectedly = "LibreOffice ended unexpectedly";

[[noreturn]] void fail(const std::string& problem) {
  throw host::Error(host::errc::kHostRefused, problem);
}

std::string seconds(std::chrono::milliseconds limit) {
  const std::string digits = std::to_string(limit.count() / 1000);
  const auto rest = limit.count() % 1000;
  return rest == 0 ? digits : digits + "." + std::to_string(1000 + rest).substr(1);
}

// A text, as the copy may have a name that only the system knows.
void copy_workbook(const std::filesystem::path& from, const std::filesystem::path& to) {
  std::error_code error;
  std::filesystem::copy_file(from, to, error);
  if (error) fail(from.string() + ": cannot be copied: " + text::system_reason(error));
}

template <class Items>
Json places(const Items& items) {
  Json list = Json::array();
  for (const auto& planned : items) list.push_back({planned.item.sheet, planned.item.cell});
  return list;
}

Json place_of(const calc::Workbook& book, calc::CellId id) {
  const calc::Cell& cell = book.cells[static_cast<std::size_t>(id)];
  return {book.sheets[static_cast<std::size_t>(cell.sheet)].name, calc::cell_name(cell.row, cell.column)};
}

Json frozen(const calc::Model& model) {
  const calc::Workbook& book = model.workbook();
  const text::Calendar calendar(book.counts_from_1904);
  Json cells = Json::array();
  for (const FrozenCell& frozen : frozen_cells(model)) {
    Json place = place_of(book, frozen.cell);
    place.push_back(frozen.randoms);
    cells.push_back(std::move(place));
  }
  return {{"now", model.frozen().now + static_cast<double>(calendar.day(text::Date()))}, {"cells", cells}};
}

// Of the formulas that the outputs are calculated from those that are not calculated here, and one for each
// function: what LibreOffice has to know.
Json foreign(const calc::Model& model, const Plan& plan) {
  const calc::Workbook& book = model.workbook();
  Json cells = Json::array();
  std::set<std::pair<const calc::Function*, calc::NodeType>> met;
  for (const calc::CellId cell : model.all_precedents(output_cells(plan))) {
    const std::int32_t formula = book.cells[static_cast<std::size_t>(cell)].formula;
    if (formula < 0) continue;
    bool has_others = !model.obstacle(cell).empty();
    for (const calc::Node& node : book.formulas[static_cast<std::size_t>(formula)].tree.nodes)
      if (node.function != nullptr || node.type == calc::NodeType::kSpill ||
          node.type == calc::NodeType::kSingle || node.type == calc::NodeType::kLet)
        has_others = met.emplace(node.function, node.type).second || has_others;
    if (has_others) cells.push_back(place_of(book, cell));
  }
  return cells;
}

Result result_of(const Json& answer) {
  if (answer.is_number()) return {answer.number(), {}};
  if (answer.is_string()) return {std::numeric_limits<double>::quiet_NaN(), answer.string()};
  if (!answer.is_object()) return {};
  const auto code = static_cast<calc::ErrorCode>(answer.at("error").integer());
  return {std::numeric_limits<double>::quiet_NaN(), std::string(calc::error_text(code))};
}

class LibreOffice : public Calculator {
 public:
  LibreOffice(const std::filesystem::path& workbook, const calc::Model& model, const Plan& plan,
              LibreOfficeOptions options)
      : workbook_(workbook), options_(std::move(options)), outputs_(plan.outputs.size()) {
    setup_ = {{"inputs", places(plan.inputs)},
              {"outputs", places(plan.outputs)},
              {"frozen", frozen(model)},
              {"foreign", foreign(model, plan)}};
    start();
  }

  std::string engine() const override { return engine_; }
  std::vector<std::vector<Result>> evaluate(std::span<const Recalculation> recalculations) override;

 private:
  struct Answer {
    ChildProcess::Answer how;
    Json content;  // of a line

    bool is_problem() const { return content.is_object() && content.contains("error"); }
  };

  void start();
  Answer read_answer(std::chrono::milliseconds limit);
  void ask(std::span<const Recalculation> batch);
  void evaluate_batch(std::span<const Recalculation> batch, std::vector<std::vector<Result>>& results);
  void count_crash();

  std::filesystem::path workbook_;
  LibreOfficeOptions options_;
  std::size_t outputs_;
  Json setup_;
  std::string engine_;
  int crashes_ = 0;                      // one after the other
  std::optional<PrivateFolder> folder_;  // before the process, which ends first
  std::optional<ChildProcess> process_;
};

void LibreOffice::start() {
  process_.reset();
  folder_.emplace();
  const std::string program = folder_->path() + "/worker.py";
  std::ofstream(program) << kWorkerProgram;
  const std::string copy = folder_->path() + "/model" + workbook_.extension().string();
  copy_workbook(workbook_, copy);
  if (!std::filesystem::exists(options_.python))
    fail("LibreOffice is not installed, or not its Python bridge (python3-uno)");
  process_.emplace(std::vector<std::string>{options_.python, "-I", program, folder_->path()},
                   folder_->path());
  Json first = setup_;
  first["workbook"] = copy;
  process_->tell(first.dump());
  const Answer answer = read_answer(options_.start_limit);
  if (answer.how == ChildProcess::Answer::kTimeLimit)
    fail("LibreOffice did not open " + workbook_.string() + " within " + seconds(options_.start_limit) +
         " s");
  if (answer.how == ChildProcess::Answer::kEnded) fail(workbook_.string() + ": " + kEndedUnexpectedly);
  if (answer.is_problem()) fail(workbook_.string() + ": " + answer.content.at("error").string());
  engine_ = answer.content.at("engine").string();
}

LibreOffice::Answer LibreOffice::read_answer(std::chrono::milliseconds limit) {
  std::string line;
  const auto how = process_->wait(line, limit, options_.cancelled);
  return {how, how == ChildProcess::Answer::kLine ? runfile::parse_json(line, "LibreOffice") : Json()};
}

void LibreOffice::ask(std::span<const Recalculation> batch) {
  Json request = Json::array();
  for (const Recalculation& recalculation : batch) {
    Json changes = Json::array();
    for (const Change& change : recalculation) changes.push_back({change.input, change.value});
    request.push_back(std::move(changes));
  }
  process_->tell(request.dump());
}

void LibreOffice::count_crash() {
  if (++crashes_ == kMostCrashes)
    fail(workbook_.string() + ": " + kEndedUnexpectedly + " " + std::to_string(crashes_) + " times in a row");
}

// A recalculation that takes too long, or at which LibreOffice crashes twice, has a text that says so. Those
// behind it are asked for again.
void LibreOffice::evaluate_batch(std::span<const Recalculation> batch,
                                 std::vector<std::vector<Result>>& results) {
  ask(batch);
  bool is_again = false;
  for (std::size_t done = 0; done < batch.size();) {
    const Answer answer = read_answer(options_.step_limit);
    if (answer.how == ChildProcess::Answer::kLine && !answer.is_problem()) {
      std::vector<Result>& row = results.emplace_back();
      for (const Json& result : answer.content) row.push_back(result_of(result));
      crashes_ = 0;
      is_again = false;
      ++done;
      continue;
    }
    const bool is_late = answer.how == ChildProcess::Answer::kTimeLimit;
    if (!is_late) count_crash();
    if (is_late || is_again) {
      const std::string text =
          is_late ? "no result within " + seconds(options_.step_limit) + " s" : kEndedUnexpectedly;
      results.emplace_back(outputs_, Result{std::numeric_limits<double>::quiet_NaN(), text});
      ++done;
    }
    is_again = !is_late && !is_again;
    start();
    ask(batch.subspan(done));
  }
}

std::vector<std::vector<Result>> LibreOffice::evaluate(std::span<const Recalculation> recalculations) {
  std::vector<std::vector<Result>> results;
  for (std::size_t at = 0; at < recalculations.size(); at += kBatch)
    evaluate_batch(recalculations.subspan(at, std::min(kBatch, recalculations.size() - at)), results);
  return results;
}

}  // namespace

std::unique_ptr<Calculator> make_libreoffice(const std::filesystem::path& workbook, const calc::Model& model,
                                             const Plan& plan, const LibreOfficeOptions& options) {
  return std::make_unique<LibreOffice>(workbook, model, plan, options);
}

namespace {

// Old and open formats as far as they can be told: a record of the old one right behind the first, a mark in
// the list of parts of the other.
bool is_encrypted(std::string_view bytes) {
  constexpr std::string_view kBeginnings[] = {std::string_view("\x09\x08\x10\x00", 4),
                                              std::string_view("\x09\x08\x08\x00", 4)};
  constexpr std::size_t kHead = 4;
  for (const std::string_view beginning : kBeginnings)
    for (std::size_t at = bytes.find(beginning); at != bytes.npos; at = bytes.find(beginning, at + 1)) {
      const std::size_t next = at + kHead + static_cast<unsigned char>(beginning[2]);
      if (bytes.substr(std::min(next, bytes.size()), 2) == std::string_view("\x2F\x00", 2)) return true;
    }
  try {
    return xlsx::PackageReader(bytes).read("META-INF/manifest.xml").find("encryption-data") !=
           std::string::npos;
  } catch (const xlsx::BadPackage&) {
    return false;
  }
}

}  // namespace

bool is_package(const std::filesystem::path& workbook) {
  const std::string extension = text::lower_ascii(workbook.extension().string());
  return extension == ".xlsx" || extension == ".xlsm" || extension == ".xltx" || extension == ".xltm";
}

std::string converted_workbook(const std::filesystem::path& workbook, const LibreOfficeOptions& options) {
  if (is_encrypted(runfile::read_text(workbook, "a workbook")))
    throw xlsx::BadWorkbook(workbook.string() +
                            ": the workbook is encrypted; save it without a password first");
  const PrivateFolder folder;
  const std::filesystem::path copy = folder.path() + "/model" + workbook.extension().string();
  copy_workbook(workbook, copy);
  const std::string out = folder.path() + "/converted";
  std::optional<ChildProcess> process;
  try {
    process.emplace(
        std::vector<std::string>{"soffice", "-env:UserInstallation=file://" + folder.path() + "/profile",
                                 "--headless", "--norestore", "--convert-to", "xlsx", "--outdir", out,
                                 copy.string()},
        folder.path());
  } catch (const host::Error& error) {
    if (error.code() != host::errc::kFileNotFound) throw;
    fail(workbook.string() + ": takes LibreOffice to be read, which is not installed");
  }
  std::string line;
  auto answer = ChildProcess::Answer::kLine;
  while (answer == ChildProcess::Answer::kLine)
    answer = process->wait(line, options.start_limit, options.cancelled);
  std::ifstream converted(out + "/model.xlsx", std::ios::binary);
  if (answer == ChildProcess::Answer::kTimeLimit || !converted)
    fail(workbook.string() + ": LibreOffice cannot open it as a workbook");
  return {std::istreambuf_iterator<char>(converted), {}};
}

}  // namespace ordvane::sweep
