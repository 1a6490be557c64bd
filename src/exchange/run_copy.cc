#include "exchange/run_copy.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

#include "embedded/report_job.h"
#include "runfile/binary_table.h"
#include "runfile/values.h"
#include "runfile/write_run.h"

namespace ordvane::exchange {
namespace {

constexpr std::size_t kPiece = std::size_t{1} << 20;

// The rows of a CSV file, one after another.
class CsvRows {
 public:
  CsvRows(const runfile::Run& run, xlsx::ByteSink& table) : run_(run), table_(table) {}

  void write_singles() {
    text_ = runfile::rows_header(run_.outputs.size());
    for (std::int32_t simulation = 0; simulation < run_.simulations; ++simulation) {
      std::int64_t at = 0;
      for (std::size_t input = 0; input < run_.inputs.size(); ++input)
        for (std::int32_t step = 0; step < run_.inputs[input].steps; ++step, ++at) {
          begin_row(simulation, input, step);
          append(run_.input_values[run_.input_value_index(simulation, at)], nullptr);
          for (std::size_t output = 0; output < run_.outputs.size(); ++output)
            append(run_.output_values, run_.texts, run_.output_value_index(simulation, output, at));
          end_row(run_.output_values);
        }
    }
    table_.write(text_);
  }

  void write_groups() {
    std::size_t members = 0;
    for (const runfile::Group& group : run_.groups) members = std::max(members, group.members.size());
    text_ = runfile::group_rows_header(members, run_.outputs.size());
    for (std::int32_t simulation = 0; simulation < run_.simulations; ++simulation)
      for (std::size_t g = 0; g < run_.groups.size(); ++g) {
        const runfile::Group& group = run_.groups[g];
        for (std::int64_t combination = 0; combination < group.combinations; ++combination) {
          begin_row(simulation, g, combination);
          for (std::size_t m = 0; m < group.members.size(); ++m)
            append(run_.group_input_values[run_.group_value_index(simulation, group, combination, m)],
                   nullptr);
          text_.append(members - group.members.size(), ',');
          for (std::size_t output = 0; output < run_.outputs.size(); ++output)
            append(run_.group_output_values, run_.group_texts,
                   run_.group_output_index(simulation, output, group.first + combination));
          end_row(run_.group_output_values);
        }
      }
    table_.write(text_);
  }

 private:
  void begin_row(std::int32_t simulation, std::size_t varied, std::int64_t step) {
    text_ += std::to_string(simulation + 1);
    runfile::append_field(text_, static_cast<std::int64_t>(varied + 1));
    runfile::append_field(text_, step + 1);
  }
  void append(const runfile::StoredValues& values, const runfile::TextsOfResults& texts, std::size_t at) {
    const auto text = texts.find(at);
    append(values[at], text == texts.end() ? nullptr : &text->second);
  }
  void append(double value, const std::string* text) {
    if (text)
      runfile::append_field(text_, *text);
    else if (std::isnan(value))
      runfile::append_field(text_, std::string_view());
    else if (runfile::is_encoded_error(value))
      runfile::append_field(text_, host::cell_error_text(runfile::decode_error(value)));
    else
      runfile::append_field(text_, value);
  }
  void end_row(const runfile::StoredValues& results) {
    text_ += '\n';
    results.looked_at(run_.outputs.size());
    if (text_.size() < kPiece) return;
    table_.write(text_);
    text_.clear();
  }

  const runfile::Run& run_;
  xlsx::ByteSink& table_;
  std::string text_;
};

}  // namespace

void write_copy(const runfile::Run& run, const std::filesystem::path& file, sweep::TableForm form,
                bool replace) {
  const bool binary = form == sweep::TableForm::kBinary;
  const auto write_to = [](xlsx::ByteSink& table) {
    return [&table](std::string_view bytes) { table.write(bytes); };
  };
  sweep::RunTables tables;
  tables.form = form;
  tables.singles = [&](xlsx::ByteSink& table) {
    if (binary)
      runfile::write_binary_rows(run, write_to(table));
    else
      CsvRows(run, table).write_singles();
  };
  if (!run.groups.empty())
    tables.groups = [&](xlsx::ByteSink& table) {
      if (binary)
        runfile::write_binary_group_rows(run, write_to(table));
      else
        CsvRows(run, table).write_groups();
    };
  const sweep::RunFiles files = sweep::files_of_run(file, form);
  for (const std::filesystem::path& each : {files.singles, files.groups, files.run})
    embedded::check_apart(run, each);
  sweep::write_run_files(file, runfile::description_of(run), tables, replace);
}

}  // namespace ordvane::exchange
