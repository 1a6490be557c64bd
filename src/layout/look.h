// How report sheets look: one typeface, one scale of sizes, one palette. Colours are 0xBBGGRR.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "host/excel.h"

namespace ordvane::layout::look {

inline constexpr const char* kFont = "Calibri";

// Sizes in points.
inline constexpr double kTitleSize = 16;
inline constexpr double kCaptionSize = 11;
inline constexpr double kBodySize = 10;
inline constexpr double kSmallSize = 9;
inline constexpr double kChartTitleSize = 13;
inline constexpr double kChartSubtitleSize = 9.5;

inline constexpr host::Color kAccent = 0x993333;      // dark blue
inline constexpr host::Color kHeaderTint = 0xF6EAE6;  // the accent, very light
inline constexpr host::Color kMarked = 0xCCF2FF;      // pale yellow: what a reader looks for first
inline constexpr host::Color kText = 0x262626;
inline constexpr host::Color kMuted = 0x737373;
inline constexpr host::Color kRule = 0xC0C0C0;  // entry 15 of the spreadsheet's colour table
inline constexpr host::Color kHairline = 0xE3E0DF;
inline constexpr host::Color kGridline = 0xE6E6E6;
inline constexpr host::Color kWatermark = 0xBFBFBF;

inline constexpr double kTitleRowHeight = 27;
inline constexpr double kFirstLineHeight = 21;  // keeps the lines of a title block clear of the title's rule
inline constexpr double kHeaderRowHeight = 18;
inline constexpr double kHeaderLineHeight = 13.5;
inline constexpr double kBodyRowHeight = 15;
inline constexpr double kLineHeight = 1.25;  // of texts in charts, in sizes

// No sheet has a higher row (points) or a wider column (characters): what needs more is cut there.
inline constexpr double kHighestRow = 409;
inline constexpr double kWidestColumn = 255;

// Of a row with so many lines of text, from its height with one.
inline double row_height(double with_one, std::int32_t lines) {
  return std::min(with_one + (lines - 1) * kHeaderLineHeight, kHighestRow);
}

// A text colour that reads well on this one.
inline host::Color text_on(host::Color background) {
  constexpr host::Color kWhite = 0xFFFFFF;
  const auto part = [&](int shift) { return static_cast<double>((background >> shift) & 0xFF); };
  const double brightness = 0.299 * part(0) + 0.587 * part(8) + 0.114 * part(16);
  constexpr double kBright = 150;
  return brightness < kBright ? kWhite : kText;
}

// How far two colours are apart in brightness: 1 for equally bright ones, 21 for black and white.
inline double contrast(host::Color a, host::Color b) {
  const auto brightness = [](host::Color color) {
    const auto part = [&](int shift) {
      return std::pow(static_cast<double>((color >> shift) & 0xFF) / 255, 2.2);
    };
    return 0.2126 * part(0) + 0.7152 * part(8) + 0.0722 * part(16) + 0.05;
  };
  const double first = brightness(a), second = brightness(b);
  return std::max(first, second) / std::min(first, second);
}

inline host::FontFormat font(double size, host::Color color, bool bold = false, bool italic = false) {
  return {.name = kFont, .size = size, .bold = bold, .italic = italic, .color = color};
}

inline host::BorderFormat rule(host::LineWeight weight, host::Color color) {
  return {.line_style = static_cast<std::int32_t>(host::LineStyle::kContinuous),
          .weight = static_cast<std::int32_t>(weight),
          .color = color};
}

// Separates groups of columns and rows; the colour is an entry of the spreadsheet's colour table.
inline constexpr host::BorderFormat kGroupRule = {.line_style = 1, .weight = 2, .color_index = 15};
inline constexpr host::BorderFormat kNoLine = {.line_style = host::kXlNone};

}  // namespace ordvane::layout::look
