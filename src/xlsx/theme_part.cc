// xl/theme/theme1.xml: the colours and fonts that automatic formats take theirs from.
#include <array>
#include <utility>

#include "xlsx/parts.h"

namespace ordvane::xlsx {
namespace {

// What stands in for the Latin typeface, by script. A program takes the one of its own language where the
// workbook names none.
constexpr std::array<std::pair<const char*, const char*>, 4> kScriptFonts = {{{"Jpan", "Yu Gothic"},
                                                                              {"Hans", "Microsoft YaHei"},
                                                                              {"Hant", "Microsoft JhengHei"},
                                                                              {"Hang", "Malgun Gothic"}}};

constexpr std::array<std::pair<const char*, const char*>, 10> kColors = {{
    {"a:dk2", "2F3E4E"},
    {"a:lt2", "EEF1F4"},
    {"a:accent1", "2F6DB5"},
    {"a:accent2", "D9782D"},
    {"a:accent3", "7D8A97"},
    {"a:accent4", "E0B03C"},
    {"a:accent5", "5FA5D6"},
    {"a:accent6", "6BA352"},
    {"a:hlink", "0563C1"},
    {"a:folHlink", "7A4F8B"},
}};

void system_color(Xml& xml, const char* tag, const char* name, const char* last) {
  xml.start(tag).start("a:sysClr").attr("val", name).attr("lastClr", last).end().end();
}

void colors(Xml& xml) {
  xml.start("a:clrScheme").attr("name", "Ordvane");
  system_color(xml, "a:dk1", "windowText", "000000");
  system_color(xml, "a:lt1", "window", "FFFFFF");
  for (const auto& [tag, color] : kColors) xml.start(tag).val("a:srgbClr", color).end();
  xml.end();
}

void font(Xml& xml, const char* tag, const std::string& east_asian_font) {
  xml.start(tag);
  xml.start("a:latin").attr("typeface", office::kDefaultFont).end();
  xml.start("a:ea").attr("typeface", east_asian_font).end();
  xml.start("a:cs").attr("typeface", "").end();
  for (const auto& [script, name] : kScriptFonts)
    xml.start("a:font").attr("script", script).attr("typeface", name).end();
  xml.end();
}

void fonts(Xml& xml, const std::string& east_asian_font) {
  xml.start("a:fontScheme").attr("name", "Ordvane");
  font(xml, "a:majorFont", east_asian_font);
  font(xml, "a:minorFont", east_asian_font);
  xml.end();
}

void placeholder_fill(Xml& xml) {
  xml.start("a:solidFill").val("a:schemeClr", "phClr").end();
}

void fills(Xml& xml, const char* tag) {
  xml.start(tag);
  for (int i = 0; i < 3; ++i) placeholder_fill(xml);
  xml.end();
}

void lines(Xml& xml) {
  xml.start("a:lnStyleLst");
  for (const int width : {9525, 19050, 28575}) {
    xml.start("a:ln").attr("w", width);
    placeholder_fill(xml);
    xml.val("a:prstDash", "solid").end();
  }
  xml.end();
}

void effects(Xml& xml) {
  xml.start("a:effectStyleLst");
  for (int i = 0; i < 3; ++i) xml.start("a:effectStyle").empty("a:effectLst").end();
  xml.end();
}

}  // namespace

std::string theme_part(const std::string& east_asian_font) {
  std::string part;
  Xml xml(part);
  xml.declaration().start("a:theme").attr("xmlns:a", kDrawingSpace).attr("name", "Ordvane");
  xml.start("a:themeElements");
  colors(xml);
  fonts(xml, east_asian_font);
  xml.start("a:fmtScheme").attr("name", "Ordvane");
  fills(xml, "a:fillStyleLst");
  lines(xml);
  effects(xml);
  fills(xml, "a:bgFillStyleLst");
  xml.end().end().end();
  return part;
}

}  // namespace ordvane::xlsx
