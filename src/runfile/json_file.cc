#include "runfile/json_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

#include "runfile/run.h"
#include "text/edit.h"
#include "text/system_reasons.h"
#include "text/utf8.h"

namespace ordvane::runfile {
namespace {

constexpr std::size_t kLargestFile = std::size_t{1} << 30;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

std::string read_text(const std::filesystem::path& path, const std::string& what) {
  const auto fail = [&path](const std::string& problem) { throw BadRun(path.string(), "", problem); };
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) fail("is a folder; " + what + " is expected");
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.string().c_str(), "rb"),
                                                             &std::fclose);
  if (!file) fail("cannot be read: " + text::system_reason(errno));
  std::string text;
  constexpr std::size_t kBlock = 1 << 16;
  for (;;) {
    const std::size_t size = text.size();
    text.resize(size + std::max(kBlock, size));
    const std::size_t got = std::fread(text.data() + size, 1, text.size() - size, file.get());
    text.resize(size + got);
    if (got == 0) break;
    if (text.size() > kLargestFile)
      fail("is larger than 1 GiB; keep the recalculated values in a table beside the run file");
  }
  if (std::ferror(file.get())) fail("cannot be read: " + text::system_reason(errno));
  return text;
}

std::string_view checked_text(std::string_view text, const std::string& file, const std::string& what) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  if (text.find_first_not_of(" \t\r\n") == std::string_view::npos)
    throw BadRun(file, "", "is empty; " + what + " is expected");
  const std::size_t invalid = text::first_invalid_byte(text);
  if (invalid != std::string_view::npos) {
    const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(invalid), '\n') + 1;
    throw BadRun(
        file, std::to_string(line),
        "is not UTF-8 text (byte " + text::one_line(text.substr(invalid, 1)) + "); UTF-8 is expected");
  }
  return text;
}

}  // namespace ordvane::runfile
