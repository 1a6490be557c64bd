// The banded cells of a sheet against a plain map of cells.
#include "office/cell_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "office/office.h"

namespace ordvane::office {
namespace {

// Bands are in order, hold what their size says, and no cell twice.
void expect_well_formed(const std::vector<RowBand>& bands) {
  for (std::size_t b = 0; b < bands.size(); ++b) {
    const RowBand& band = bands[b];
    const auto cells = static_cast<std::size_t>(band.rows) * static_cast<std::size_t>(band.columns);
    ASSERT_GT(cells, 0U);
    ASSERT_EQ(band.cells.size(), cells);
    ASSERT_EQ(band.styles.rows(), static_cast<std::size_t>(band.rows));
    if (b == 0) continue;
    const CellRef before{bands[b - 1].first_row, bands[b - 1].first_column};
    ASSERT_LT(before, (CellRef{band.first_row, band.first_column}));
    for (std::size_t other = 0; other < b; ++other)
      ASSERT_TRUE(is_empty(intersection(CellStore::area_of(band), CellStore::area_of(bands[other]))));
  }
}

std::size_t cell_count(const std::vector<RowBand>& bands) {
  std::size_t cells = 0;
  for (const RowBand& band : bands) cells += band.cells.size();
  return cells;
}

TEST(CellStore, HoldsWhatAPlainMapHolds) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    std::mt19937 random(seed);
    const auto up_to = [&](int most) {
      return static_cast<std::int32_t>(random() % static_cast<unsigned>(most)) + 1;
    };
    std::vector<RowBand> bands;
    CellStore store(bands);
    std::map<CellRef, double> plain;
    std::map<CellRef, int> styles;
    for (int step = 1; step <= 120; ++step) {
      const bool single = random() % 3 != 0;
      const Area area{up_to(20), up_to(80), single ? 1 : up_to(6), single ? 1 : up_to(30)};
      if (random() % 2 == 0)
        store.ensure(area);
      else
        store.ensure_together(area);
      std::size_t visited = 0;
      store.for_each_run(area, [&](RowBand& band, std::size_t index, std::int32_t row, std::int32_t column,
                                   std::size_t count) {
        for (std::size_t i = 0; i < count; ++i, ++visited) {
          band.cells[index + i] = {host::CellKind::kNumber, static_cast<double>(step)};
          plain[{row, column + static_cast<std::int32_t>(i)}] = step;
        }
      });
      ASSERT_EQ(visited, static_cast<std::size_t>(area.rows) * static_cast<std::size_t>(area.columns));
      const Area styled{up_to(20), up_to(80), up_to(6), up_to(30)};
      store.for_each_part(styled, [&](RowBand& band, const Area& part) {
        const auto row = static_cast<std::size_t>(part.row - band.first_row);
        band.styles.change(row, static_cast<std::size_t>(part.rows), [&](StyleId* row_styles) {
          std::fill_n(row_styles + (part.column - band.first_column), part.columns,
                      static_cast<StyleId>(step));
        });
        for (std::int32_t cell = 0; cell < part.rows * part.columns; ++cell)
          styles[{part.row + cell / part.columns, part.column + cell % part.columns}] = step;
      });
      expect_well_formed(bands);
    }
    for (std::int32_t row = 1; row <= 27; ++row) {
      for (std::int32_t column = 1; column <= 111; ++column) {
        const CellStore::Slot slot = store.find(row, column);
        const double kept = slot.band ? slot.band->cells[slot.index].value() : 0;
        const auto expected = plain.find({row, column});
        ASSERT_EQ(kept, expected == plain.end() ? 0 : expected->second) << row << "," << column;
        const int style = slot.band ? slot.band->style(slot.index) : 0;
        const auto styled = styles.find({row, column});
        ASSERT_EQ(style, styled == styles.end() ? 0 : styled->second) << row << "," << column;
      }
    }
  }
}

TEST(CellStore, GrowsWithoutBoundingBoxes) {
  const struct {
    const char* what;
    std::vector<Area> written;
    std::size_t most_bands, most_cells;
  } cases[] = {
      {"far corners", {{1, 1, 1, 1}, {1048576, 16384, 1, 1}, {1, 16384, 1, 1}}, 3, 3},
      {"blocks one below the other", {{5, 2, 1000, 9}, {1005, 2, 1000, 9}, {2005, 2, 1, 9}}, 1, 2001 * 9},
      {"helper column beside a body", {{1, 1, 60000, 9}, {1, 300, 60000, 1}}, 2, 600000},
      {"wide row over a narrow body", {{1, 1, 1, 10000}, {2, 1, 5000, 2}}, 2, 20000},
      {"header cell by cell", {{1, 1, 1, 1}, {1, 2, 1, 1}, {1, 3, 1, 1}, {2, 1, 1, 1}, {2, 3, 1, 1}}, 1, 6},
  };
  for (const auto& c : cases) {
    std::vector<RowBand> bands;
    CellStore store(bands);
    for (const Area& area : c.written) store.ensure(area);
    expect_well_formed(bands);
    EXPECT_LE(bands.size(), c.most_bands) << c.what;
    EXPECT_LE(cell_count(bands), c.most_cells) << c.what;
  }
}

TEST(CellStore, RefusesToFormatAWholeSheet) {
  const auto app = make_application();
  const auto book = app->add_workbook();
  const auto everything = app->active_sheet()->range("A:XFD");
  EXPECT_THROW(everything->set_wrap_text(false), host::Error);
  EXPECT_TRUE(app->model(*book)->sheets[0]->bands.empty());
}

}  // namespace
}  // namespace ordvane::office
