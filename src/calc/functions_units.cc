// CONVERT: a number from one unit to another of its kind.
#include <optional>
#include <string_view>

#include "calc/functions.h"

namespace ordvane::calc {
namespace {

enum class Measure : std::uint8_t {
  kMass,
  kLength,
  kTime,
  kPressure,
  kForce,
  kEnergy,
  kPower,
  kMagnetism,
  kTemperature,
  kVolume,
  kArea,
  kInformation,
  kSpeed,
};

// So many units of its kind (gram, metre, second, pascal, newton, joule, watt, tesla, kelvin, litre, square
// metre, bit, metre a second), by definition. `prefixed`: multiples such as km are named by prefixes.
struct Unit {
  std::string_view name;
  Measure measure;
  double size;
  bool prefixed = false;
  double freezing = 0;  // of water, of temperatures
};

constexpr double kFoot = 0.3048, kInch = 0.0254, kYard = 0.9144, kMile = 1609.344, kSeaMile = 1852;
constexpr double kPound = 453.59237, kGravity = 9.80665, kGallon = 3.785411784, kImperialGallon = 4.54609;
constexpr double kHorsepower = 550 * kFoot * kPound / 1000 * kGravity;
constexpr double kLightYear = 9460730472580800.0, kParsec = 3.0856775814913673e16;
constexpr double kBtu = 1055.05585262, kSurveyFoot = 1200.0 / 3937;

constexpr Unit kUnits[] = {
    {"g", Measure::kMass, 1, true},
    {"lbm", Measure::kMass, kPound},
    {"ozm", Measure::kMass, kPound / 16},
    {"grain", Measure::kMass, kPound / 7000},
    {"stone", Measure::kMass, kPound * 14},
    {"cwt", Measure::kMass, kPound * 100},
    {"shweight", Measure::kMass, kPound * 100},
    {"uk_cwt", Measure::kMass, kPound * 112},
    {"ton", Measure::kMass, kPound * 2000},
    {"uk_ton", Measure::kMass, kPound * 2240},
    {"u", Measure::kMass, 1.660538782e-24, true},
    {"sg", Measure::kMass, kPound* kGravity / kFoot},
    {"m", Measure::kLength, 1, true},
    {"in", Measure::kLength, kInch},
    {"ft", Measure::kLength, kFoot},
    {"yd", Measure::kLength, kYard},
    {"mi", Measure::kLength, kMile},
    {"Nmi", Measure::kLength, kSeaMile},
    {"survey_mi", Measure::kLength, 5280 * kSurveyFoot},
    {"ang", Measure::kLength, 1e-10, true},
    {"ell", Measure::kLength, 1.143},
    {"ly", Measure::kLength, kLightYear, true},
    {"parsec", Measure::kLength, kParsec, true},
    {"pc", Measure::kLength, kParsec, true},
    {"Pica", Measure::kLength, kInch / 72},
    {"pica", Measure::kLength, kInch / 6},
    {"sec", Measure::kTime, 1, true},
    {"s", Measure::kTime, 1, true},
    {"mn", Measure::kTime, 60},
    {"min", Measure::kTime, 60},
    {"hr", Measure::kTime, 3600},
    {"day", Measure::kTime, 86400},
    {"d", Measure::kTime, 86400},
    {"yr", Measure::kTime, 31557600},
    {"Pa", Measure::kPressure, 1, true},
    {"p", Measure::kPressure, 1, true},
    {"atm", Measure::kPressure, 101325, true},
    {"at", Measure::kPressure, 101325, true},
    {"mmHg", Measure::kPressure, 133.322387415, true},
    {"psi", Measure::kPressure, kPound / 1000 * kGravity / (kInch * kInch)},
    {"Torr", Measure::kPressure, 101325.0 / 760},
    {"N", Measure::kForce, 1, true},
    {"dyn", Measure::kForce, 1e-5, true},
    {"dy", Measure::kForce, 1e-5, true},
    {"lbf", Measure::kForce, kPound / 1000 * kGravity},
    {"pond", Measure::kForce, kGravity / 1000, true},
    {"J", Measure::kEnergy, 1, true},
    {"e", Measure::kEnergy, 1e-7, true},
    {"c", Measure::kEnergy, 4.184, true},
    {"cal", Measure::kEnergy, 4.1868, true},
    {"eV", Measure::kEnergy, 1.602176487e-19, true},
    {"ev", Measure::kEnergy, 1.602176487e-19, true},
    {"HPh", Measure::kEnergy, kHorsepower * 3600},
    {"hh", Measure::kEnergy, kHorsepower * 3600},
    {"Wh", Measure::kEnergy, 3600, true},
    {"wh", Measure::kEnergy, 3600, true},
    {"flb", Measure::kEnergy, kFoot* kPound / 1000 * kGravity},
    {"BTU", Measure::kEnergy, kBtu},
    {"btu", Measure::kEnergy, kBtu},
    {"W", Measure::kPower, 1, true},
    {"w", Measure::kPower, 1, true},
    {"HP", Measure::kPower, kHorsepower},
    {"h", Measure::kPower, kHorsepower},
    {"PS", Measure::kPower, 75 * kGravity},
    {"T", Measure::kMagnetism, 1, true},
    {"ga", Measure::kMagnetism, 1e-4, true},
    {"K", Measure::kTemperature, 1, true, 273.15},
    {"kel", Measure::kTemperature, 1, true, 273.15},
    {"C", Measure::kTemperature, 1},
    {"cel", Measure::kTemperature, 1},
    {"F", Measure::kTemperature, 1 / 1.8, false, 32},
    {"fah", Measure::kTemperature, 1 / 1.8, false, 32},
    {"Rank", Measure::kTemperature, 1 / 1.8, false, 491.67},
    {"Reau", Measure::kTemperature, 1.25},
    {"l", Measure::kVolume, 1, true},
    {"L", Measure::kVolume, 1, true},
    {"lt", Measure::kVolume, 1, true},
    {"m3", Measure::kVolume, 1000},
    {"tsp", Measure::kVolume, kGallon / 768},
    {"tspm", Measure::kVolume, 0.005},
    {"tbs", Measure::kVolume, kGallon / 256},
    {"oz", Measure::kVolume, kGallon / 128},
    {"cup", Measure::kVolume, kGallon / 16},
    {"pt", Measure::kVolume, kGallon / 8},
    {"us_pt", Measure::kVolume, kGallon / 8},
    {"qt", Measure::kVolume, kGallon / 4},
    {"gal", Measure::kVolume, kGallon},
    {"uk_pt", Measure::kVolume, kImperialGallon / 8},
    {"uk_qt", Measure::kVolume, kImperialGallon / 4},
    {"uk_gal", Measure::kVolume, kImperialGallon},
    {"barrel", Measure::kVolume, kGallon * 42},
    {"bushel", Measure::kVolume, 2150.42 * kInch* kInch* kInch * 1000},
    {"in3", Measure::kVolume, kInch* kInch* kInch * 1000},
    {"ft3", Measure::kVolume, kFoot* kFoot* kFoot * 1000},
    {"yd3", Measure::kVolume, kYard* kYard* kYard * 1000},
    {"m2", Measure::kArea, 1},
    {"km2", Measure::kArea, 1e6},
    {"ha", Measure::kArea, 1e4},
    {"ar", Measure::kArea, 100, true},
    {"uk_acre", Measure::kArea, 4840 * kYard* kYard},
    {"us_acre", Measure::kArea, 43560 * kSurveyFoot* kSurveyFoot},
    {"Morgen", Measure::kArea, 2500},
    {"in2", Measure::kArea, kInch* kInch},
    {"ft2", Measure::kArea, kFoot* kFoot},
    {"yd2", Measure::kArea, kYard* kYard},
    {"mi2", Measure::kArea, kMile* kMile},
    {"Nmi2", Measure::kArea, kSeaMile* kSeaMile},
    {"bit", Measure::kInformation, 1, true},
    {"byte", Measure::kInformation, 8, true},
    {"m/s", Measure::kSpeed, 1, true},
    {"m/sec", Measure::kSpeed, 1, true},
    {"m/h", Measure::kSpeed, 1.0 / 3600, true},
    {"m/hr", Measure::kSpeed, 1.0 / 3600, true},
    {"mph", Measure::kSpeed, kMile / 3600},
    {"kn", Measure::kSpeed, kSeaMile / 3600},
    {"admkn", Measure::kSpeed, 6080 * kFoot / 3600},
};

struct Prefix {
  std::string_view name;
  double factor;
};
constexpr Prefix kPrefixes[] = {
    {"Y", 1e24}, {"Z", 1e21}, {"E", 1e18},  {"P", 1e15},  {"T", 1e12},  {"G", 1e9},   {"M", 1e6},
    {"k", 1e3},  {"h", 1e2},  {"da", 10},   {"e", 10},    {"d", 0.1},   {"c", 0.01},  {"m", 1e-3},
    {"u", 1e-6}, {"n", 1e-9}, {"p", 1e-12}, {"f", 1e-15}, {"a", 1e-18}, {"z", 1e-21}, {"y", 1e-24}};
constexpr Prefix kBinaryPrefixes[] = {{"ki", 0x1p10}, {"Mi", 0x1p20}, {"Gi", 0x1p30}, {"Ti", 0x1p40},
                                      {"Pi", 0x1p50}, {"Ei", 0x1p60}, {"Zi", 0x1p70}, {"Yi", 0x1p80}};

const Unit* plain_unit(std::string_view name) {
  for (const Unit& unit : kUnits)
    if (unit.name == name) return &unit;
  return nullptr;
}

std::optional<Unit> multiple(std::string_view name, const Prefix& prefix) {
  if (!name.starts_with(prefix.name)) return std::nullopt;
  const Unit* unit = plain_unit(name.substr(prefix.name.size()));
  if (unit == nullptr || !unit->prefixed) return std::nullopt;
  Unit result = *unit;
  result.size *= prefix.factor;
  result.freezing /= prefix.factor;
  return result;
}

std::optional<Unit> unit_named(std::string_view name) {
  if (const Unit* unit = plain_unit(name)) return *unit;
  for (const Prefix& prefix : kPrefixes)
    if (const auto unit = multiple(name, prefix)) return unit;
  for (const Prefix& prefix : kBinaryPrefixes)
    if (const auto unit = multiple(name, prefix); unit && unit->measure == Measure::kInformation) return unit;
  return std::nullopt;
}

Operand call_convert(Call& call) {
  const double number = call.number(0);
  const auto from = unit_named(call.text(1)), to = unit_named(call.text(2));
  if (!from || !to || from->measure != to->measure) return ErrorCode::kNotAvailable;
  if (from->name == to->name && from->size == to->size) return number;
  return (number - from->freezing) * from->size / to->size + to->freezing;
}

constexpr Function kUnitsFunctions[] = {
    {"CONVERT", 3, 3, "s", call_convert},
};

}  // namespace

std::span<const Function> unit_functions() {
  return kUnitsFunctions;
}

}  // namespace ordvane::calc
