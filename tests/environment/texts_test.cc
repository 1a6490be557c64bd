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

namespace ordvane::environment {
namespace {

using testing::HasSubstr;

constexpr const char* kSettings = "@id = 1033\n@decimal = .\n";

// The ids of the system, as ranges of first and last.
constexpr std::int32_t kIds[][2] = {
    {100, 122},   {200, 206},   {210, 233},   {300, 316},   {400, 406},   {500, 516},
    {600, 615},   {700, 716},   {800, 823},   {1003, 1003}, {1007, 1007}, {1009, 1019},
    {1022, 1023}, {1025, 1026}, {1028, 1028}, {1032, 1033}, {1037, 1042}, {1100, 1100},
};

// Texts with places, and how many arguments their reports pass.
struct Filled {
  std::int32_t id;
  char arguments;
};
constexpr Filled kFilled[] = {
    {102, 1}, {108, 1}, {111, 2}, {122, 2}, {215, 1}, {219, 1}, {222, 1},  {223, 1}, {224, 2},
    {225, 2}, {226, 1}, {227, 1}, {228, 1}, {233, 2}, {308, 1}, {312, 1},  {313, 1}, {314, 1},
    {315, 1}, {316, 2}, {401, 1}, {402, 2}, {405, 1}, {406, 2}, {501, 1},  {505, 1}, {509, 1},
    {510, 1}, {513, 1}, {515, 2}, {516, 1}, {601, 1}, {609, 1}, {611, 1},  {615, 2}, {709, 1},
    {712, 1}, {713, 1}, {714, 1}, {715, 1}, {716, 2}, {822, 2}, {1028, 1},
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

TEST(Texts, SheetNamesSurviveTheCutOfThe25th) {
  for (const auto& [code, language] : all_languages()) {
    const auto table = make_string_table(language);
    for (const int id : {105, 210, 313, 401, 509, 609, 712, 815, 823})
      EXPECT_LT(table->GetString(static_cast<std::int16_t>(id), std::string("XFD1048576")).size(), 25U)
          << code << ' ' << id;
  }
}

TEST(StringTable, FillsPlacesWithArgumentsOfEveryKind) {
  const Language made =
      read_language("xx",
                    "# made up\n@id=7\n@decimal = ,\n\n 1 = {2} of {1}\r\n2=\\sa\\nb\\\\\\s\n"
                    "3 = {1}{3}!\n4 =\n");
  const auto table = make_string_table(made);
  EXPECT_EQ(table->GetString(1, std::int64_t{7}, std::string("{1}")), "{1} of 7");
  EXPECT_EQ(table->GetString(1, 0.5), " of 0,5");
  EXPECT_EQ(table->GetString(2), " a\nb\\ ");
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
      {"no equals sign", "100 Cell", "line 3: expected \"id = text\""},
      {"no number", "abc = Cell", "line 3: \"abc\" is not a number"},
      {"a number with a tail", "10a = Cell", "line 3: \"10a\""},
      {"zero", "0 = Cell", "line 3: \"0\""},
      {"beyond 16 bits", "32768 = Cell", "line 3: \"32768\""},
      {"an id twice", "100 = a\n100 = b", "line 4: the id 100 is given twice"},
      {"an unknown escape", "100 = a\\t", "line 3: a backslash"},
      {"a backslash at the end", "100 = a\\", "line 3: a backslash"},
      {"an unknown place", "100 = {4}", "line 3: a place"},
      {"an open place", "100 = {1", "line 3: a place"},
      {"two decimal separators", "@decimal = .,", "line 3: @decimal is one character"},
  };
  for (const Case& each : kCases) {
    try {
      read_language("xx", std::string(kSettings) + each.line);
      ADD_FAILURE() << each.what;
    } catch (const host::Error& error) {
      EXPECT_THAT(error.description(), HasSubstr(each.message)) << each.what;
    }
  }
  EXPECT_THROW(read_language("xx", "100 = a"), host::Error) << "without @id";
}

}  // namespace
}  // namespace ordvane::environment
