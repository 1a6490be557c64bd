// From a workbook and a what-if definition to a recorded run.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "calc/model.h"
#include "runfile/run.h"
#include "sweep/libreoffice.h"
#include "sweep/part.h"
#include "sweep/what_if.h"

namespace ordvane::sweep {

// How many recalculations LibreOffice makes, too, where it is installed.
enum class Verify : std::uint8_t { kEnds, kAll, kNone };  // kEnds: the base and both ends of each input

struct Job {
  std::filesystem::path workbook;
  WhatIf what_if;
  std::filesystem::path run;         // NAME.run.json
  std::optional<Shard> shard;        // none: all of it, made into the run at once
  TableForm form = TableForm::kCsv;  // of the run's tables
  Verify verify = Verify::kEnds;
  bool libreoffice = false;  // calculates all, whatever else could
  bool overwrite = false;    // of a run that is there, or a part that was begun otherwise
  int threads = 0;           // 0: one a processor
  // Where the model's clock stands; none: as in the part that is there, or at the beginning of today (UTC).
  std::optional<std::chrono::sys_seconds> now;
  LibreOfficeOptions office;  // `cancelled` is asked by all that takes long
  std::function<void(std::int64_t done, std::int64_t of)> progress;
  std::function<void(const std::string& what)> phase;  // what is being done, for people
};

struct Outcome {
  std::filesystem::path file;                       // the run, or the part
  std::int64_t recalculations = 0, calculated = 0;  // of this part; those of them that were not there already
  double seconds = 0;                               // that the calculation took
  runfile::Calculation calculation;
};

// The job's workbook, read once for all that is done with it. Throws as run_job() does.
struct OpenedWorkbook {
  explicit OpenedWorkbook(const Job& job);

  std::string hash;                // of the file
  std::chrono::sys_seconds clock;  // where that of the run stands
  calc::Model model;

 private:
  OpenedWorkbook(const Job& job, const std::string& bytes);
};
// At least 1.
int threads_of(const Job& job);

// Throws runfile::BadRun and xlsx::BadWorkbook for what is wrong with the definition or the workbook,
// host::Error for the rest: errc::kUserCancelled where rows that are done are kept for the next time.
Outcome run_job(const Job& job);
Outcome run_job(const Job& job, OpenedWorkbook& book);

// The part that an array job of Slurm, OpenMPI or an indexed job of Kubernetes gives this process, by its
// environment. `parts`: how many, where that is known otherwise; Kubernetes does not say it. Nothing outside
// of such jobs. Throws runfile::BadRun for an array of Slurm that is not there as a whole, whose tasks do not
// tell which parts they are.
std::optional<Shard> shard_of_environment(std::optional<std::int32_t> parts);

}  // namespace ordvane::sweep
