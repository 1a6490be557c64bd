// Workbook models for programs, and their sweeps.
#include "ordvane/model.h"

#include <cmath>

#include "library/callbacks.h"
#include "library/errors.h"
#include "runfile/json_file.h"
#include "sweep/asked_model.h"
#include "sweep/child_process.h"
#include "sweep/job.h"
#include "text/edit.h"

namespace ordvane {

struct library::ModelData {
  sweep::AskedModel model;
};

namespace {

std::chrono::sys_seconds beginning_of_today() {
  return std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now());
}

// What is wrong with the name of a cell is the argument's fault, no run's.
template <class Step>
auto with_cells(const Step& step) {
  return library::translating_errors([&] {
    try {
      return step();
    } catch (const runfile::BadRun& error) {
      throw Error(ErrorCode::kInvalidArgument, error.what());
    }
  });
}

CellValue value_of(const sweep::Result& result) {
  if (result.is_number()) return {result.number, {}};
  return {std::nullopt, result.text};
}

sweep::Verify converted(Verify verify) {
  switch (verify) {
    case Verify::kNone:
      break;
    case Verify::kEnds:
      return sweep::Verify::kEnds;
    case Verify::kAll:
      return sweep::Verify::kAll;
  }
  return sweep::Verify::kNone;
}

sweep::Job converted(const std::filesystem::path& workbook, std::string_view definition,
                     const SweepOptions& options) {
  if (options.threads < 0)
    throw Error(ErrorCode::kInvalidArgument,
                "threads: is " + std::to_string(options.threads) + "; 0 or more is expected");
  if (options.time_limit <= std::chrono::seconds(0))
    throw Error(ErrorCode::kInvalidArgument, "time_limit: is " + std::to_string(options.time_limit.count()) +
                                                 "; a number of seconds above 0 is expected");
  std::error_code error;
  if (!options.run.empty() && !options.overwrite && std::filesystem::exists(options.run, error))
    throw Error(ErrorCode::kFileExists, options.run.string() + ": is there already; `overwrite` replaces it");
  sweep::Job job;
  job.workbook = workbook;
  job.what_if = sweep::what_if_of(runfile::parse_json(std::string(definition), "definition"), "definition");
  job.verify = converted(options.verify);
  job.libreoffice = options.libreoffice;
  job.overwrite = options.overwrite;
  job.threads = options.threads;
  job.now = options.now;
  job.office.step_limit = options.time_limit;
  return job;
}

}  // namespace

Model::Model(const std::filesystem::path& workbook, std::optional<std::chrono::sys_seconds> now)
    : data_(library::translating_errors([&] {
        return std::unique_ptr<library::ModelData>(
            new library::ModelData{sweep::AskedModel(workbook, now.value_or(beginning_of_today()))});
      })) {}

Model::~Model() = default;
Model::Model(Model&& other) noexcept = default;
Model& Model::operator=(Model&& other) noexcept = default;

void Model::set(std::string_view cell, double value) {
  with_cells([&] {
    if (!std::isfinite(value))
      throw Error(ErrorCode::kInvalidArgument,
                  std::string(cell) + ": is set to " + std::to_string(value) + "; a number is expected");
    data_->model.set(std::string(cell), value);
  });
}

void Model::reset() {
  data_->model.reset();
}

CellValue Model::value(std::string_view cell) {
  return values({std::string(cell)}).front();
}

std::vector<CellValue> Model::values(const std::vector<std::string>& cells) {
  return with_cells([&] {
    std::vector<CellValue> values;
    for (const sweep::Result& result : data_->model.values(cells)) values.push_back(value_of(result));
    return values;
  });
}

Run sweep_workbook(const std::filesystem::path& workbook, std::string_view definition,
                   const SweepOptions& options) {
  library::Callbacks callbacks(options.cancelled);
  try {
    sweep::Job job = converted(workbook, definition, options);
    std::optional<sweep::PrivateFolder> folder;
    job.run = options.run;
    if (job.run.empty()) job.run = folder.emplace().path() + "/model.run.json";
    if (options.progress)
      job.progress = [&](std::int64_t done, std::int64_t of) {
        callbacks.make([&] { options.progress(done, of); });
      };
    if (options.progress || options.cancelled) job.office.cancelled = [&] { return callbacks.cancelled(); };
    return Run::read(sweep::run_job(job).file);
  } catch (...) {
    callbacks.rethrow();
    library::rethrow_as_error();
  }
}

}  // namespace ordvane
