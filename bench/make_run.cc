// Writes a large run for the benchmarks:
//   make_run INPUTS STEPS OUTPUTS SIMULATIONS FILE.run.json [MEMBERS GROUP_STEPS]
//
// The outputs are smooth nonlinear functions of the inputs, each with weights of its own, so that every
// output ranks the inputs differently and some effects turn back on themselves. The same arguments give the
// same bytes. The values go to FILE.run.csv. With MEMBERS and GROUP_STEPS every group of so many inputs is
// varied together, too, each member over so many steps; members amplify or damp each other. These values go
// to FILE.groups.csv.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr const char* kBook = "synthetic.xlsx";
constexpr std::int32_t kMostSteps = 32767;
constexpr std::int32_t kMostMembers = 32;
constexpr std::size_t kFlushAt = std::size_t{1} << 20;

struct Size {
  std::int32_t inputs, steps, outputs, simulations;
  std::int32_t members = 0, group_steps = 0;  // 0: no groups
};

// A repeatable number from 0 to 1 for a pair of positions.
double scatter(std::int32_t a, std::int32_t b) {
  std::uint64_t mixed = static_cast<std::uint64_t>(a) * 0x9E3779B97F4A7C15U + static_cast<std::uint64_t>(b);
  mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
  mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
  return static_cast<double>((mixed ^ (mixed >> 31U)) >> 11U) * 0x1p-53;
}

// To nine digits, as models are: full precision is noise.
void append(std::string& text, double number) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, number, std::chars_format::general, 9);
  text.append(digits, end.ptr);
}

double base_of_input(std::int32_t input) {
  return std::round(100 * std::pow(10, 4 * scatter(input, -1))) / 100;
}

// What the input is set to: -20 % to +20 % of its base, shifted a little from simulation to simulation.
double relative_value(std::int32_t steps, std::int32_t simulation, std::int32_t step) {
  const double place = steps > 1 ? 2.0 * step / (steps - 1) - 1 : 0;
  return 1 + 0.2 * place + 0.01 * simulation;
}

// Every term is 0 at the input's base, so that an output is at its own base while no input moves.
double term(std::int32_t output, std::int32_t input, double relative) {
  const double change = relative - 1;
  const double weight = 2 * scatter(input, output) - 1;
  switch ((input + output) % 4) {
    case 0:
      return weight * change;
    case 1:
      return weight * 4 * change * change;
    case 2:
      return weight * (1 / relative - 1);
    default:
      return weight * 0.3 * std::sin(9 * change);
  }
}

double base_of_output(std::int32_t output) {
  return 1000 * (1 + 9 * scatter(output, -2));
}

std::string cell(char column, std::int32_t position) {
  return column + std::to_string(position + 2);
}

void append_item(std::string& json, const char* kind, std::int32_t position, char column, double base) {
  json += position == 0 ? "\n  { \"name\": \"" : ",\n  { \"name\": \"";
  json += std::string(kind) + " " + std::to_string(position + 1) + "\", \"book\": \"" + kBook +
          "\", \"sheet\": \"Model\", \"cell\": \"" + cell(column, position) + "\", \"base\": ";
  append(json, base);
}

std::string describe_run(const Size& size, const std::string& csv_name, const std::string& groups_name) {
  std::string json =
      "{ \"format\": \"ordvane-run\", \"version\": 1, \"simulations\": " + std::to_string(size.simulations) +
      ",\n \"inputs\": [";
  for (std::int32_t input = 0; input < size.inputs; ++input) {
    append_item(json, "Input", input, 'B', base_of_input(input));
    json += ", \"steps\": " + std::to_string(size.steps) + " }";
  }
  json += " ],\n \"outputs\": [";
  for (std::int32_t output = 0; output < size.outputs; ++output) {
    append_item(json, "Output", output, 'F', base_of_output(output));
    json += ", \"numberFormat\": \"#,##0.00\" }";
  }
  json += " ],\n \"recalculations\": \"" + csv_name + '"';
  if (size.members > 0)
    json += ",\n \"groups\": { \"size\": " + std::to_string(size.members) +
            ", \"steps\": " + std::to_string(size.group_steps) + " },\n \"groupRecalculations\": \"" +
            groups_name + '"';
  return json + " }\n";
}

