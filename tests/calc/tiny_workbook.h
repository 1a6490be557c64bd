// Workbook files made from a few cells, for tests.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "calc/address.h"
#include "calc/model.h"
#include "support/archive_of.h"
#include "xlsx/xml.h"

namespace ordvane::test {

class TinyWorkbook {
 public:
  // Contents: "=..." is a formula, "{=...}" an array formula of that cell, "{A1:B2=...}" one of an area, a
  // number a number, TRUE and FALSE truths, anything else a text; what follows an apostrophe is a text.
  TinyWorkbook& set(const std::string& cell, const std::string& content) { return set(0, cell, content); }
  TinyWorkbook& set(std::size_t sheet, const std::string& cell, const std::string& content) {
    if (sheets_.size() <= sheet) sheets_.resize(sheet + 1);
    const calc::AddressEnd at = calc::read_address_end(cell);
    sheets_[sheet][{at.row, at.column}] = content;
    return *this;
  }
  // The element of a cell as it is, for what the above cannot say.
  TinyWorkbook& raw(const std::string& cell, const std::string& xml) { return set(cell, "\x01" + xml); }
  // An array formula that fills as many cells as it has values, and its area in the file.
  TinyWorkbook& dynamic(const std::string& area, const std::string& formula) {
    const std::string cell = area.substr(0, area.find(':'));
    return raw(cell, "<c r=\"" + cell + "\" cm=\"1\"><f t=\"array\" ref=\"" + area + "\">" +
                         escaped(formula) + "</f></c>");
  }
  TinyWorkbook& name(const std::string& name, const std::string& formula,
                     const std::string& attributes = "") {
    names_ += "<definedName name=\"" + name + "\"" + attributes + ">" + escaped(formula) + "</definedName>";
    return *this;
  }
  // Attributes of the whole, date1904="1" say, and of its calculation.
  TinyWorkbook& properties(std::string attributes) { return properties_ = std::move(attributes), *this; }
  TinyWorkbook& calculation(std::string attributes) { return calculation_ = std::move(attributes), *this; }
  // On every sheet, a drop-down list: "1,2,5" in quotes, or where the values stand.
  TinyWorkbook& drop_down(const std::string& cells, const std::string& formula) {
    drop_downs_ += "<dataValidation type=\"list\" sqref=\"" + cells + "\"><formula1>" + escaped(formula) +
                   "</formula1></dataValidation>";
    return *this;
  }
  // All cells and the order of the sheets.
  TinyWorkbook& protect() { return protection_ = "<sheetProtection sheet=\"1\"/>", *this; }
  // On the first sheet: the columns' names and, under them, the cells that are there.
  TinyWorkbook& table(const std::string& name, const std::string& area,
                      const std::vector<std::string>& columns, int totals = 0) {
    table_ = "<table xmlns=\"" + std::string(kMain) + "\" id=\"1\" name=\"" + name + "\" displayName=\"" +
             name + "\" ref=\"" + area + "\" totalsRowCount=\"" + std::to_string(totals) +
             "\"><tableColumns>";
    for (const std::string& column : columns) table_ += "<tableColumn name=\"" + escaped(column) + "\"/>";
    table_ += "</tableColumns></table>";
    return *this;
  }

