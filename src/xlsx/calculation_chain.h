// The order in which a workbook's formulas were calculated last, changed as it is read: it grows with the
// formulas of a model, and is never held whole.
#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "xlsx/archive.h"
#include "xlsx/package_reader.h"

namespace ordvane::xlsx {

// A cell with a formula. Ids of sheets are those of the workbook.
struct ChainCell {
  std::size_t sheet = 0;
  std::string name;  // "A1"
};

struct ChangedChain {
  std::optional<ArchiveEntry> entry;  // none: it stays as it is
  std::size_t cells = 0;              // that are in it now
};

// Takes out the cells of the sheets `gone` and puts `added` behind the others; every other byte stays. Throws
// BadPackage, naming the part, for one that cannot be read.
ChangedChain change_calculation_chain(const PackageReader& package, const std::string& part,
                                      const std::set<std::size_t>& gone, const std::vector<ChainCell>& added);

}  // namespace ordvane::xlsx