void append_row(std::string& text, const Size& size, std::int32_t simulation, std::int32_t input,
                std::int32_t step) {
  const double relative = relative_value(size.steps, simulation, step);
  text +=
      std::to_string(simulation + 1) + ',' + std::to_string(input + 1) + ',' + std::to_string(step + 1) + ',';
  append(text, base_of_input(input) * relative);
  for (std::int32_t output = 0; output < size.outputs; ++output) {
    text += ',';
    append(text, base_of_output(output) * (1 + term(output, input, relative)));
  }
  text += '\n';
}

class OutputFile {
 public:
  explicit OutputFile(const std::filesystem::path& path)
      : path_(path), file_(std::fopen(path.c_str(), "wb"), &std::fclose) {
    if (!file_) fail();
  }
  void write(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size()) fail();
  }
  void close() {
    if (std::fclose(file_.release()) != 0) fail();
  }

 private:
  [[noreturn]] void fail() const {
    std::fprintf(stderr, "make_run: cannot write %s\n", path_.c_str());
    std::exit(1);
  }

  std::filesystem::path path_;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
};

std::string header_of(const Size& size, std::string text) {
  for (std::int32_t output = 1; output <= size.outputs; ++output) text += ",output" + std::to_string(output);
  return text + '\n';
}

void flush_when_full(std::string& text, OutputFile& csv) {
  if (text.size() < kFlushAt) return;
  csv.write(text);
  text.clear();
}

void write_rows(const Size& size, OutputFile& csv) {
  std::string text = header_of(size, "simulation,input,step,value");
  for (std::int32_t simulation = 0; simulation < size.simulations; ++simulation)
    for (std::int32_t input = 0; input < size.inputs; ++input)
      for (std::int32_t step = 0; step < size.steps; ++step) {
        append_row(text, size, simulation, input, step);
        flush_when_full(text, csv);
      }
  csv.write(text);
}

// Moves on to the next of the numbers 0 to `limit` - 1 in every place, the last fastest. False after the
// last.
bool next_combination(std::vector<std::int32_t>& steps, std::int32_t limit) {
  for (std::size_t place = steps.size(); place-- > 0;) {
    if (++steps[place] < limit) return true;
    steps[place] = 0;
  }
  return false;
}

// Moves on to the next group of inputs in the order of the inputs. False after the last.
bool next_group(std::vector<std::int32_t>& members, std::int32_t inputs) {
  const auto size = static_cast<std::int32_t>(members.size());
  std::int32_t place = size - 1;
  while (place >= 0 && members[static_cast<std::size_t>(place)] == inputs - size + place) --place;
  if (place < 0) return false;
  std::iota(members.begin() + place, members.end(), members[static_cast<std::size_t>(place)] + 1);
  return true;
}

// The rows of one group. Terms are made once a step, not once a combination.
class GroupRows {
 public:
  GroupRows(const Size& size, std::int32_t simulation, const std::vector<std::int32_t>& members)
      : size_(size), simulation_(simulation), members_(members), steps_(members.size(), 0) {
    for (const std::int32_t member : members)
      for (std::int32_t step = 0; step < size.group_steps; ++step)
        for (std::int32_t output = 0; output < size.outputs; ++output)
          terms_.push_back(term(output, member, relative_value(size.group_steps, simulation, step)));
  }

  void write(std::int32_t group, std::string& text, OutputFile& csv) {
    std::int32_t combination = 0;
    do {
      text +=
          std::to_string(simulation_ + 1) + ',' + std::to_string(group) + ',' + std::to_string(++combination);
      append_combination(text);
      flush_when_full(text, csv);
    } while (next_combination(steps_, size_.group_steps));
  }

