#include "pictures.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "measure.h"

namespace ordvane::acceptance {
namespace {

constexpr std::int32_t kXlTypePdf = 0;
constexpr std::size_t kMostPictures = 24;

std::string bytes_of(const std::filesystem::path& file) {
  std::ifstream input(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(input), {}};
}

std::uint32_t big_endian(const std::string& bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) number = number << 8 | static_cast<unsigned char>(bytes.at(at + i));
  return number;
}

// A picture that shows something: as wide and high as the chart, and more than one colour compresses to.
std::string complaint_about(const std::filesystem::path& file, double width, double height) {
  const std::string bytes = bytes_of(file);
  if (bytes.size() < 33 || bytes.compare(1, 3, "PNG") != 0) return "no picture was written";
  const double wide = big_endian(bytes, 16), high = big_endian(bytes, 20);
  const double shape = (wide / high) / (width / height);
  if (shape < 0.9 || shape > 1.1) return "the picture is " + number_text(wide) + " x " + number_text(high);
  constexpr double kBytesOfBlankPixels = 1.0 / 400;
  if (static_cast<double>(bytes.size()) < 400 + kBytesOfBlankPixels * wide * high)
    return "the picture is blank";
  return "";
}

// The first chart of each sheet, and those of the same number that this project draws.
std::string export_charts(Results& results, const LateBound& workbook, const std::filesystem::path& folder,
                          const std::filesystem::path& ours) {
  const LateBound sheets = workbook.object(L"Worksheets", L"Sheets");
  const std::int32_t count = sheets.get(L"Count").whole();
  std::string wrong;
  for (std::int32_t at = 1; at <= count && results.pictures.size() < kMostPictures; ++at) {
    const LateBound sheet = sheets.object(L"Item", L"Worksheet", {at});
    const LateBound frames = sheet.object(L"ChartObjects", L"ChartObjects");
    if (frames.get(L"Count").whole() == 0) continue;
    const std::string name = sheet.get(L"Name").text();
    const LateBound frame = frames.object(L"Item", L"ChartObject", {std::int32_t{1}});
    const std::filesystem::path file = folder / (wide_of(name) + L".png");
    sheet.call(L"Activate");  // charts that were never shown are drawn blank
    frame.object(L"Chart", L"Chart").call(L"Export", {utf8_of(file), "PNG"});
    const std::string complaint =
        complaint_about(file, frame.get(L"Width").number(), frame.get(L"Height").number());
    if (!complaint.empty()) wrong += name + ": " + complaint + "\n";
    const std::filesystem::path own = ours / (wide_of(name) + L".svg");
    results.pictures.push_back({name, file, std::filesystem::exists(own) ? own : std::filesystem::path()});
  }
  if (!wrong.empty()) throw Wrong{wrong};
  if (results.pictures.empty()) throw Wrong{"there are no charts"};
  return std::to_string(results.pictures.size()) + " charts";
}

std::string export_pdf(const LateBound& workbook, const std::filesystem::path& file) {
  workbook.call(L"ExportAsFixedFormat", {kXlTypePdf, utf8_of(file)});
  const std::string bytes = bytes_of(file);
  if (bytes.compare(0, 5, "%PDF-") != 0) throw Wrong{"no PDF was written"};
  return file.filename().string() + ", " + std::to_string(bytes.size() / 1024) + " KiB";
}

}  // namespace

void check_pictures(Results& results, const LateBound& workbook, const std::filesystem::path& folder,
                    const std::filesystem::path& ours) {
  std::filesystem::remove_all(folder);  // what an earlier run of the kit has drawn
  std::filesystem::create_directories(folder);
  results.check("charts are drawn", [&] { return export_charts(results, workbook, folder, ours); });
  results.check("workbook prints to PDF", [&] { return export_pdf(workbook, folder / "reports.pdf"); });
}

}  // namespace ordvane::acceptance