  std::string bytes() const {
    const std::string office = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
    const auto link = [&](const std::string& id, const std::string& type, const std::string& target) {
      return "<Relationship Id=\"" + id + "\" Type=\"" + office + "/" + type + "\" Target=\"" + target +
             "\"/>";
    };
    const std::string links =
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
    std::string list, book_links = links;
    std::vector<std::pair<std::string, std::string>> parts;
    const auto add = [&](const std::string& name, const std::string& content) {
      parts.emplace_back(name, content);
    };
    add("[Content_Types].xml",
        "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\"><Default "
        "Extension=\"xml\" "
        "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"/></"
        "Types>");
    add("_rels/.rels", links + link("r", "officeDocument", "xl/workbook.xml") + "</Relationships>");
    for (std::size_t i = 0; i < sheets_.size(); ++i) {
      const std::string number = std::to_string(i + 1), name = i == 1 ? "Other sheet" : "Sheet" + number;
      list += "<sheet name=\"" + name + "\" sheetId=\"" + number + "\" r:id=\"s" + number + "\"/>";
      book_links += link("s" + number, "worksheet", "sheet" + number + ".xml");
      add("xl/sheet" + number + ".xml", sheet_xml(sheets_[i]));
    }
    if (!table_.empty()) {
      add("xl/_rels/sheet1.xml.rels", links + link("t", "table", "table1.xml") + "</Relationships>");
      add("xl/table1.xml", table_);
    }
    add("xl/_rels/workbook.xml.rels", book_links + "</Relationships>");
    add("xl/workbook.xml", "<workbook xmlns=\"" + std::string(kMain) + "\" xmlns:r=\"" + office +
                               "\"><workbookPr " + properties_ + "/>" +
                               (protection_.empty() ? "" : "<workbookProtection lockStructure=\"1\"/>") +
                               "<sheets>" + list + "</sheets><definedNames>" + names_ +
                               "</definedNames><calcPr " + calculation_ + "/></workbook>");
    return archive_of(parts);
  }
  calc::Model model() const { return {bytes(), "tiny.xlsx"}; }

 private:
  using SheetCells = std::map<std::pair<std::int32_t, std::int32_t>, std::string>;
  static constexpr std::string_view kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";

  static std::string escaped(const std::string& text) {
    std::string out;
    xlsx::append_escaped(out, text);
    return out;
  }

  static std::string cell_xml(const std::string& address, const std::string& content) {
    const std::string cell = "<c r=\"" + address + "\"";
    if (content.starts_with('\x01')) return content.substr(1);
    if (content.starts_with('=')) return cell + "><f>" + escaped(content.substr(1)) + "</f></c>";
    if (content.starts_with('{')) {
      const std::size_t sign = content.find('=');
      const std::string area = sign == 1 ? address : content.substr(1, sign - 1);
      return cell + "><f t=\"array\" ref=\"" + area + "\">" +
             escaped(content.substr(sign + 1, content.size() - sign - 2)) + "</f></c>";
    }
    if (content == "TRUE" || content == "FALSE")
      return cell + " t=\"b\"><v>" + (content == "TRUE" ? "1" : "0") + "</v></c>";
    char* end = nullptr;
    std::strtod(content.c_str(), &end);
    if (!content.empty() && *end == '\0') return cell + "><v>" + content + "</v></c>";
    return cell + " t=\"str\"><v>" + escaped(content.substr(content.starts_with('\'') ? 1 : 0)) + "</v></c>";
  }

  std::string sheet_xml(const SheetCells& cells) const {
    std::string xml = "<worksheet xmlns=\"" + std::string(kMain) + "\"><sheetData>";
    std::int32_t row = -1;
    for (const auto& [place, content] : cells) {
      if (place.first != row)
        xml += (row < 0 ? "" : "</row>") + ("<row r=\"" + std::to_string(place.first + 1) + "\">");
      row = place.first;
      xml += cell_xml(calc::cell_name(place.first, place.second), content);
    }
    return xml + (row < 0 ? "" : "</row>") + "</sheetData>" + protection_ + "<dataValidations>" +
           drop_downs_ + "</dataValidations></worksheet>";
  }

  std::vector<SheetCells> sheets_{1};
  std::string names_, properties_, calculation_, table_, protection_, drop_downs_;
};

// A value as tests write it: 3, 0.1, "text", TRUE, #N/A, (blank), (empty).
inline std::string shown(const calc::Value& value) {
  char number[40];
  switch (value.kind()) {
    case calc::Kind::kText:
      return "\"" + value.text() + "\"";
    case calc::Kind::kBoolean:
      return value.number() != 0 ? "TRUE" : "FALSE";
    case calc::Kind::kError:
      return "Err:" + std::to_string(static_cast<int>(value.error()));
    case calc::Kind::kBlank:
      return "(blank)";
    case calc::Kind::kEmpty:
      return "(empty)";
    case calc::Kind::kUnchosen:
      return "(unchosen)";
    case calc::Kind::kNumber:
      break;
  }
  std::snprintf(number, sizeof number, "%.17g", value.number());
  return number;
}

}  // namespace ordvane::test
