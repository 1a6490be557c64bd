// The texts: every id that the reports ask for has one in every language, and the string files are read
// strictly.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "environment/standard_environment.h"
#include "environment/string_table.h"
#include "layout/text_estimate.h"
#include "text/utf16.h"

namespace ordvane::environment {
namespace {

using testing::HasSubstr;

constexpr const char* kSettings = "@id = 1033\n@decimal = .\n@group = ,\n@date = d/m/yy\n@list = ;\n";

// The ids of the system, as ranges of first and last.
constexpr std::int32_t kIds[][2] = {
    {100, 122},   {200, 206},   {210, 233},   {240, 242},   {300, 316},   {400, 406},   {500, 516},
    {600, 615},   {700, 716},   {800, 823},   {1003, 1003}, {1007, 1007}, {1009, 1019}, {1022, 1023},
    {1025, 1026}, {1028, 1028}, {1032, 1033}, {1037, 1042}, {1100, 1100}, {530, 538},   {630, 632},
};

// Texts with places, and how many arguments their reports pass.
struct Filled {
  std::int32_t id;
  char arguments;
};
constexpr Filled kFilled[] = {
    {102, 1}, {108, 1}, {111, 2}, {122, 2}, {215, 1}, {219, 1}, {222, 1},  {223, 1}, {224, 2}, {225, 3},
    {226, 3}, {227, 2}, {228, 1}, {233, 2}, {243, 1}, {260, 1}, {261, 2},  {262, 1}, {263, 3}, {265, 1},
    {266, 2}, {274, 3}, {305, 1}, {308, 1}, {312, 1}, {313, 1}, {314, 1},  {315, 1}, {316, 2}, {331, 1},
    {401, 1}, {402, 2}, {405, 1}, {406, 2}, {501, 1}, {505, 1}, {509, 1},  {510, 1}, {513, 1}, {514, 1},
    {515, 2}, {516, 1}, {530, 1}, {531, 1}, {532, 1}, {533, 1}, {538, 1},  {601, 1}, {609, 1}, {611, 1},
    {614, 1}, {615, 2}, {630, 1}, {631, 1}, {632, 1}, {709, 1}, {712, 1},  {713, 1}, {714, 1}, {715, 1},
    {716, 2}, {822, 2}, {830, 1}, {851, 2}, {852, 1}, {853, 1}, {1028, 1},
};

std::string file_text(const std::filesystem::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Ids that the sources name: passed to a text function, or kept in a constant or a table of the 16-bit kind
// that the text functions take, or in a structure named for its texts.
std::set<std::int32_t> ids_in_sources() {
  static const std::regex kCall(R"((?:text|GetString)\(\s*(\d+)\b)");
  static const std::regex kConstants(R"((?:int16_t|Texts)\b[^;{=()]*[={]\s*\{?([^;}]*))");
  static const std::regex kNumber(R"(\b\d+\b)");
  std::set<std::int32_t> ids;
  const auto collect = [&](const std::string& text, const std::regex& numbers, std::size_t group) {
    for (std::sregex_iterator each(text.begin(), text.end(), numbers), end; each != end; ++each)
      ids.insert(std::stoi((*each)[group]));
  };
  for (const char* folder : {"session", "model", "tables", "graphs", "service"}) {
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string(ORDVANE_SOURCE_DIR "/src/") + folder)) {
      if (entry.path().extension() != ".cc") continue;
      const std::string source = file_text(entry.path());
      collect(source, kCall, 1);
      for (std::sregex_iterator each(source.begin(), source.end(), kConstants), end; each != end; ++each)
        collect((*each)[1], kNumber, 0);
    }
  }
  std::erase_if(ids, [](std::int32_t id) { return id < 100; });  // small 16-bit numbers are no texts
  return ids;
}

std::set<std::string> places(const std::string& text) {
  std::set<std::string> found;
  for (const char* place : {"{1}", "{2}", "{3}"})
    if (text.find(place) != std::string::npos) found.insert(place);
  return found;
}

TEST(Texts, EveryIdOfTheSystemHasOneInEveryLanguage) {
  for (const auto& [code, language] : all_languages()) {
    for (const auto& [first, last] : kIds)
      for (std::int32_t id = first; id <= last; ++id)
        EXPECT_TRUE(language.texts.contains(id) && !language.texts.at(id).empty()) << code << ' ' << id;
    for (const auto& [id, text] : language.texts)
      EXPECT_TRUE(all_languages().at("en").texts.contains(id)) << code << ' ' << id << " is no id";
  }
}

TEST(Texts, EveryIdInTheSourcesHasOne) {
  const std::set<std::int32_t> used = ids_in_sources();
  for (const std::int32_t id : {1019, 701, 712, 120, 1033})
    EXPECT_TRUE(used.contains(id)) << "not found: " << id;
  for (const std::int32_t id : used) EXPECT_TRUE(language("en").texts.contains(id)) << id;
}

TEST(Texts, PlacesAreThoseThatTheReportsFill) {
  for (const auto& [code, language] : all_languages()) {
    std::map<std::int32_t, std::set<std::string>> expected;
    for (const Filled& text : kFilled)
      for (char place = '1'; place <= '0' + text.arguments; ++place)
        expected[text.id].insert(std::string("{") + place + "}");
    for (const auto& [id, text] : language.texts) EXPECT_EQ(places(text), expected[id]) << code << ' ' << id;
  }
}

// Two reports of one name would be told apart by a number alone.
TEST(Texts, SheetNamesFitWholeAreAllowedAndTellTheReportsApart) {
  for (const auto& [code, language] : all_languages()) {
    const auto table = make_string_table(language);
    std::set<std::string> names;
    for (const int id : {105, 210, 240, 313, 401, 509, 609, 712, 815, 823}) {
      const std::string name = table->GetString(static_cast<std::int16_t>(id), std::string("XFD1048576"));
      EXPECT_LE(text::utf16_length(name), 25) << code << ' ' << name;
      EXPECT_EQ(name.find_first_of("\\/:*?[]"), std::string::npos) << code << ' ' << name;
      EXPECT_TRUE(names.insert(name).second) << code << ' ' << name;
    }
  }
}

// What a text is measured by is where it stands; headings of figures decide how wide their columns are.
TEST(Texts, HeadingsAreShort) {
  for (const auto& [code, language] : all_languages()) {
    for (const int id : {101, 113, 118, 103, 104, 309, 217, 220, 221, 1042})
      EXPECT_LE(layout::widest_word(language.texts.at(id), 10, true), 85) << code << ' ' << id;
    // The labels of a title block stand in one column; the list of contents finds its lines by them.
    EXPECT_EQ((std::set{language.texts.at(200), language.texts.at(204), language.texts.at(205),
                        language.texts.at(206)})
                  .size(),
              4U)
        << code;
  }
}

TEST(Texts, LanguagesHaveTheirOwnIdsAndFigures) {
  struct Case {
    const char* code;
    std::int32_t id;
    const char* number;
    const char* date;
    const char* list;
  };
  constexpr Case kCases[] = {
      {"de", 1031, "-1.234.567,5", "09.03.2026", ", "},
      {"en", 1033, "-1,234,567.5", "03/09/2026", ", "},
      {"es", 3082, "-1.234.567,5", "09/03/2026", ", "},
      {"fr", 1036, "-1\u00A0234\u00A0567,5", "09/03/2026", ", "},
      {"it", 1040, "-1.234.567,5", "09/03/2026", ", "},
      {"ja", 1041, "-1,234,567.5", "2026/03/09", "、"},
      {"pt", 1046, "-1.234.567,5", "09/03/2026", ", "},
      {"zh", 2052, "-1,234,567.5", "2026/3/9", "、"},
  };
  EXPECT_EQ(all_languages().size(), std::size(kCases));
  for (const Case& each : kCases) {
    StandardNumberService numbers(each.code);
    EXPECT_EQ(language(each.code).id, each.id);
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
                                      "# made up\n@id=7\n@decimal = ,\n@group=.\n@date=d\n@list=;\\s\n\n 1 = "
                                      "{2} of {1}\r\n2=\\sa\\nb\\\\\\s\\_\n"
                                      "3 = {1}{3}!\n4 =\n");
  const auto table = make_string_table(made);
  EXPECT_EQ(table->GetString(1, std::int64_t{7}, std::string("{1}")), "{1} of 7");
  EXPECT_EQ(table->GetString(1, 0.5), " of 0,5");
  EXPECT_EQ(table->GetString(2), " a\nb\\ \u00A0");
  EXPECT_EQ(table->GetString(3, {}, {}, 1e20), "1E+20!");
  EXPECT_EQ(table->GetString(4), "");
}

TEST(StringTable, AnUnknownIdIsASubscriptErrorThatNamesIt) {
  const auto table = make_string_table(language("en"));
  try {
    table->GetString(4321);
    FAIL() << "no error";
  } catch (const host::Error& error) {
    EXPECT_EQ(error.code(), host::errc::kSubscriptOutOfRange);
    EXPECT_THAT(error.description(), HasSubstr("4321"));
  }
  EXPECT_THROW(table->set_active_language(99), host::Error);
  EXPECT_NO_THROW(table->set_active_language(1033));
}

TEST(StringFile, MistakesAreRefusedWithTheirLine) {
  struct Case {
    const char* what;
    const char* line;
    const char* message;
  };
  constexpr Case kCases[] = {
      {"no equals sign", "100 Cell", "line 6: expected \"id = text\""},
      {"no number", "abc = Cell", "line 6: \"abc\" is not a number"},
      {"a number with a tail", "10a = Cell", "line 6: \"10a\""},
      {"zero", "0 = Cell", "line 6: \"0\""},
      {"beyond 16 bits", "32768 = Cell", "line 6: \"32768\""},
      {"an id twice", "100 = a\n100 = b", "line 7: the id 100 is given twice"},
      {"an unknown escape", "100 = a\\t", "line 6: a backslash"},
      {"a backslash at the end", "100 = a\\", "line 6: a backslash"},
      {"an unknown place", "100 = {4}", "line 6: a place"},
      {"an open place", "100 = {1", "line 6: a place"},
      {"an unknown setting", "@plural = s", "line 6: there is no setting @plural"},
      {"an empty setting", "@font =", "line 6: @font is empty"},
      {"a setting twice", "@id = 7", "line 6: the setting @id is given twice"},
  };
  for (const Case& each : kCases) {
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
  EXPECT_THROW(read_language("xx", "@decimal = .,"), host::Error) << "two decimal separators";
}

}  // namespace
}  // namespace ordvane::environment
