// Names, labels, addresses and the evaluation of base values, on the embedded spreadsheet.
#include "model/naming.h"

#include <gtest/gtest.h>

#include "environment/standard_environment.h"
#include "model/scan.h"
#include "office/office.h"
#include "runfile/recorded_engine.h"
#include "runfile/run.h"

namespace ordvane::model {
namespace {

class Naming : public testing::Test {
 protected:
  Naming() {
    session_.environment = std::make_shared<environment::StandardEnvironment>(environment::Settings{});
    session_.engine = runfile::make_recorded_engine(std::make_shared<runfile::Run>());
    session_.g_XLApp = application_;
    const auto book = application_->open_workbook("Model.xlsx");
    sheet_ = application_->open_sheet(*book, "Inputs");
  }

  std::shared_ptr<host::Range> cell(const std::string& address) { return sheet_->range(address); }
  void put(const std::string& address, const host::CellValue& value) { cell(address)->set_value(value); }

  session::Session session_;
  std::shared_ptr<office::OfficeApplication> application_ = office::make_application();
  std::shared_ptr<host::Worksheet> sheet_;
};

TEST_F(Naming, ShortDefaultLabelSharesItsRoom) {
  const auto text = [](int length) { return std::string(static_cast<std::size_t>(length), 'x'); };
  const struct {
    const char* what;
    std::string left, above, expected;
  } cases[] = {
      {"41 units stay whole", text(20), text(18), text(20) + " / " + text(18)},
      {"a short first text stays whole", text(10), text(50), text(10) + " / " + text(28)},
      {"a short second text stays whole", text(50), text(10), text(28) + " / " + text(10)},
      {"two long texts share the room", text(30), text(30), text(19) + " / " + text(19)},
      {"a single text is the label", "Price", "", "Price"},
      {"without a label the present name stays", "", "", "Name"},
      {"a character of two units is not halved", text(18) + "📋📋", text(30), text(18) + " / " + text(19)},
  };
  for (const auto& c : cases) {
    put("B9", c.left.empty() ? host::CellValue() : host::CellValue(c.left));
    put("C4", c.above.empty() ? host::CellValue() : host::CellValue(c.above));
    EXPECT_EQ(short_default_label(session_, *cell("C9"), "Name"), c.expected) << c.what;
  }
}

TEST_F(Naming, TextsBecomeSafeNames) {
  EXPECT_EQ(clean_sheet_name("Q1/Q2 [plan]: totals?"), "Q1Q2 plan totals");
  EXPECT_EQ(clean_sheet_name(std::string(30, 'x')), std::string(25, 'x'));
  EXPECT_EQ(clean_sheet_name(std::string(24, 'x') + "📋"), std::string(24, 'x'));
  EXPECT_EQ(external_address("Bob's.xlsx", "It's", "B4"), "'[Bob''s.xlsx]It''s'!B4");
  EXPECT_EQ(address_for_range_mode(OrdvaneRangeBookMode, "M", "S", "B4"), "B4 (S)");
}

TEST_F(Naming, NumberFormatsComeFromCellsThatCanBeReached) {
  cell("B4")->set_number_format("0.00%");
  Records records(2);
  records(1).bookName = records(2).bookName = "Model.xlsx";
  records(1).sheetName = "Inputs";
  records(2).sheetName = "Closed";
  for (DralInputOutput& record : records) {
    record.cellAddress = "B4";
    record.NumberFormatLocal = "before";
  }
  fill_number_formats(session_, records, 2);
  EXPECT_EQ(records(1).NumberFormatLocal, "0.00%");
  EXPECT_EQ(records(2).NumberFormatLocal, "before");
}

TEST_F(Naming, EvaluatingAFunctionPutsTheFormulaBack) {
  const struct {
    const char* function;
    double expected;
  } cases[] = {{"40+2", 42},
               {"\"text\"", host::kMissingNumber},
               {"UNKNOWN(1)", host::kMissingNumber},
               {"1/0", host::kMissingNumber}};
  for (const auto& c : cases) {
    cell("B4")->set_formula("=6*7");
    EXPECT_EQ(BaseValues(session_).of(*cell("B4"), c.function), c.expected) << c.function;
    EXPECT_EQ(cell("B4")->formula(), "=6*7") << c.function;
  }
}

}  // namespace
}  // namespace ordvane::model
