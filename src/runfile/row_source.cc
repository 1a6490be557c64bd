#include "runfile/row_source.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <system_error>

#include "runfile/run.h"
#include "runfile/values.h"
#include "text/edit.h"
#include "text/system_reasons.h"

namespace ordvane::runfile {
namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 20;
constexpr std::size_t kLongestRow = std::size_t{1} << 26;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

RowSource::RowSource(const std::filesystem::path& path, std::int64_t begin, std::int64_t lines)
    : name_(path.string()), file_(nullptr, &std::fclose), buffer_(kBufferSize) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    if (!error && std::filesystem::exists(path)) fail("is not a file");
    fail("cannot be read: " +
         text::system_reason(error ? error : std::make_error_code(std::errc::no_such_file_or_directory)));
  }
  file_.reset(std::fopen(name_.c_str(), "rb"));
  if (!file_ || std::fseek(file_.get(), static_cast<long>(begin), SEEK_SET) != 0)
    fail("cannot be read: " + text::system_reason(errno));
  std::setvbuf(file_.get(), nullptr, _IONBF, 0);
  line_ = lines;
}

bool RowSource::next(std::string_view& row) {
  const bool is_first = line_ == 0;
  line_ += breaks_;
  breaks_ = 0;
  std::size_t from = 0;
  std::size_t end = find_break(from);
  if (end == begin_ && end == end_) return false;
  ++line_;
  for (bool inside = false; flip_at_quotes(inside, from, end); end = find_break(from)) {
    if (end == end_) break;
    ++breaks_;
    from = end + 1 - begin_;
  }
  row = {buffer_.data() + begin_, end - begin_};
  begin_ = end == end_ ? end : end + 1;
  if (row.ends_with('\r')) row.remove_suffix(1);
  if (!is_first) return true;
  if (row.starts_with("\xFF\xFE") || row.starts_with("\xFE\xFF")) fail("is UTF-16 text; UTF-8 is expected");
  if (row.starts_with(kByteOrderMark)) row.remove_prefix(kByteOrderMark.size());
  return true;
}

void RowPlace::fail(const std::string& problem) const {
  throw BadRun(*file, line > 0 ? std::to_string(line) : "", problem);
}

// Position of the next line break at or after begin_ + from; end_ when the file has none.
std::size_t RowSource::find_break(std::size_t from) {
  for (;;) {
    const char* start = buffer_.data() + begin_ + from;
    const std::size_t size = end_ - begin_ - from;
    if (const void* found = std::memchr(start, '\n', size))
      return static_cast<std::size_t>(static_cast<const char*>(found) - buffer_.data());
    from += size;
    if (!refill()) return end_;
  }
}

// Appends what the file has next. False at its end.
bool RowSource::refill() {
  if (begin_ > 0) {
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  if (end_ == buffer_.size()) {
    if (end_ >= kLongestRow) fail("this row is longer than any row of a run; is a quoted text never closed?");
    buffer_.resize(2 * buffer_.size());
  }
  const std::size_t size = std::fread(buffer_.data() + end_, 1, buffer_.size() - end_, file_.get());
  if (size == 0 && std::ferror(file_.get())) fail("cannot be read: " + text::system_reason(errno));
  end_ += size;
  bytes_read_ += static_cast<std::int64_t>(size);
  return size > 0;
}

// Follows the quotes from begin_ + from up to `end`; the result is whether a quoted text is open there.
bool RowSource::flip_at_quotes(bool& inside, std::size_t from, std::size_t end) const {
  const char* at = buffer_.data() + begin_ + from;
  const char* const stop = buffer_.data() + end;
  while ((at = static_cast<const char*>(std::memchr(at, '"', static_cast<std::size_t>(stop - at))))) {
    inside = !inside;
    ++at;
  }
  return inside;
}

FieldFault take_field(const char*& at, const char* end, char separator, std::string& text) {
  text.clear();
  if (at == end || *at != '"') {
    const char* const start = at;
    while (at != end && *at != separator) ++at;
    text.assign(start, at);
    return FieldFault::kNone;
  }
  for (++at; at != end; ++at) {
    if (*at == '"' && (++at == end || *at != '"'))
      return at == end || *at == separator ? FieldFault::kNone : FieldFault::kTextBehindQuote;
    text += *at;
  }
  return FieldFault::kNeverClosed;
}

std::string fault_text(FieldFault fault, const std::string& text) {
  return fault == FieldFault::kTextBehindQuote
             ? "has text behind the closing quote of " + text::quoted_text(text)
             : "starts a quoted text that is never closed";
}

NumberKind number_of_field(std::string_view text, double& number) {
  std::string_view digits = text::trimmed(text, " \t");
  if (digits.starts_with('+') && !digits.starts_with("+-")) digits.remove_prefix(1);
  number = 0;
  const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error == std::errc::invalid_argument || stop != digits.data() + digits.size()) return NumberKind::kNone;
  if (error == std::errc::result_out_of_range) {
    number = 0;
    const bool is_small =
        digits.find("e-") != std::string_view::npos || digits.find("E-") != std::string_view::npos;
    return is_small ? NumberKind::kNumber : NumberKind::kTooLarge;
  }
  if (!std::isfinite(number)) return NumberKind::kNone;
  return std::fabs(number) < kNumberLimit ? NumberKind::kNumber : NumberKind::kTooLarge;
}

}  // namespace ordvane::runfile
