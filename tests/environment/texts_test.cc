// The texts: every language has all of them, and the string files are read strictly.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "environment/standard_environment.h"
#include "environment/string_table.h"
#include "session/text_id.h"
#include "text/utf16.h"

namespace ordvane::environment {
namespace {

using testing::HasSubstr;

constexpr const char* kSettings = "@id = 1033\n@decimal = .\n@group = ,\n@date = d/m/yy\n@list = ;\n";

std::set<std::string> places(const std::string& text) {
  std::set<std::string> found;
  for (const char* place : {"{1}", "{2}", "{3}"})
    if (text.find(place) != std::string::npos) found.insert(place);
  return found;
}

TEST(Texts, EveryLanguageHasEachWithThePlacesThatTheReportsFill) {
  for (const std::string& code : languages()) {
    const auto& texts = language(code).texts;
    for (const TextEntry& entry : text_table()) {
      ASSERT_TRUE(texts.contains(entry.number)) << code << ' ' << entry.name;
      const std::string& text = texts.at(entry.number);
      EXPECT_FALSE(text.empty()) << code << ' ' << entry.name;
      std::set<std::string> expected;
      for (std::int32_t place = 1; place <= entry.places; ++place)
        expected.insert("{" + std::to_string(place) + "}");
      EXPECT_EQ(places(text), expected) << code << ' ' << entry.name;
    }
  }
}

// Two reports of one name would be told apart by a number alone.
TEST(Texts, SheetNamesFitWholeAreAllowedAndTellTheReportsApart) {
  for (const std::string& code : languages()) {
    const auto table = make_string_table(language(code));
    std::set<std::string> names;
    for (const TextEntry& entry : text_table()) {
      if (!entry.name.ends_with(".sheet_name") && entry.name != "contents.title") continue;
      const std::string name = table->GetString(entry.number, std::string("XFD1048576"));
      EXPECT_LE(text::utf16_length(name), 25) << code << ' ' << name;
      EXPECT_EQ(name.find_first_of("\\/:*?[]"), std::string::npos) << code << ' ' << name;
      EXPECT_TRUE(names.insert(name).second) << code << ' ' << name;
    }
  }
}

TEST(Texts, LabelsOfATitleBlockDiffer) {
  for (const std::string& code : languages()) {
    const auto text = [&](auto id) { return language(code).texts.at(id.number); };
    // They stand in one column; the list of contents finds its lines by them.
    EXPECT_EQ((std::set{text(text_id::kLabelBaseValue), text(text_id::kLabelWorkbook),
                        text(text_id::kLabelOutput), text(text_id::kLabelRun)})
                  .size(),
              4U)
        << code;
  }
}

TEST(Texts, LanguagesHaveTheirOwnIdsAndFigures) {
  constexpr struct {
    const char* code;
    std::int32_t id;
    const char* number;
    const char* date;
    const char* list;
  } kCases[] = {
      {"de", 1031, "-1.234.567,5", "09.03.2026", ", "},
      {"en", 1033, "-1,234,567.5", "03/09/2026", ", "},
      {"es", 3082, "-1.234.567,5", "09/03/2026", ", "},
      {"fr", 1036, "-1\u00A0234\u00A0567,5", "09/03/2026", ", "},
      {"it", 1040, "-1.234.567,5", "09/03/2026", ", "},
      {"ja", 1041, "-1,234,567.5", "2026/03/09", "、"},
      {"pt", 1046, "-1.234.567,5", "09/03/2026", ", "},
      {"zh", 2052, "-1,234,567.5", "2026/3/9", "、"},
  };
  EXPECT_EQ(languages().size(), std::size(kCases));
  for (const auto& each : kCases) {
    StandardNumberService numbers(each.code);
    EXPECT_EQ(language(each.code).id, each.id);
    EXPECT_EQ(language_id_of(each.code), each.id);
    EXPECT_EQ(numbers.number_text(-1234567.5, true), each.number) << each.code;
    EXPECT_EQ(numbers.date_text(46090.75), each.date) << each.code;
    EXPECT_EQ(numbers.list_separator(), each.list) << each.code;
  }
}

TEST(Languages, AreChosenByLocale) {
  const std::pair<const char*, const char*> kCases[] = {
      {"de_DE.UTF-8", "de"}, {"de-AT", "de"},      {"fr_CA@euro", "fr"}, {"pt_PT", "pt"}, {"JA", "ja"},
      {"zh_CN.UTF-8", "zh"}, {"zh-Hans-HK", "zh"}, {"zh_TW", "en"},      {"zh", "zh"},    {"C.UTF-8", "en"},
      {"nl_NL", "en"},       {"deutsch", "en"},    {"", "en"},
  };
  for (const auto& [locale, code] : kCases) {
    EXPECT_EQ(language_of_locale(locale), code) << locale;
    const bool has_texts = std::string_view(code) != "en";
    EXPECT_EQ(language_named(locale), has_texts ? std::optional<std::string>(code) : std::nullopt) << locale;
  }
  EXPECT_EQ(language_named("EN_gb.utf8"), "en");
}

TEST(StringTable, FillsPlacesWithArgumentsOfEveryKind) {
  const Language made = read_language("xx",
                                      "# made up\n@id=7\n@decimal = ,\n@group=.\n@date=d\n@list=;\\s\n\n"
                                      " tornado.run = {2} of {1}\r\nlabel.run=\\sa\\nb\\\\\\s\\_\n"
                                      "multi_way.progress = {1}{3}!\nlabel.output =\n");
  const auto table = make_string_table(made);
  const auto text = [&](auto id, const auto&... arguments) {
    return table->GetString(id.number, arguments...);
  };
  EXPECT_EQ(text(text_id::kTornadoRun, std::int64_t{7}, std::string("{1}")), "{1} of 7");
  EXPECT_EQ(text(text_id::kTornadoRun, 0.5), " of 0,5");
  EXPECT_EQ(text(text_id::kLabelRun), " a\nb\\ \u00A0");
  EXPECT_EQ(text(text_id::kMultiWayProgress, host::TextArgument(), host::TextArgument(), 1e20), "1E+20!");
  EXPECT_EQ(text(text_id::kLabelOutput), "");
}

TEST(StringFile, MistakesAreRefusedWithTheirLine) {
  constexpr struct {
    const char* what;
    const char* line;
    const char* message;
  } kCases[] = {
      {"no equals sign", "label.run Run", "line 6: expected \"name = text\""},
      {"no text of the reports", "label.runs = Runs", "line 6: there is no text label.runs"},
      {"a number in place of the name", "206 = Run", "line 6: there is no text 206"},
      {"a text twice", "label.run = a\nlabel.run = b", "line 7: the text label.run is given twice"},
      {"an unknown escape", "label.run = a\\t", "line 6: a backslash"},
      {"a backslash at the end", "label.run = a\\", "line 6: a backslash"},
      {"an unknown place", "label.run = {4}", "line 6: a place"},
      {"an open place", "label.run = {1", "line 6: a place"},
      {"an unknown setting", "@plural = s", "line 6: there is no setting @plural"},
      {"an empty setting", "@font =", "line 6: @font is empty"},
      {"a setting twice", "@id = 7", "line 6: the setting @id is given twice"},
  };
  for (const auto& each : kCases) {
    try {
      read_language("xx", std::string(kSettings) + each.line);
      ADD_FAILURE() << each.what;
    } catch (const host::Error& error) {
      EXPECT_THAT(error.description(), HasSubstr(each.message)) << each.what;
    }
  }
  const std::string settings = kSettings;
  for (std::size_t at = 0, end; at < settings.size(); at = end) {
    end = settings.find('\n', at) + 1;
    std::string without = settings;
    without.erase(at, end - at);
    EXPECT_THROW(read_language("xx", without), host::Error) << "without " << settings.substr(at, end - at);
  }
  for (const char* id : {"abc", "10a", "0", "32768"})
    EXPECT_THROW(read_language("xx", "@id = " + std::string(id) + settings.substr(settings.find('\n'))),
                 host::Error)
        << id;
  EXPECT_THROW(read_language("xx", "@decimal = .,"), host::Error) << "two decimal separators";
}

}  // namespace
}  // namespace ordvane::environment
