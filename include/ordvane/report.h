/// @file
/// Excel workbooks with the reports of a run: graphs as native charts, tables, a summary.
///
/// The same run and options give the same bytes, into a file, a stream or memory. Any number of threads may
/// report on one run, or on several, at once; none may touch a file that another one writes. Each call uses
/// all processors while it packs the workbook.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "ordvane/run.h"

namespace ordvane {

/// A colour by its parts, 0 to 255 each.
struct Color {
  std::uint8_t red = 0;    ///< 0 to 255
  std::uint8_t green = 0;  ///< 0 to 255
  std::uint8_t blue = 0;   ///< 0 to 255
};

/// What stands at the ends of a tornado's bars.
enum class BarLabels : std::uint8_t {
  kInputs,   ///< what the input was set to there
  kOutputs,  ///< what the output came to
  kBoth      ///< the one and the other
};

/// Which reports are made, and what they show. There is always a summary.
struct ReportOptions {
  std::vector<std::size_t> outputs;  ///< positions in Run::outputs of those to report on; none: all of them

  bool matrix = true;            ///< one sheet: which input moves what, inputs against outputs
  bool tornado = true;           ///< one bar per input, the strongest on top
  bool spider = true;            ///< one line per input: its change against the output's
  bool sensitivity = true;       ///< one chart per input
  bool output_detail = false;    ///< per output, every step of every input, by rank
  bool detail_by_input = false;  ///< one sheet: every step of every input, outputs side by side
  bool multi_way = false;        ///< inputs varied together; the run must have groups

  bool percent = false;                   ///< graphs show changes in percent of the base value
  std::int32_t max_inputs = 20;           ///< most inputs on a graph, 1 to 32
  bool all_inputs = false;                ///< graphs have also the inputs that do not move their output
  std::optional<double> threshold;        ///< only inputs with a swing of this share of the base value: 0.05
  std::optional<Color> bar_color;         ///< of a tornado
  std::optional<Color> base_color;        ///< of its line at the base value
  std::optional<Color> low_color;         ///< of the parts of its bars that inputs below their base make
  BarLabels labels = BarLabels::kInputs;  ///< at the ends of its bars
  std::string watermark;                  ///< across charts and pages; up to two lines
  std::string language = "en";            ///< one of languages()

  /// The date in the workbook's properties; none: a fixed one, so that the same run gives the same bytes.
  std::optional<std::chrono::sys_seconds> created;
  /// Replaces what has the name already: the file, when a workbook is written; sheets of earlier reports,
  /// when reports are added to one.
  bool overwrite = false;

  /// Called now and then with what is being done, in the language of the reports, on the thread of the
  /// caller. What it throws ends the job and comes out of the call as it is.
  std::function<void(const std::string& text)> progress;
  /// Asked now and then whether to stop; true ends the job with kCancelled. On any thread, but never on two
  /// at once. What it throws ends the job and comes out of the call as it is.
  std::function<bool()> cancelled;
};

/// What was written.
struct WrittenReports {
  std::size_t sheets = 0;  ///< report sheets
  std::size_t charts = 0;  ///< charts on them
};

/// Into a new workbook, which appears whole or not at all. Throws Error: kInvalidArgument for options that do
/// not fit the run, kFileExists for a workbook that is there, without `overwrite`, kFile, kCancelled,
/// kNothingToReport, kOutOfMemory, kFailed.
ORDVANE_API WrittenReports write_reports(const Run& run, const std::filesystem::path& workbook,
                                         const ReportOptions& options = {});
/// The same bytes, to a stream that is open for binary output. Nothing is written before all of it is made.
/// kFile when the stream fails; what its own exceptions throw comes out as it is.
ORDVANE_API WrittenReports write_reports(const Run& run, std::ostream& stream,
                                         const ReportOptions& options = {});
/// The same bytes, in memory.
ORDVANE_API std::string pack_reports(const Run& run, const ReportOptions& options = {});

/// Into an .xlsx or .xlsm file that is there, as sheets after its own. Everything else in it stays as it is.
/// A sheet name that is taken gets " (2)"; with `overwrite`, sheets of earlier reports are replaced, and only
/// those. Throws Error as write_reports does, and kBadWorkbook.
ORDVANE_API WrittenReports add_reports(const Run& run, const std::filesystem::path& workbook,
                                       const ReportOptions& options = {});

/// Codes of the languages that reports can be in: "de", "en" ...
ORDVANE_API std::vector<std::string> languages();

}  // namespace ordvane
