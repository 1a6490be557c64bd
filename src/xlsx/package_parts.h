// Lists of parts: those of a sheet with all that hangs on it, made and compressed side by side.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "office/book.h"
#include "xlsx/archive.h"
#include "xlsx/parts.h"
#include "xlsx/save.h"

namespace ordvane::xlsx {

struct Part {
  std::string name;
  std::string content_type;   // empty: the one of its extension
  std::vector<Piece> pieces;  // refer to what the part is made from
};
Part whole_part(std::string name, std::string content_type, Piece whole);

// "application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml" from "worksheet" …
std::string spreadsheet_type(const std::string& kind);
// The same of what all office documents share: "drawing", "drawingml.chart" …
std::string office_type(const std::string& kind);

// Names of parts, each given out once; upper and lower case are the same.
class PartNames {
 public:
  void take(const std::string& name);
  bool is_taken(const std::string& name) const;
  // `stem` "xl/charts/chart", `ending` ".xml": the first of "xl/charts/chart1.xml", "…2.xml" … that is free.
  std::string next(const std::string& stem, const std::string& ending);

 private:
  std::set<std::string> taken_;
  std::map<std::string, std::size_t> last_;  // by stem
};

// How one sheet goes into a package.
struct SheetPlace {
  std::string name;              // of its part
  SheetFrame frame;              // without its links, which are given here
  std::size_t note_numbers = 1;  // keeps the ids of its notes' boxes apart from those of other sheets
};
// The part of the sheet at `position`, its relationships, drawing, charts and notes.
void add_sheet_parts(const SheetsByName& sheets, std::size_t position, const SheetPlace& place,
                     PartNames& names, std::vector<Part>& parts);

// Takes the compressed pieces of the parts in their order, on one thread at a time; `last`: of its part.
using TakePiece = std::function<void(std::size_t part, CompressedPiece piece, bool last)>;
// Makes and compresses all pieces side by side and hands each on as soon as those before it have gone. Throws
// errc::kUserCancelled when the options' question is answered with yes.
void compress_parts(const std::vector<Part>& parts, const SaveOptions& options, const TakePiece& take);
// All in memory.
std::vector<ArchiveEntry> compressed(const std::vector<Part>& parts, const SaveOptions& options);

}  // namespace ordvane::xlsx
