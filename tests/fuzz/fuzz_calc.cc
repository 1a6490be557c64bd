// Feeds damaged workbooks and formulas to the calculation; built with the sanitizers, which find what goes
// wrong in it.
//
// Usage: fuzz_calc SECONDS SEED WORKBOOK.xlsx.... Changes bytes of the parts of these workbooks and of
// formulas of its own, reads and calculates them. Whatever is read must be calculated or refused, and the
// program end with status 0. Prints what it has tried; the seed makes it try the same again.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "calc/recalculation.h"
#include "xlsx/archive.h"
#include "xlsx/package_reader.h"

namespace {

using namespace ordvane;

std::mt19937_64 random_bits;

std::size_t below(std::size_t end) {
  return end == 0 ? 0 : static_cast<std::size_t>(random_bits() % end);
}

// Parts of formulas, with "~" for a blank.
const std::vector<std::string> kPieces = [] {
  std::istringstream words(R"x(
( ) , ; : { } [ ] ' " ! # @ % & ^ - + * / <> = ~ A1 $B$2 A:A 1:1 XFD1048576 Sheet1!A1
'a~b'!A1:B2 T[#All] T[[#This~Row],[x]] [1]x!A1 #REF! 1E308 0 -1 1e-320 "x" TRUE SUM( IF( INDEX(
OFFSET(A1, INDIRECT("A1") VLOOKUP( {1,2;3,4} IFERROR( SUMPRODUCT( TEXT( DATE( IRR( MATCH(
REPT("x", MMULT( FILTER( SORT( SEQUENCE()x");
  std::vector<std::string> pieces{std::istream_iterator<std::string>(words), {}};
  for (std::string& piece : pieces) std::ranges::replace(piece, '~', ' ');
  return pieces;
}();

std::string any_formula() {
  std::string formula;
  for (std::size_t count = 1 + below(12); count > 0; --count) formula += kPieces[below(std::size(kPieces))];
  return formula;
}

void damage(std::string& text) {
  for (std::size_t count = 1 + below(4); count > 0 && !text.empty(); --count) {
    const std::size_t at = below(text.size());
    switch (below(4)) {
      case 0:
        text[at] = static_cast<char>(below(256));
        break;
      case 1:
        text.erase(at, below(40));
        break;
      case 2:
        text.insert(at, text.substr(below(text.size()), below(60)));
        break;
      default:
        text.insert(at, kPieces[below(std::size(kPieces))]);
        break;
    }
  }
}

std::string escaped(const std::string& text) {
  std::string out;
  for (const char c : text)
    out += c == '<' ? "&lt;" : c == '&' ? "&amp;" : c == '>' ? "&gt;" : std::string(1, c);
  return out;
}

struct Part {
  std::string name, content;
};

std::vector<Part> parts_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const xlsx::OpenArchive archive(bytes);
  std::vector<Part> parts;
  for (std::size_t i = 0; i < archive.entries().size(); ++i)
    parts.push_back({archive.entries()[i].name, archive.read(i)});
  return parts;
}

std::string packed(const std::vector<Part>& parts) {
  std::vector<xlsx::ArchiveEntry> entries;
  for (const Part& part : parts) {
    std::vector<xlsx::CompressedPiece> pieces{xlsx::compress(part.content, 1, true)};
    entries.push_back(xlsx::join(part.name, pieces));
  }
  return xlsx::archive(entries);
}

// Replaces the text of some formulas.
void put_formulas(std::string& sheet) {
  for (std::size_t count = 1 + below(6); count > 0; --count) {
    const std::size_t begin = sheet.find("<f>", below(sheet.size()));
    const std::size_t end = begin == sheet.npos ? begin : sheet.find("</f>", begin);
    if (end != sheet.npos) sheet.replace(begin + 3, end - begin - 3, escaped(any_formula()));
  }
}

// 1 for a workbook that was calculated.
int try_workbook(std::vector<Part> parts) {
  for (Part& part : parts) {
    if (part.name.find("sheet") != part.name.npos && below(3) == 0) put_formulas(part.content);
    if (below(parts.size()) == 0) damage(part.content);
  }
  std::string bytes = packed(parts);
  if (below(20) == 0) damage(bytes);
  try {
    const calc::Model model(bytes, "fuzz");
    const std::vector<calc::CellId> outputs = model.formula_cells();
    if (model.workbook().cells.empty()) return 1;
    const std::vector<calc::CellId> changing{static_cast<calc::CellId>(below(model.workbook().cells.size()))};
    calc::Recalculation recalculation(model, changing, outputs);
    const std::vector<calc::CellChange> change{{changing[0], 2.0}};
    const std::vector<std::span<const calc::CellChange>> lanes{change, {}};
    if (recalculation.obstacles().empty()) recalculation.evaluate(lanes);
    return 1;
  } catch (const xlsx::BadWorkbook&) {
    return 0;
  }
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 4) return 2;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(arguments[1]));
  const std::uint64_t seed = std::strtoull(arguments[2], nullptr, 10);
  std::vector<std::vector<Part>> books;
  for (int i = 3; i < count; ++i) books.push_back(parts_of(arguments[i]));
  long tried = 0, calculated = 0;
  for (; std::chrono::steady_clock::now() < end; ++tried) {
    random_bits.seed(seed + static_cast<std::uint64_t>(tried));
    calculated += try_workbook(books[below(books.size())]);
  }
  std::cout << tried << " workbooks tried, " << calculated << " of them calculated, seeds from " << seed
            << '\n';
}
