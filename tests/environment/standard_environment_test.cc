#include "environment/standard_environment.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <tuple>

#include "session/text_id.h"
#include "support/files.h"

namespace ordvane::environment {
namespace {

constexpr double kMax = std::numeric_limits<double>::max();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(AxisScale, HoldsBothValuesInAReadableNumberOfSteps) {
  StandardNumberService numbers;
  constexpr double kMagnitudes[] = {1e-320, 1e-300, 3e-9, 0.07, 1, 46023, 1.7e15, 9e299, kMax};
  constexpr double kShapes[] = {-1, -0.999999, -0.3, -1e-9, 0, 1e-14, 0.1, 1.0 / 3, 0.5, 0.7, 0.9999, 1};
  for (const double magnitude : kMagnitudes) {
    for (const double first : kShapes) {
      for (const double second : kShapes) {
        const double low = std::fmin(first, second) * magnitude;
        const double high = std::fmax(first, second) * magnitude;
        const host::AxisScale scale = numbers.axis_scale(low, high);
        SCOPED_TRACE(testing::Message() << low << " to " << high << ": " << scale.minimum << " to "
                                        << scale.maximum << " by " << scale.major_unit);
        EXPECT_LE(scale.minimum, low);
        EXPECT_GE(scale.maximum, high);
        EXPECT_LT(scale.minimum, scale.maximum);
        EXPECT_TRUE(std::isfinite(scale.minimum) && std::isfinite(scale.maximum));
        const double steps = scale.maximum / scale.major_unit - scale.minimum / scale.major_unit;
        EXPECT_GE(steps, 3.5);
        EXPECT_LE(steps, 11.5);
      }
    }
  }
  const host::AxisScale of_none = numbers.axis_scale(kNaN, kInfinity);
  EXPECT_EQ(std::tuple(of_none.minimum, of_none.maximum, of_none.major_unit), std::tuple(0, 1, 0.2));
}

TEST(Numbers, UsableMeansFiniteAndNotTheMarker) {
  StandardNumberService numbers;
  for (const double value : {0.0, -1.0, kMax, -1e301, 1e300}) EXPECT_TRUE(numbers.is_usable(value)) << value;
  for (const double value : {kNaN, kInfinity, -kInfinity, numbers.missing_number()})
    EXPECT_FALSE(numbers.is_usable(value)) << value;
}

TEST(Numbers, TextHasUpToFifteenDigits) {
  constexpr struct {
    double value;
    const char* text;
  } kCases[] = {
      {0, "0"},           {-0.0, "0"},
      {400000, "400000"}, {0.1, "0.1"},
      {0.1 + 0.2, "0.3"}, {-2.5, "-2.5"},
      {1e20, "1E+20"},    {1.0 / 3, "0.333333333333333"},
      {1e-7, "1E-07"},    {123456789012345678.0, "1.23456789012346E+17"},
  };
  StandardNumberService numbers;
  for (const auto& each : kCases) {
    EXPECT_EQ(numbers.number_text(each.value, false), each.text);
  }
  const std::pair<double, const char*> kGrouped[] = {{999, "999"},    {-999, "-999"},
                                                     {1000, "1,000"}, {-123456.789, "-123,456.789"},
                                                     {1e20, "1E+20"}, {0.5, "0.5"}};
  for (const auto& [value, text] : kGrouped) EXPECT_EQ(numbers.number_text(value, true), text);
  for (const double value : {0.0, -1.0, 3e6, kNaN, kInfinity}) EXPECT_EQ(numbers.date_text(value), "");
  EXPECT_EQ(numbers.date_text(1), "01/01/1900");
  EXPECT_EQ(numbers.date_text(61), "03/01/1900");
}

TEST(Environment, KeepsTheLog) {
  StandardEnvironment environment({});
  const auto folder = std::filesystem::path(testing::TempDir()) / "ordvane-\u00e4";
  std::filesystem::create_directories(folder);
  const std::string path = (folder / "a.log").string();
  environment.append_line(path, "one");
  environment.append_line(path, "two");
  EXPECT_EQ(test::file_text(path), "one\r\ntwo\r\n");
  environment.remove_file(path);
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_THROW(environment.remove_file(path), host::Error);
  environment.append_line(path, "afresh");
  environment.close_file(path);
  EXPECT_EQ(std::filesystem::file_size(path), 8U) << "and after a removal it is begun again";
  EXPECT_THROW(environment.append_line((folder / "missing" / "a.log").string(), "x"), host::Error);
  std::filesystem::remove_all(folder);
}

TEST(Environment, AnswersForItsLanguage) {
  Settings settings;
  settings.clock = [] { return std::string("31/01/2026 12:00:00"); };
  StandardEnvironment environment(settings);
  const std::int32_t id = environment.language_id(1);
  EXPECT_EQ(id, 1033);
  EXPECT_EQ(environment.language_string(id), "en");
  EXPECT_EQ(environment.string_table("OrdvaneResults8", "en")
                ->GetString(text_id::kTornadoSheetName.number, std::string("C14")),
            "Tornado C14");
  EXPECT_EQ(environment.date_and_time(), "31/01/2026 12:00:00");
  EXPECT_FALSE(StandardEnvironment({}).date_and_time().empty());
  EXPECT_THROW(environment.string_table("Another", "en"), host::Error);
  EXPECT_THROW(environment.string_table("OrdvaneResults8", "xx"), host::Error);
  EXPECT_THROW(environment.language_string(7), host::Error);
  settings.language = "xx";
  EXPECT_THROW(StandardEnvironment{settings}, host::Error);
  EXPECT_EQ(language_id_of("xx"), 0);
}

}  // namespace
}  // namespace ordvane::environment
