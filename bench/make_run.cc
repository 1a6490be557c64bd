// Writes a large run for the benchmarks: make_run INPUTS STEPS OUTPUTS SIMULATIONS FILE.run.json
//
// The outputs are smooth nonlinear functions of the inputs, each with weights of its own, so that every
// output ranks the inputs differently and some effects turn back on themselves. The same arguments give the
// same bytes. The values go to FILE.run.csv.
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace {

constexpr const char* kBook = "synthetic.xlsx";
constexpr std::int32_t kMostSteps = 32767;

struct Size {
  std::int32_t inputs, steps, outputs, simulations;
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
double relative_value(const Size& size, std::int32_t simulation, std::int32_t step) {
  const double place = size.steps > 1 ? 2.0 * step / (size.steps - 1) - 1 : 0;
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

std::string describe_run(const Size& size, const std::string& csv_name) {
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
  return json + " ],\n \"recalculations\": \"" + csv_name + "\" }\n";
}

void append_row(std::string& text, const Size& size, std::int32_t simulation, std::int32_t input,
                std::int32_t step) {
  const double relative = relative_value(size, simulation, step);
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

void write_rows(const Size& size, OutputFile& csv) {
  constexpr std::size_t kFlushAt = std::size_t{1} << 20;
  std::string text = "simulation,input,step,value";
  for (std::int32_t output = 1; output <= size.outputs; ++output) text += ",output" + std::to_string(output);
  text += '\n';
  for (std::int32_t simulation = 0; simulation < size.simulations; ++simulation)
    for (std::int32_t input = 0; input < size.inputs; ++input)
      for (std::int32_t step = 0; step < size.steps; ++step) {
        append_row(text, size, simulation, input, step);
        if (text.size() < kFlushAt) continue;
        csv.write(text);
        text.clear();
      }
  csv.write(text);
}

bool parse_count(std::string_view text, std::int32_t& count) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  return error == std::errc() && end == text.data() + text.size() && count > 0;
}

}  // namespace

int main(int count, char** arguments) {
  constexpr std::string_view kExtension = ".run.json";
  Size size{};
  const std::string file = count == 6 ? arguments[5] : "";
  if (!file.ends_with(kExtension) || !parse_count(arguments[1], size.inputs) ||
      !parse_count(arguments[2], size.steps) || size.steps > kMostSteps ||
      !parse_count(arguments[3], size.outputs) || !parse_count(arguments[4], size.simulations)) {
    std::fputs("usage: make_run INPUTS STEPS OUTPUTS SIMULATIONS FILE.run.json (at most 32767 STEPS)\n",
               stderr);
    return 2;
  }
  std::filesystem::path csv_path = file.substr(0, file.size() - kExtension.size()) + ".run.csv";
  OutputFile json(file);
  json.write(describe_run(size, csv_path.filename().string()));
  json.close();
  OutputFile csv(csv_path);
  write_rows(size, csv);
  csv.close();
}
