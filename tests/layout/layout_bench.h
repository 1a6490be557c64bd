// A session over the embedded spreadsheet, for tests of the report layer.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "environment/standard_environment.h"
#include "layout/report_workbook.h"
#include "office/office.h"
#include "session/session.h"
#include "support/snapshot.h"

namespace ordvane::test {

// Texts as their ids and arguments: "<822: 2, 3>".
class IdStrings : public host::StringTable {
 public:
  std::string GetString(std::int16_t id, const host::TextArgument& arg1, const host::TextArgument& arg2,
                        const host::TextArgument& arg3) override {
    std::string text = "<" + std::to_string(id);
    const char* between = ": ";
    for (const host::TextArgument* argument : {&arg1, &arg2, &arg3}) {
      if (std::holds_alternative<std::monostate>(*argument)) continue;
      text += between;
      between = ", ";
      if (const auto* words = std::get_if<std::string>(argument)) text += *words;
      if (const auto* whole = std::get_if<std::int64_t>(argument)) text += std::to_string(*whole);
      if (const auto* number = std::get_if<double>(argument)) text += number_text(*number);
    }
    return text + ">";
  }
  void set_active_language(std::int32_t /*language_id*/) override {}
};

// Remembers the progress that was shown.
class WatchedEnvironment : public environment::StandardEnvironment {
 public:
  using StandardEnvironment::StandardEnvironment;
  void show_progress(const std::string& text1, const std::string& text2, const std::string& text3) override {
    progress.push_back(text1 + "/" + text2 + "/" + text3);
  }

  std::vector<std::string> progress;
};

struct TablesBench {
  explicit TablesBench(bool add_in_present = false) {
    environment::Settings settings;
    settings.add_in_present = add_in_present;
    environment = std::make_shared<WatchedEnvironment>(settings);
    session.environment = environment;
    session.string_table = std::make_shared<IdStrings>();
    session.g_XLApp = app;
  }

  // A workbook with sheets of these names, as a user has it open.
  std::shared_ptr<host::Workbook> open(const std::string& name, const std::vector<std::string>& sheets) {
    auto book = app->open_workbook(name);
    for (const std::string& sheet : sheets) app->open_sheet(*book, sheet);
    return book;
  }
  layout::ReportWorkbook reports(std::shared_ptr<host::Workbook> target = nullptr) {
    return {session, "Ordvane", std::move(target), nullptr, 1033};
  }
  const office::BookModel& model(const layout::ReportWorkbook& reports) {
    return *(kept = app->model(*reports.workbook()));
  }
  const office::SheetModel& first_sheet(const layout::ReportWorkbook& reports) {
    return *model(reports).sheets.front();
  }

  std::shared_ptr<office::OfficeApplication> app = office::make_application();
  std::shared_ptr<WatchedEnvironment> environment;
  session::Session session;
  std::shared_ptr<const office::BookModel> kept;
};

// With a report workbook and a sheet in it.
struct SheetBench : TablesBench {
  using TablesBench::TablesBench;
  // The sheet as it is now.
  const office::SheetModel& drawn() { return first_sheet(workbook); }

  layout::ReportWorkbook workbook = reports();
  std::shared_ptr<layout::ReportSheet> sheet = workbook.AddSheet("Sheet");
};

}  // namespace ordvane::test
