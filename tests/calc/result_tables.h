// Formulas and their results, which stand in files of this folder: "formula => result", a line each, below
// the name of their table in brackets. Lines that begin with "#" are comments.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace ordvane::test {

struct ResultTable {
  std::string name;
  std::vector<std::pair<std::string, std::string>> rows = {};
};

inline std::vector<ResultTable> result_tables(const std::string& file) {
  const std::string sign = " => ";
  std::ifstream lines(ORDVANE_SOURCE_DIR "/tests/calc/" + file);
  std::vector<ResultTable> tables;
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.front() == '#') continue;
    const std::size_t at = line.find(sign);
    if (at != std::string::npos)
      tables.at(tables.size() - 1).rows.emplace_back(line.substr(0, at), line.substr(at + sign.size()));
    else if (line.front() == '[')
      tables.push_back({line.substr(1, line.size() - 2)});
    else
      throw std::logic_error(file + ": no formula and its result: " + line);
  }
  if (tables.empty()) throw std::logic_error(file + " is not there");
  return tables;
}

inline std::string name_of_table(const testing::TestParamInfo<ResultTable>& table) {
  return table.param.name;
}

}  // namespace ordvane::test
