// Run files for tests, written into a folder that goes with the test.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include "runfile/run.h"
#include "support/external_checks.h"

namespace ordvane::runfile {

class RunFolder : public test::TemporaryFolder {
 public:
  void write(const std::string& name, const std::string& text) const {
    std::filesystem::remove(*this / name);  // some file systems wait for the disk when a file is overwritten
    std::ofstream(*this / name, std::ios::binary) << text;
  }
  Run read(const std::string& json, const std::string& csv) const {
    write("a.run.json", json);
    write("a.run.csv", csv);
    return read_run(*this / "a.run.json");
  }
  // What the reader says, without the folder; "" when it accepts the run.
  std::string complaint(const std::string& json, const std::string& csv) const {
    try {
      read(json, csv);
      return "";
    } catch (const BadRun& bad) {
      const std::string what = bad.what();
      const std::string folder = path().string() + "/";
      return what.starts_with(folder) ? what.substr(folder.size()) : what;
    }
  }
};

// The text with its only occurrence of `from` replaced.
inline std::string with(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  if (at == std::string::npos || text.find(from, at + 1) != std::string::npos)
    throw std::logic_error("not exactly once in the text: " + from);
  return text.replace(at, from.size(), to);
}

// Two inputs of 2 and 1 steps, two outputs.
inline const std::string kJson = R"({ "format": "ordvane-run", "version": 1, "simulations": 1,
 "inputs": [ { "name": "Price", "book": "m.xlsx", "sheet": "S 1", "cell": "C5", "base": 10, "steps": 2 },
             { "name": "Rate", "book": "m.xlsx", "sheet": "S 1", "cell": "C6", "base": 0.5, "steps": 1 } ],
 "outputs": [ { "name": "Profit", "book": "m.xlsx", "sheet": "S 1", "cell": "C9", "base": 7, "formula": "=C5-3" },
              { "book": "m.xlsx", "sheet": "S 2", "cell": "B2", "base": null, "formula": "=1+A1" } ],
 "recalculations": "a.run.csv" }
)";
inline const std::string kCsv =
    "simulation,input,step,value,output1,output2\n"
    "1,1,1,8,5,#NUM!\n"
    "1,1,2,12,9,\"Over, 25\"\n"
    "1,2,1,0.25,7,\n";

}  // namespace ordvane::runfile
