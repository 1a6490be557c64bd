// Charts, element by element; that they are valid and drawn is checked on whole packages.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "sample_book.h"
#include "xlsx/parts.h"

namespace ordvane::xlsx {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

using host::AxisGroup;
using host::ChartKind;
using office::ChartModel;

// The first element of this tag.
std::string element(const std::string& xml, const std::string& tag) {
  const std::size_t start = xml.find("<" + tag);
  const std::size_t end = xml.find("</" + tag + ">", start);
  if (start == xml.npos || end == xml.npos) return "";
  return xml.substr(start, end - start);
}

TEST(Chart, CombinesBarsWithPointsOnSecondaryAxes) {
  office::BookModel book;
  const std::string xml = chart_part(book, *add_tornado(book), "");
  EXPECT_THAT(element(xml, "c:barChart"),
              AllOf(HasSubstr("<c:barDir val=\"bar\"/><c:grouping val=\"stacked\"/>"),
                    HasSubstr("<c:gapWidth val=\"40\"/><c:overlap val=\"100\"/><c:axId val=\"111111111\"/>"),
                    HasSubstr("<c:spPr><a:noFill/><a:ln><a:noFill/></a:ln></c:spPr>"),
                    HasSubstr("<c:f>'Tornado ''A'' 1'!$A$2:$A$5</c:f><c:strCache><c:ptCount val=\"4\"/><c:pt "
                              "idx=\"0\"><c:v>Home price</c:v></c:pt>"),
                    Not(HasSubstr("Vertical"))));
  EXPECT_THAT(element(xml, "c:scatterChart"),
              AllOf(HasSubstr("<c:idx val=\"4\"/><c:order val=\"4\"/><c:tx><c:v>Vertical</c:v></c:tx>"),
                    HasSubstr("<a:prstDash val=\"sysDot\"/>"),
                    HasSubstr("<c:symbol val=\"triangle\"/><c:size val=\"6\"/>"),
                    HasSubstr("<a:t>Base value = 100</a:t>"), HasSubstr("<c:dLblPos val=\"t\"/>"),
                    HasSubstr("<c:axId val=\"111111121\"/><c:axId val=\"111111122\"/>")));
}

TEST(Chart, AxesCrossWhereTheOtherOneSays) {
  office::BookModel book;
  const auto chart = add_tornado(book);
  chart->axes[0][1].major_unit = 25;
  const std::string xml = chart_part(book, *chart, "");
  EXPECT_THAT(element(xml, "c:catAx"),
              AllOf(HasSubstr("<c:orientation val=\"maxMin\"/>"), HasSubstr("<c:tickLblPos val=\"low\"/>"),
                    HasSubstr("<c:crossAx val=\"111111112\"/><c:crossesAt val=\"100\"/>")));
  EXPECT_THAT(
      element(xml, "c:valAx"),
      AllOf(HasSubstr("<c:max val=\"150\"/><c:min val=\"50\"/>"), HasSubstr("<c:majorUnit val=\"25\"/>"),
            HasSubstr(
                "<c:crossAx val=\"111111111\"/><c:crosses val=\"max\"/><c:crossBetween val=\"between\"/>")));
}

// A deleted secondary axis would hand its series to the primary one.
TEST(Chart, HidesSecondaryAxesRatherThanDeletingThem) {
  office::BookModel book;
  auto chart = add_tornado(book);
  const std::string xml = chart_part(book, *chart, "");
  const std::string axis = xml.substr(xml.rfind("<c:valAx>"));
  EXPECT_THAT(axis, AllOf(HasSubstr("<c:delete val=\"0\"/>"), HasSubstr("<c:tickLblPos val=\"none\"/>"),
                          HasSubstr("<c:max val=\"1\"/><c:min val=\"0\"/>"), HasSubstr("<a:noFill/>"),
                          HasSubstr("<c:crosses val=\"max\"/>")));
  chart->axes[0][1].present = false;
  EXPECT_THAT(element(chart_part(book, *chart, ""), "c:valAx"), HasSubstr("<c:delete val=\"1\"/>"));
}

TEST(Chart, PointsBesidePrimaryBarsGoToSecondaryAxes) {
  office::BookModel book;
  auto chart = add_tornado(book);
  chart->series.back()->group = AxisGroup::kPrimary;
  EXPECT_THAT(element(chart_part(book, *chart, ""), "c:scatterChart"),
              HasSubstr("<c:axId val=\"111111121\"/>"));
}

TEST(Chart, DrawsLinesAndMarkersByKind) {
  const struct {
    const char* what;
    ChartKind kind;
    bool line, marker;
    const char* expected;
  } kCases[] = {
      {"markers alone", ChartKind::kXYScatter, false, false,
       "</c:tx><c:spPr><a:ln><a:noFill/></a:ln></c:spPr><c:xVal>"},
      {"markers with a line of its own", ChartKind::kXYScatter, true, false,
       "<a:ln w=\"19050\"><a:prstDash val=\"dash\"/>"},
      {"automatic lines", ChartKind::kXYScatterLines, false, false, "</c:tx><c:xVal>"},
      {"no markers", ChartKind::kXYScatterLinesNoMarkers, false, false,
       "</c:tx><c:marker><c:symbol val=\"none\"/></c:marker>"},
      {"a marker given", ChartKind::kXYScatterLinesNoMarkers, false, true,
       "<c:marker><c:symbol val=\"circle\"/><c:size val=\"2\"/><c:spPr><a:solidFill><a:srgbClr "
       "val=\"FF0000\"/>"},
  };
  for (const auto& c : kCases) {
    office::BookModel book;
    ChartModel chart;
    auto series = add_series(chart, "s", c.kind, {"", {}, {1, 2}}, {"", {}, {3, {}}});
    if (c.line) series->line = office::LineProps{static_cast<std::int32_t>(host::LineStyle::kDash), 1.5, {}};
    if (c.marker) series->marker = office::MarkerProps{8, 1, 0, 0x0000FF};
    EXPECT_THAT(chart_part(book, chart, ""), HasSubstr(c.expected)) << c.what;
  }
}

TEST(Chart, LeavesOutPointsThatAreNoNumbers) {
  office::BookModel book;
  office::CellStyle percent;
  percent.number_format = "0.0%";
  auto sheet = add_sheet(
      book, "D", {{" - "}, {0.5}, {host::CellError::kNA}, {std::numeric_limits<double>::infinity()}, {2}});
  set_style(book, *sheet, 2, 1, percent);
  ChartModel chart;
  add_series(chart, "", ChartKind::kXYScatterLines, {"gone", {1, 1, 5, 1}, {}}, {"d", {1, 1, 6, 1}, {}});
  const std::string xml = chart_part(book, chart, "");
  EXPECT_THAT(
      element(xml, "c:yVal"),
      HasSubstr(
          "<c:f>D!$A$1:$A$6</c:f><c:numCache><c:formatCode>0.0%</c:formatCode><c:ptCount val=\"6\"/><c:pt "
          "idx=\"1\"><c:v>0.5</c:v></c:pt><c:pt idx=\"4\"><c:v>2</c:v></c:pt></c:numCache>"));
  EXPECT_THAT(element(xml, "c:xVal"), HasSubstr("<c:f>#REF!</c:f>")) << "a sheet that is not there any more";
  EXPECT_THAT(xml, Not(HasSubstr("<c:tx>"))) << "no name was given";
}

TEST(Chart, SaysWhatEmptyCellsAre) {
  office::BookModel book;
  ChartModel chart;
  EXPECT_THAT(chart_part(book, chart, ""), HasSubstr("<c:dispBlanksAs val=\"gap\"/>"));
  chart.blank_cells = host::BlankCells::kInterpolated;
  EXPECT_THAT(chart_part(book, chart, ""), HasSubstr("<c:dispBlanksAs val=\"span\"/>"));
}

TEST(Chart, SplitsTitlesAtLineBreaks) {
  const struct {
    const char* what;
    std::vector<std::string> runs;
    int paragraphs, texts;
  } kCases[] = {
      {"one line", {"a"}, 1, 1},
      {"a break inside a run", {"a\r\nb"}, 2, 2},
      {"a break between runs", {"a", "\nb"}, 2, 2},
      {"runs side by side", {"a", "b"}, 1, 2},
      {"an empty line", {"a\n\nb"}, 3, 2},
  };
  const auto count = [](const std::string& text, const std::string& part) {
    int found = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++found;
    return found;
  };
  for (const auto& c : kCases) {
    office::BookModel book;
    ChartModel chart;
    for (const std::string& run : c.runs) chart.title.push_back({run, {}});
    const std::string title = element(chart_part(book, chart, ""), "c:title");
    EXPECT_EQ(count(title, "<a:p>"), c.paragraphs) << c.what;
    EXPECT_EQ(count(title, "<a:t>"), c.texts) << c.what;
  }
}

TEST(Chart, PlacesPartsAsFractions) {
  office::BookModel book;
  ChartModel chart;
  chart.width = 400;
  chart.height = 200;
  chart.title = {{"t", {}}};
  chart.title_top = 50;
  chart.plot.inside = office::PlotArea::Inside{40, 20, 300, 900};
  const std::string xml = chart_part(book, chart, "");
  EXPECT_THAT(element(xml, "c:title"), HasSubstr("<c:y val=\"0.25\"/></c:manualLayout>"));
  EXPECT_THAT(
      element(xml, "c:plotArea"),
      HasSubstr(
          "<c:layoutTarget val=\"inner\"/><c:xMode val=\"edge\"/><c:yMode val=\"edge\"/><c:x val=\"0.1\"/>"
          "<c:y val=\"0.1\"/><c:w val=\"0.75\"/><c:h val=\"1\"/>"));
}

// Places that bars do not know make the spreadsheet repair the file.
TEST(Chart, LabelsOfBarsTakeOnlyPlacesOfBars) {
  office::BookModel book;
  ChartModel chart;
  auto bars = add_series(chart, "b", ChartKind::kBarStacked, {}, {"", {}, {1, 2}});
  for (std::int32_t point : {1, 2}) bars->points[point].label = office::DataLabelModel{};
  bars->points[1].label->position = static_cast<std::int32_t>(host::LabelPosition::kAbove);
  bars->points[2].label->position = static_cast<std::int32_t>(host::LabelPosition::kCenter);
  const std::string labels = element(chart_part(book, chart, ""), "c:dLbls");
  EXPECT_THAT(labels,
              AllOf(Not(HasSubstr("val=\"t\"")), HasSubstr("<c:idx val=\"1\"/><c:dLblPos val=\"ctr\"/>")));
}

TEST(Drawing, PlacesChartsWithMacroAndAlternativeText) {
  office::BookModel book;
  add_tornado(book);
  const std::string xml = drawing_part(*book.sheets[0]);
  EXPECT_THAT(
      xml, HasSubstr("<xdr:from><xdr:col>0</xdr:col><xdr:colOff>254000</xdr:colOff><xdr:row>6</xdr:row>"
                     "<xdr:rowOff>127000</xdr:rowOff></xdr:from><xdr:ext cx=\"5435600\" cy=\"2794000\"/>"));
  EXPECT_THAT(xml, HasSubstr("<xdr:graphicFrame macro=\"Ordvane.xla!OrdvaneGraphClickEvent\">"));
  EXPECT_THAT(xml, HasSubstr("descr=\"Tornado graph&#10;of 4 inputs, &quot;Home price&quot; first\""));
}

TEST(Notes, AreAsLargeAsTheirTexts) {
  office::SheetModel sheet;
  sheet.comments[{2, 2}] = "Short";
  sheet.comments[{9, 2}] = std::string(200, 'w') + "\nand\nmore";
  const std::string xml = notes_drawing_part(sheet, 2);
  const std::size_t first = xml.find("height:"), second = xml.find("height:", first + 1);
  EXPECT_EQ(std::stod(xml.substr(first + 7)), 11.25 + 12) << "one line";
  EXPECT_GT(std::stod(xml.substr(second + 7)), 5 * 11.25 + 12) << "three lines, one of them broken";
  EXPECT_THAT(xml, HasSubstr("id=\"_x0000_s2049\""));
  EXPECT_THAT(xml, HasSubstr("<x:Row>8</x:Row><x:Column>1</x:Column>"));
}

}  // namespace
}  // namespace ordvane::xlsx
