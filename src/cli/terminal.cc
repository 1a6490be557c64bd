#include "cli/terminal.h"

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "text/utf8.h"

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

}  // namespace

int terminal_width() {
  return std::clamp(device_width(STDOUT_FILENO), kNarrowest, kWidest);
}

bool terminal_is_utf8() {
  static const bool kUtf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
  return kUtf8;
}

bool terminal_has_colors() {
  const auto is_set = [](const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0';
  };
  static const bool kColors = [&] {
    if (is_set("NO_COLOR")) return false;
    if (is_set("CLICOLOR_FORCE")) return true;
    const char* terminal = std::getenv("TERM");
    return isatty(STDOUT_FILENO) != 0 && terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
  }();
  return kColors;
}

std::string inked(const std::string& text, Ink ink) {
  if (text.empty() || !terminal_has_colors()) return text;
  constexpr const char* kCodes[] = {"33", "36", "1", "2"};
  return std::string("\033[") + kCodes[static_cast<std::size_t>(ink)] + "m" + text + "\033[0m";
}

std::string printable(std::string_view text) {
  std::string result;
  text::for_each_character(text, [&result](const text::CodePoint& character, std::string_view bytes) {
    const bool shown =
        character.valid && !text::is_control(character.code) && (character.code < 0x80 || terminal_is_utf8());
    result += shown ? bytes : "?";
  });
  return result;
}

std::string fitted(std::string_view text, int columns, unicode::Side side) {
  if (unicode::display_width(text) <= columns) return unicode::padded(text, columns, side);
  const std::string mark = terminal_is_utf8() ? "\u2026" : "..";
  const int room = columns - unicode::display_width(mark);
  return unicode::padded(std::string(unicode::beginning(text, room)) + mark, columns, side);
}

ProgressLine::ProgressLine(bool wanted) : enabled_(wanted && isatty(STDERR_FILENO) != 0) {
  const char* terminal = std::getenv("TERM");
  if (!terminal || std::strcmp(terminal, "dumb") == 0) enabled_ = false;
}

void ProgressLine::show(std::string_view text) {
  if (!enabled_) return;
  const std::string clean = printable(text);
  const int room = device_width(STDERR_FILENO) - 1;
  const std::string line = fitted(clean, std::min(unicode::display_width(clean), room));
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
