// A model of a few cells, and plans of it.
#pragma once

#include <string>

#include "../calc/tiny_workbook.h"
#include "sweep/plan.h"
#include "sweep/what_if.h"

namespace ordvane::sweep {

inline test::TinyWorkbook small_book() {
  test::TinyWorkbook book;
  book.set("A1", "Price").set("B1", "10").set("A2", "Volume").set("B2", "4").set("A3", "Cost").set("B3", "7");
  book.set("A5", "Profit").set("B5", "=B1*B2-B3").set("B6", "=IF(B5>40,\"over, \"\"40\"\"\",1/(B1-3))");
  book.raw("C1", R"(<c r="C1"><f t="shared" ref="C1:C2" si="0">B1+1</f></c>)");
  book.raw("C2", R"(<c r="C2"><f t="shared" si="0"/></c>)");
  book.set(1, "A1", "=Sheet1!B5").name("Amount", "Sheet1!$B$2");
  return book;
}

inline Plan planned(const std::string& what_if, calc::Model& model) {
  return make_plan(what_if_of(runfile::parse_json(what_if, "w.json"), "w.json"), model, "tiny.xlsx");
}

// Three inputs, five outputs of all kinds, groups: 3 + 2 + 3, then 6 + 4 recalculations; `more` steps extra.
inline std::string small_what_if(int more = 0) {
  return R"({"inputs": [{"cell": "Sheet1!B1", "low": 1, "high": 3, "steps": 3},
                        {"cell": "Sheet1!B2", "percent": [-50, 50], "steps": )" +
         std::to_string(2 + more) + R"(},
                        {"cell": "Sheet1!B3", "values": [5, 7, 9]}],
             "outputs": [{"cell": "Sheet1!B5"}, {"cell": "Sheet1!B6"}, {"cell": "Sheet1!C1"},
                         {"cell": "'Other sheet'!A1"}, {"cell": "Sheet1!Z9"}],
             "groups": [{"inputs": [2, 1], "steps": [2, 3]}, {"inputs": [1, 3], "steps": 2}]})";
}

}  // namespace ordvane::sweep
