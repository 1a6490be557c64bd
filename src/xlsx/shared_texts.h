// Texts of cells, each once in the package, numbered in the order of the workbook's text table.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "office/book.h"

namespace ordvane::xlsx {

struct SharedTexts {
  std::vector<std::uint32_t> number;  // by TextId; of used texts only
  std::vector<office::TextId> used;   // by number
  std::uint64_t references = 0;       // cells that hold a text
};

// The texts that cells hold. Throws host::Error, naming the cell, for one that is longer than a cell takes.
SharedTexts collect_texts(const office::BookModel& book);
std::string shared_texts_part(const office::BookModel& book, const SharedTexts& texts);

}  // namespace ordvane::xlsx
