// The table under the spider and sensitivity graphs: every step of every reported input of one output, one
// block of rows an input, one row a step.
//
// The blocks are laid out when the object is made, so that a report knows what it will draw before the table
// has its place on the sheet. Series are drawn from the table's cells.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/graph_ranges.h"
#include "model/input_output.h"
#include "session/session.h"
#include "tables/report_workbook.h"

namespace ordvane::graphs {

// String ids that differ from report to report.
struct StepTableTexts {
  std::int16_t caption;  // filled with the output's name
  std::int16_t subcaption;
  std::int16_t input_base_zero;  // notes
  std::int16_t output_base_zero;
  std::int16_t invalid;
};

// Changes are fractions of the base value.
enum class Quantity : std::uint8_t { kValue, kChange };

class StepTable {
 public:
  // Consecutive body rows of one input.
  struct Block {
    std::int32_t input;  // position in the input records
    std::int32_t first_row;
    std::int32_t rows;
  };
  // Consecutive steps of a block.
  struct Steps {
    std::int32_t first = 1;
    std::int32_t count = 0;
  };

  // Lays out the inputs whose rank for the output is at most `limit` and that have steps, in their own order.
  StepTable(session::Session& session, const model::Records& inputs, const model::DralInputOutput& output,
            std::int32_t output_index, model::OrdvaneRangeMode range_mode, std::int32_t limit);

  const std::vector<Block>& blocks() const { return blocks_; }
  const model::DralInputOutput& input(const Block& block) const { return inputs_(block.input); }
  // The input has a base value that changes can be counted from.
  bool has_base(const Block& block) const;
  // The block's steps without those at either end whose output value cannot be shown. Values that are
  // spreadsheet errors can be counted in or out; without any value to show there are no steps.
  Steps drawable_steps(const Block& block, Quantity quantity, bool with_errors) const;

  // Places the table on the sheet and fills it. Asks between inputs whether to stop.
  void write(tables::ReportSheet& sheet, const StepTableTexts& texts);

  // One series of the written table: the block's input cells against its output cells.
  void fill_range(model::OrdvaneGraphRange& range, const Block& block, const Steps& steps, Quantity quantity);
  tables::ReportTable& table() { return *table_; }

 private:
  struct Place {
    std::int32_t row, column;
  };

  std::int32_t column(std::int32_t after_places) const;
  bool is_drawable(const Block& block, std::int32_t step, Quantity quantity) const;
  double input_value(const Block& block, std::int32_t step) const;
  double output_value(const Block& block, std::int32_t step) const;
  void write_headers();
  void write_block(const Block& block);
  void fill_item(host::CellBlock& cells, const Block& block, std::int32_t step, std::int32_t first_column,
                 double value, const model::DralInputOutput& item, model::OrdvaneDivisorType kind);
  void format_item(const Block& block, std::int32_t first_column, const model::DralInputOutput& item);
  void merge_places(const Block& block);
  void add_note(const std::optional<Place>& place, std::int16_t text);

  session::Session& session_;
  const model::Records& inputs_;
  const model::DralInputOutput& output_;
  std::int32_t output_index_;
  std::int32_t range_mode_;
  std::vector<Block> blocks_;
  std::int32_t rows_ = 0;
  bool truncated_ = false;
  std::shared_ptr<tables::ReportTable> table_;
  std::optional<Place> input_base_zero_, output_base_zero_, invalid_;  // where first met
};

// Name of an input's series: at most 25 characters of its name, and its address.
std::string SeriesName(const model::DralInputOutput& input);

}  // namespace ordvane::graphs
