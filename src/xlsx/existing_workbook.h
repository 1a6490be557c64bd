// An .xlsx or .xlsm file that report sheets are to go into: read whole, found fit for it, and kept locked
// against other programs for as long as it is open here.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "xlsx/file_system.h"
#include "xlsx/package_reader.h"

namespace ordvane::xlsx {

struct OpenOptions {
  std::function<bool()> cancelled;  // asked now and then; true stops with errc::kUserCancelled
  FileSystem* files = nullptr;      // null: the system's own
};

class ExistingWorkbook {
 public:
  struct Sheet {
    std::string name;
    std::string part;
    bool is_worksheet = true;  // no chart sheet, dialog or macro sheet
    bool is_report = false;    // made by this program, so that a later report may take its place
  };

  // Throws BadWorkbook for a file that sheets cannot be added to, host::Error with errc::kHostRefused for one
  // that cannot be read. The file is not changed.
  explicit ExistingWorkbook(const std::filesystem::path& path, const OpenOptions& options = {});
  ~ExistingWorkbook();
  ExistingWorkbook(const ExistingWorkbook&) = delete;
  ExistingWorkbook& operator=(const ExistingWorkbook&) = delete;

  const std::filesystem::path& path() const { return path_; }
  const std::vector<Sheet>& sheets() const { return sheets_; }
  bool counts_dates_from_1904() const { return counts_from_1904_; }

  // Throws BadWorkbook when another program has changed the file, or opened it, since it was read.
  void check_unchanged() const;

  PackageReader& package() { return *package_; }
  const std::string& workbook_part() const { return workbook_part_; }

 private:
  class File;

  void read_workbook();
  void find_workbook_part();
  void refuse_protected(const XmlText& workbook) const;
  void list_sheets(const XmlText& workbook);
  void mark_reports(const XmlText& workbook);
  [[noreturn]] void refuse(const std::string& why) const;

  std::filesystem::path path_;
  std::unique_ptr<File> file_;
  std::unique_ptr<PackageReader> package_;
  std::string workbook_part_;
  std::vector<Sheet> sheets_;
  bool counts_from_1904_ = false;
};

}  // namespace ordvane::xlsx
