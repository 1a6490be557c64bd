// Manners of Excel that a test switches on for its stand-in: languages, versions, protection, arrays of the
// model, and what Excel refuses or changes by itself. All are from Microsoft's documentation.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>

#include "host/excel.h"

namespace ordvane::test {

// How a language writes numbers, and the codes of its number formats.
struct StandInLanguage {
  const char* name;
  std::string decimal, group, date, time;
  std::string year, month, day, hour, minute, second;
  std::string general;

  bool is_english() const { return general == "General"; }
};
extern const StandInLanguage kEnglishExcel, kGermanExcel, kFrenchExcel, kJapaneseExcel;

// Codes of one language in those of the other. Excel's error 1004 for what are no codes.
std::string format_in(const StandInLanguage& language, const std::string& english);
std::string format_from(const StandInLanguage& language, const std::string& local);
// A formula whose TEXT functions have their formats in the language's codes, with English ones.
std::string formula_from(const StandInLanguage& language, const std::string& formula);

// What a cell of the model is besides its formula.
enum class CellTie {
  kNone,
  kOneCellArray,
  kPartOfArray,  // one cell of several
  kSpills,       // fills its neighbours too
  kSpilled,      // is filled by a neighbour
  kArrayFormula  // computed as arrays are; Formula writes it otherwise than Formula2
};

struct Behaviours {
  const StandInLanguage* language = &kEnglishExcel;
  std::set<std::string> unknown = {};  // members that this version lacks: "Range.Formula2"
  std::set<std::string> refused =
      {};  // members that answer with error 1004; of properties, when they are set
  std::set<std::string> protected_sheets = {};
  std::set<std::string> tables = {};         // cells that are part of one, by external address
  std::map<std::string, CellTie> ties = {};  // of cells, by external address
  std::string model = "Model.xlsx";          // the workbook with macros that hear of changes
  bool formats_formulas = false;             // General cells take the format of what their formulas name
  std::int32_t longest_caption = 32767;      // of titles, names of series, headers and text boxes
  double digit_pixels = 7;                   // of the Normal font, in which columns are measured
  std::string version = {};                  // empty: the newest
  bool clamps_plot = false;                  // the plot area stays within its chart at every step
  bool page_layout_view = false;             // where panes cannot be frozen
  bool chart_sheet_active = false;           // until a sheet of cells is activated or added

  // Counted.
  long recalculations = 0;
  long model_writes = 0;   // of formulas
  long changes_heard = 0;  // by macros of the model
  bool events = true;
};

}  // namespace ordvane::test
