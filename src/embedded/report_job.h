// A recorded run made into a report workbook, without a spreadsheet program: what the command and programs
// that embed the library call.
//
// Opens the run's model in the embedded spreadsheet, answers the engine from the run, lets the report service
// write its reports, and saves the workbook whole or not at all.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/error.h"
#include "model/answers.h"
#include "model/multi_way.h"
#include "model/step_facts.h"
#include "office/office.h"
#include "reports/settings.h"
#include "runfile/run.h"
#include "xlsx/package_reader.h"

namespace ordvane::embedded {

// Settings of the reports, and what is needed to make and save a workbook of them.
struct ReportOptions : reports::Settings {
  std::vector<std::int32_t> outputs;  // zero-based positions in Run::outputs; empty: all
  std::string watermark;              // up to two lines
  std::string language = "en";
  std::string log_folder;    // empty: no log
  bool click_macro = false;  // charts call the add-in when clicked (needs the add-in)
  // When the reports are made: the date of a new workbook, and of the parts in its package, which are the
  // same bytes whenever the clock says the same. Empty: the system's time.
  std::function<std::chrono::sys_seconds()> clock;
  // What has the name already: the file, when a workbook is written; sheets of earlier reports, when reports
  // are added to one.
  bool overwrite = false;
  std::function<void(const std::string& text)> progress;
  std::function<bool()> cancelled;
};

struct WrittenReports {
  std::size_t sheets = 0;
  std::size_t charts = 0;
  // In a workbook that was there:
  std::size_t replaced = 0;            // of the sheets, those that took the place of earlier reports
  std::vector<std::string> left_over;  // sheets of earlier reports that are still there
};

// Throws host::Error when `file` is one that the run is read from, or its model: nothing made of a run may
// take the place of those.
void check_apart(const runfile::Run& run, const std::filesystem::path& file);

// Into a new workbook, none of the run's own files. Throws host::Error: errc::kUserCancelled when cancelled,
// else what the reports ended with. Nothing is written then, and what was at `workbook` is still there.
WrittenReports write_reports(const std::shared_ptr<const runfile::Run>& run,
                             const std::filesystem::path& workbook, const ReportOptions& options);

// Into a workbook that is there, .xlsx or .xlsm, as sheets after its own; everything else in it stays as it
// is. It may be the run's own model. A name that is taken gets " (2)"; with `overwrite`, sheets of earlier
// reports are replaced, and only those. Throws xlsx::BadWorkbook for a file that sheets cannot be added to,
// otherwise as write_reports does.
WrittenReports add_reports(const std::shared_ptr<const runfile::Run>& run,
                           const std::filesystem::path& workbook, const ReportOptions& options);

// A new workbook in memory: the bytes of the file that write_reports makes.
struct ReportFile {
  std::string bytes;
  WrittenReports written;
};
ReportFile pack_reports(const std::shared_ptr<const runfile::Run>& run, const ReportOptions& options);

// The same, as the embedded spreadsheet holds it.
std::shared_ptr<const office::BookModel> make_reports(const std::shared_ptr<const runfile::Run>& run,
                                                      const ReportOptions& options);

// The run's model (books, sheets, item cells and labels) in an embedded spreadsheet. `date_format`: of the
// cells of dates whose own format shows none.
std::shared_ptr<office::OfficeApplication> open_model(const runfile::Run& run,
                                                      const std::string& date_format = "yyyy-mm-dd");

// One input's effect on one output, as the tornado shows it. The missing-number marker stands for figures
// that the run does not give.
struct Effect {
  std::string input;               // name or address
  std::int32_t input_index;        // zero-based, in Run::inputs
  std::int32_t rank;               // from 1
  double low, high;                // output's lowest and highest value
  double swing;                    // high less low
  double low_change, high_change;  // fractional
  // What the input was set to at the ends. An input without effect has no such values.
  double input_at_low, input_at_high;
  model::StepFacts facts;
};
// What a group of inputs varied together did to one output.
struct GroupRanking {
  struct Member {
    std::string input;         // name or address
    std::int32_t input_index;  // zero-based, in Run::inputs
    double at_low, at_high;    // what it was set to at the ends
    double own_swing;          // of the output when this input alone is varied
  };
  std::vector<Member> members;
  std::int32_t rank;  // among the groups, from 1
  double low, high;   // output's lowest and highest value
  double low_change, high_change;
  double swing;
  double own_swings;                          // of the members, added up
  double interaction;                         // swing less own_swings: 0 where the effects add up
  model::InteractionState interaction_state;  // why there is none
  model::StepFacts facts;                     // of its combinations
};
struct OutputRanking {
  std::int32_t output_index;  // zero-based, in Run::outputs
  std::string output;         // name, or the label that goes for it; "" for none
  double base;
  std::vector<Effect> effects;       // by rank
  model::OutputAnswers answers;      // of the inputs in the same order
  std::string sentence;              // the same in words, as the reports have them
  std::vector<GroupRanking> groups;  // by rank; empty when the run varied no inputs together
};
struct RankingOptions {
  std::int32_t simulation = 1;        // from 1
  std::optional<double> target = {};  // of all outputs; none: each output's own
  std::string language = "en";        // of the sentences
  // Called before each output is answered for: so many are done.
  std::function<void(std::size_t done, std::size_t of)> progress = {};
};
// The ranking of the selected outputs, all when empty.
std::vector<OutputRanking> rank_outputs(const std::shared_ptr<const runfile::Run>& run,
                                        const std::vector<std::int32_t>& outputs,
                                        const RankingOptions& options = {});

}  // namespace ordvane::embedded