 private:
  double term_of(std::size_t member, std::int32_t output) const {
    const auto row =
        member * static_cast<std::size_t>(size_.group_steps) + static_cast<std::size_t>(steps_[member]);
    return terms_[row * static_cast<std::size_t>(size_.outputs) + static_cast<std::size_t>(output)];
  }

  void append_combination(std::string& text) const {
    for (std::size_t m = 0; m < members_.size(); ++m) {
      text += ',';
      append(text, base_of_input(members_[m]) * relative_value(size_.group_steps, simulation_, steps_[m]));
    }
    for (std::int32_t output = 0; output < size_.outputs; ++output) {
      double together = 1;  // the members' product: beyond the sum of what each does alone
      for (std::size_t m = 0; m < members_.size(); ++m) together *= 1 + term_of(m, output);
      text += ',';
      append(text, base_of_output(output) * together);
    }
    text += '\n';
  }

  const Size& size_;
  std::int32_t simulation_;
  const std::vector<std::int32_t>& members_;
  std::vector<std::int32_t> steps_;  // of the combination
  std::vector<double> terms_;        // [member][step][output]
};

void write_groups(const Size& size, OutputFile& csv) {
  std::string header = "simulation,group,combination";
  for (std::int32_t member = 1; member <= size.members; ++member) header += ",value" + std::to_string(member);
  std::string text = header_of(size, std::move(header));
  for (std::int32_t simulation = 0; simulation < size.simulations; ++simulation) {
    std::vector<std::int32_t> members(static_cast<std::size_t>(size.members));
    std::iota(members.begin(), members.end(), 0);
    std::int32_t group = 0;
    do {
      GroupRows(size, simulation, members).write(++group, text, csv);
    } while (next_group(members, size.inputs));
  }
  csv.write(text);
}

bool parse_count(std::string_view text, std::int32_t& count) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  return error == std::errc() && end == text.data() + text.size() && count > 0;
}

// INPUTS STEPS OUTPUTS SIMULATIONS FILE [MEMBERS GROUP_STEPS]
bool parse_size(int count, char** arguments, Size& size) {
  if (count != 6 && count != 8) return false;
  if (!parse_count(arguments[1], size.inputs) || !parse_count(arguments[2], size.steps) ||
      !parse_count(arguments[3], size.outputs) || !parse_count(arguments[4], size.simulations))
    return false;
  if (count == 8 &&
      (!parse_count(arguments[6], size.members) || !parse_count(arguments[7], size.group_steps)))
    return false;
  return size.steps <= kMostSteps && size.group_steps <= kMostSteps && size.members != 1 &&
         size.members <= std::min(size.inputs, kMostMembers);
}

}  // namespace

int main(int count, char** arguments) {
  constexpr std::string_view kExtension = ".run.json";
  Size size{};
  const std::string file = count > 5 ? arguments[5] : "";
  if (!file.ends_with(kExtension) || !parse_size(count, arguments, size)) {
    std::fputs(
        "usage: make_run INPUTS STEPS OUTPUTS SIMULATIONS FILE.run.json [MEMBERS GROUP_STEPS]\n"
        "At most 32767 steps; 2 to 32 members of a group.\n",
        stderr);
    return 2;
  }
  const std::string stem = file.substr(0, file.size() - kExtension.size());
  const std::filesystem::path csv_path = stem + ".run.csv";
  const std::filesystem::path groups_path = stem + ".groups.csv";
  OutputFile json(file);
  json.write(describe_run(size, csv_path.filename().string(), groups_path.filename().string()));
  json.close();
  OutputFile csv(csv_path);
  write_rows(size, csv);
  csv.close();
  if (size.members == 0) return 0;
  OutputFile groups(groups_path);
  write_groups(size, groups);
  groups.close();
}
