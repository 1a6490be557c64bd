#include "cli/terminal.h"

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>

namespace ordvane::cli {
namespace {

constexpr int kDefaultWidth = 80;
constexpr int kNarrowest = 40;
constexpr int kWidest = 200;

int device_width(int device) {
  if (const char* columns = std::getenv("COLUMNS")) {
    int width = 0;
    const char* end = columns + std::strlen(columns);
    if (std::from_chars(columns, end, width).ptr == end && width > 0) return width;
  }
  winsize size{};
  if (ioctl(device, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return kDefaultWidth;
}

// A character of a text in the locale's encoding: its bytes, and its columns or -1 for one that cannot be
// shown.
struct Glyph {
  std::string_view bytes;
  int columns;
};

Glyph next_glyph(std::string_view text) {
  std::mbstate_t state{};
  wchar_t wide = 0;
  const std::size_t length = std::mbrtowc(&wide, text.data(), text.size(), &state);
  if (length == 0 || length > text.size()) return {text.substr(0, 1), -1};
  return {text.substr(0, length), ::wcwidth(wide)};
}

template <class Visit>
void each_glyph(std::string_view text, const Visit& visit) {
  while (!text.empty()) {
    const Glyph glyph = next_glyph(text);
    if (!visit(glyph)) return;
    text.remove_prefix(glyph.bytes.size());
  }
}

}  // namespace

int terminal_width() {
  return std::clamp(device_width(STDOUT_FILENO), kNarrowest, kWidest);
}

bool terminal_is_utf8() {
  static const bool kUtf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
  return kUtf8;
}

std::string printable(std::string_view text) {
  std::string result;
  const auto is_continuation = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; };
  each_glyph(text, [&](const Glyph& glyph) {
    if (glyph.columns >= 0)
      result += glyph.bytes;
    else if (!is_continuation(glyph.bytes.front()))  // one mark a character
      result += '?';
    return true;
  });
  return result;
}

int display_width(std::string_view text) {
  int width = 0;
  each_glyph(text, [&](const Glyph& glyph) {
    width += std::max(glyph.columns, 0);
    return true;
  });
  return width;
}

std::string fitted(std::string_view text, int columns, bool right) {
  std::string result(text);
  int width = display_width(text);
  if (width > columns) {
    const std::string mark = terminal_is_utf8() ? "\u2026" : "..";
    const int room = columns - display_width(mark);
    result.clear();
    width = 0;
    each_glyph(text, [&](const Glyph& glyph) {
      const int after = width + std::max(glyph.columns, 0);
      if (after > room) return false;
      result += glyph.bytes;
      width = after;
      return true;
    });
    result += mark;
    width += columns - room;
  }
  const std::string filling(static_cast<std::size_t>(std::max(columns - width, 0)), ' ');
  return right ? filling + result : result + filling;
}

ProgressLine::ProgressLine(bool wanted) : enabled_(wanted && isatty(STDERR_FILENO) != 0) {
  const char* terminal = std::getenv("TERM");
  if (!terminal || std::strcmp(terminal, "dumb") == 0) enabled_ = false;
}

void ProgressLine::show(std::string_view text) {
  if (!enabled_) return;
  const std::string clean = printable(text);
  const int room = device_width(STDERR_FILENO) - 1;
  const std::string line = fitted(clean, std::min(display_width(clean), room));
  std::fprintf(stderr, "\r\033[K%s", line.c_str());
  std::fflush(stderr);
  shown_ = true;
}

void ProgressLine::clear() {
  if (!shown_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  shown_ = false;
}

}  // namespace ordvane::cli
