// Writes in-memory workbooks as .xlsx packages: SpreadsheetML sheets, styles, shared texts, notes, drawings
// and charts.
//
// Never calculates and never changes the workbook. The same workbook and options give the same bytes.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "office/book.h"
#include "xlsx/archive.h"
#include "xlsx/file_system.h"

namespace ordvane::xlsx {

struct SaveOptions {
  std::chrono::sys_seconds created = kFirstDate;  // of the document, and of the parts in the package
  std::string east_asian_font;                    // of the report texts; empty: the reading program's own
  unsigned threads = 0;                           // 0: as many as the machine has
  std::function<bool()> cancelled;                // asked now and then; true stops with errc::kUserCancelled
  bool replace = true;                            // a file that is there; false: save() fails for it
  FileSystem* files = nullptr;                    // null: the system's own
};

// Throws host::Error for what a package cannot hold.
void write_package(ByteSink& out, const office::BookModel& book, const SaveOptions& options);
// The whole package in memory.
std::string package(const office::BookModel& book, const SaveOptions& options = {});

// Writes beside `path`, flushes to disk, renames over it. On any failure (host::Error with
// errc::kHostRefused, file name and system message in the text) and on cancelling, what was at `path` is
// still there and nothing else is left.
void save(const office::BookModel& book, const std::filesystem::path& path, const SaveOptions& options = {});

}  // namespace ordvane::xlsx
