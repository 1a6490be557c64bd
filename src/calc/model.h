// A workbook that can be calculated: its formulas in the order of their dependence, their values as the
// workbook stands, and what cannot be calculated here.
//
// A model is not changed by recalculations of it (recalculation.h), of which several may run at once.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "calc/evaluation.h"
#include "calc/workbook.h"

namespace ordvane::calc {

// A cell whose formula is not calculated here, and what in it stands in the way: a function's name, or a few
// words.
struct Obstacle {
  CellId cell = kNoCell;
  std::string what;
};

// As the obstacle of a cell that is calculated from itself.
inline constexpr const char* kCircularReference = "a circular reference";
// As that of a cell whose formula takes more memory than formulas may.
inline constexpr const char* kTooLarge = "texts and arrays that take too much memory";
// Bytes of texts and arrays that a formula may take on the way to its result, and of all texts that are
// results.
inline constexpr std::size_t kMostOfFormula = std::size_t{1} << 29, kMostOfResults = 4'000'000'000;

class Model {
 public:
  // Both throw what Workbook throws.
  explicit Model(const std::filesystem::path& path, const Frozen& frozen = {});
  Model(std::string_view bytes, const std::string& name, const Frozen& frozen = {});

  const Workbook& workbook() const { return book_; }
  const Frozen& frozen() const { return frozen_; }
  // The cell at a place, made if it was never used. Not while recalculations of the model exist.
  CellId cell(std::int32_t sheet, std::int32_t row, std::int32_t column);
  // Of a name that means one cell; kNoCell for other names and none.
  CellId named_cell(std::string_view name) const;

  // As calculated here; of cells with an obstacle, or that have no formula, as the file has it.
  Value base(CellId cell) const { return base_[static_cast<std::size_t>(cell)]; }
  // Cells with a formula, those that an array formula fills too, by sheet and place in the file.
  std::vector<CellId> formula_cells() const;
  bool has_formula(CellId cell) const;
  // What stands in the way of calculating this cell itself; empty for nothing.
  const std::string& obstacle(CellId cell) const;
  std::vector<Obstacle> obstacles() const;

  // Each cell, with a formula or a value, that the formula of a cell reads. Of cells that only a calculation
  // can tell, those that it found as the workbook stands; finds_cells() tells whether there may be others.
  void each_precedent(CellId cell, const std::function<void(CellId)>& visit) const;
  bool finds_cells(CellId cell) const;
  // All cells that these are calculated from, themselves too; each once, before what is calculated from it.
  std::vector<CellId> all_precedents(std::span<const CellId> cells) const;

 private:
  class Base;

  const CellFormula* formula_of(CellId cell) const;
  CellId holder(CellId cell) const;
  void calculate_base();

  Workbook book_;
  Frozen frozen_;
  Arena arena_{kMostOfResults};
  std::vector<Value> base_;
  std::unordered_map<CellId, std::vector<CellId>> found_;  // by formulas that find cells
  std::vector<CellId> circular_, too_large_;               // sorted
};

}  // namespace ordvane::calc
