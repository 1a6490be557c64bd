// Writes a package to a file that appears whole or not at all.
#include "xlsx/save.h"

#include "host/error.h"
#include "xlsx/whole_file.h"

namespace ordvane::xlsx {

void save(const office::BookModel& book, const std::filesystem::path& path, const SaveOptions& options) {
  WholeFileOptions whole;
  whole.replace = options.replace;
  whole.files = options.files;
  whole.before = [&] {
    if (options.cancelled && options.cancelled()) throw host::Error(host::errc::kUserCancelled, "cancelled");
  };
  write_whole_file(
      path, [&](ByteSink& file) { write_package(file, book, options); }, whole);
}

}  // namespace ordvane::xlsx
