#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "calc/tiny_workbook.h"
#include "cli/arguments.h"
#include "cli/commands.h"
#include "fuzz/harnesses.h"
#include "fuzz/scratch.h"
#include "host/error.h"
#include "xlsx/package_reader.h"

namespace ordvane::fuzz {
namespace {

namespace fs = std::filesystem;

// The folder that commands work in, with the same files before each. Programs that they might start are not
// found.
class WorkingFolder {
 public:
  WorkingFolder() : before_(fs::current_path()), folder_(scratch("work")) {
    ::setenv("PATH", "", 1);
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    put("work/a.run.json", kRun);
    put("work/b.run.json", kOtherRun);
    put("work/t.csv", "A,B,Y\n1,4,4\n1,5,5\n2,4,8\n2,5,10\n");
    put("work/w.whatif.json", R"({"format": "ordvane-what-if", "version": 1,
        "inputs": [{"cell": "B1", "sheet": "Sheet1", "percent": [-10, 10]}], "outputs": [{"name": "Profit"}]})");
    static const std::string kModel = test::TinyWorkbook()
                                          .set("A1", "Price")
                                          .set("B1", "10")
                                          .set("A2", "Profit")
                                          .set("B2", "=B1*2-3")
                                          .name("Profit", "Sheet1!$B$2")
                                          .bytes();
    put("work/m.xlsx", kModel);
    fs::current_path(folder_);
  }
  ~WorkingFolder() { fs::current_path(before_); }
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;

 private:
  static constexpr const char* kRun = R"({"format": "ordvane-run", "version": 1, "simulations": 1, "inputs": [
      {"name": "Price", "book": "m.xlsx", "sheet": "Sheet1", "cell": "B1", "formula": "10", "base": 10, "steps": 3},
      {"name": "Rate", "book": "m.xlsx", "sheet": "Sheet1", "cell": "B3", "formula": "1", "base": 1, "steps": 2}],
    "outputs": [{"name": "Profit", "book": "m.xlsx", "sheet": "Sheet1", "cell": "B2", "formula": "=B1*2-3", "base": 17}],
    "recalculations": [[1, 1, 1, 9, 15], [1, 1, 2, 10, 17], [1, 1, 3, 11, 19], [1, 2, 1, 0, 17], [1, 2, 2, 2, "#NUM!"]]})";
  static constexpr const char* kOtherRun =
      R"({"format": "ordvane-run", "version": 1, "simulations": 1, "inputs": [
      {"name": "Price", "book": "m.xlsx", "sheet": "Sheet1", "cell": "B1", "formula": "10", "base": 10, "steps": 2}],
    "outputs": [{"name": "Profit", "book": "m.xlsx", "sheet": "Sheet1", "cell": "B2", "formula": "=B1*3-3", "base": 27}],
    "recalculations": [[1, 1, 1, 9, 24], [1, 1, 2, 11, 30]]})";

  static void put(const char* name, std::string_view content) { scratch(name, content); }

  fs::path before_, folder_;
};

// What a command prints comes into a text instead.
class Printed {
 public:
  explicit Printed(std::ostream& stream) : stream_(stream), before_(stream.rdbuf(text_.rdbuf())) {}
  ~Printed() {
    stream_.rdbuf(before_);
    stream_.clear();
  }
  Printed(const Printed&) = delete;
  Printed& operator=(const Printed&) = delete;

 private:
  std::ostringstream text_;
  std::ostream& stream_;
  std::streambuf* before_;
};

// None that lead out of the folder.
std::vector<std::string> words_in(std::string_view bytes) {
  std::vector<std::string> words{"ordvane"};
  while (!bytes.empty()) {
    const auto [word, others] = halves(bytes, "\n");
    if (word.find_first_of(std::string_view("/\0", 2)) != word.npos) return {};
    words.emplace_back(word);
    bytes = others;
  }
  return words;
}

}  // namespace

void try_command(std::string_view bytes) {
  std::vector<std::string> words = words_in(bytes);
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  if (words.empty()) return;
  const WorkingFolder folder;
  const Printed out(std::cout), errors(std::cerr), log(std::clog);
  try {
    const int code = cli::Arguments().run(static_cast<int>(words.size()), pointers.data());
    if (code < 0 || (code > cli::kBadInput && code <= cli::kSignalled))
      throw std::logic_error("an exit code that is none");
  } catch (const cli::BadArguments&) {
  } catch (const xlsx::BadWorkbook&) {
  } catch (const host::Error&) {
  } catch (const fs::filesystem_error&) {
  }
}

}  // namespace ordvane::fuzz
