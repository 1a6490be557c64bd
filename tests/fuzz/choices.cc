#include "fuzz/choices.h"

#include <bit>
#include <cmath>
#include <vector>

#include "environment/standard_environment.h"
#include "xlsx/archive.h"

namespace ordvane::fuzz {

double Choices::number() {
  std::uint64_t bits = 0;
  for (int i = 0; i < 8; ++i) bits = bits << 8U | next();
  const auto number = std::bit_cast<double>(bits);
  return std::isfinite(number) ? number : 1E308;
}

embedded::ReportOptions report_options(const runfile::Run& run, std::string_view bytes) {
  embedded::ReportOptions options;
  options.matrix = options.output_detail = options.detail_by_input = true;
  options.multi_way = !run.groups.empty();
  options.clock = [] { return xlsx::kFirstDate; };
  options.overwrite = true;
  if (bytes.empty()) return options;

  Choices choices(bytes);
  const std::vector<std::string> languages = environment::languages();
  options.language = languages[choices.next() % languages.size()];
  options.sort = static_cast<model::SortBy>(choices.next() % 4);
  options.labels = static_cast<reports::BarLabels>(choices.next() % 3);
  options.max_inputs = static_cast<std::int32_t>(choices.next() % 32) + 1;
  for (bool* choice :
       {&options.percent, &options.all_inputs, &options.include_base_line, &options.click_macro})
    *choice = choices.yes();
  for (bool* report : {&options.tornado, &options.spider, &options.sensitivity, &options.output_detail})
    *report = !choices.yes();
  if (choices.yes()) options.low_color = reports::kLowColor;
  if (choices.yes()) options.set_threshold(std::fabs(choices.number()));
  if (choices.yes()) options.target = choices.number();
  for (unsigned count = choices.next() % 4; count > 0 && !run.outputs.empty(); --count)
    options.outputs.push_back(static_cast<std::int32_t>(choices.next() % run.outputs.size()));
  for (const char c : choices.rest().substr(0, 200))
    if (static_cast<unsigned char>(c) < 0x80) options.watermark += c;
  return options;
}

}  // namespace ordvane::fuzz
