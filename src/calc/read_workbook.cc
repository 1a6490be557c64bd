#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <iterator>
#include <optional>

#include "calc/address.h"
#include "calc/workbook.h"
#include "calc/xml_stream.h"
#include "text/cell_names.h"
#include "text/edit.h"
#include "text/utf8.h"
#include "unicode/names.h"
#include "xlsx/package_reader.h"

namespace ordvane::calc {
namespace {

using xlsx::BadWorkbook;
using xlsx::PackageReader;
using xlsx::XmlElement;
using xlsx::XmlText;

constexpr std::size_t kMostCells = std::size_t{64} << 20;

bool is_true(std::string_view flag) {
  return flag == "1" || flag == "true" || flag == "on";
}

template <class Number>
std::optional<Number> number_in(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

void append_utf8(std::string& out, unsigned code) {
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | code >> 6);
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | code >> 12);
    out += static_cast<char>(0x80 | (code >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  }
}

// Characters that XML cannot hold stand as _x000D_ in the texts of cells.
std::string unescaped(std::string text) {
  if (text.find("_x") == text.npos) return text;
  std::string result;
  for (std::size_t at = 0; at < text.size(); ++at) {
    unsigned code = 0;
    const char* digits = text.data() + at + 2;
    if (text[at] == '_' && at + 6 < text.size() && text[at + 1] == 'x' && text[at + 6] == '_' &&
        std::from_chars(digits, digits + 4, code, 16).ptr == digits + 4) {
      append_utf8(result, code);
      at += 6;
    } else {
      result += text[at];
    }
  }
  return result;
}

// Texts that cells share, each in the order of the part.
class SharedTexts : public XmlVisitor {
 public:
  explicit SharedTexts(Arena& arena) : arena_(arena) {}
  void start(std::string_view name, const Attributes&) override {
    if (name == "rPh") ++phonetic_;
    collects_ = name == "t" && phonetic_ == 0;
  }
  void text(std::string_view piece) override {
    if (collects_) text_ += piece;
  }
  void end(std::string_view name) override {
    collects_ = false;
    if (name == "rPh") --phonetic_;
    if (name != "si") return;
    texts.push_back(arena_.text(unescaped(std::move(text_))));
    text_.clear();
  }
  std::vector<Value> texts;

 private:
  Arena& arena_;
  std::string text_;
  int phonetic_ = 0;
  bool collects_ = false;
};

struct FormatCode {
  int id;
  const char* code;
};
// Formats that files do not spell out.
constexpr FormatCode kKnownFormats[] = {
    {0, "General"},
    {1, "0"},
    {2, "0.00"},
    {3, "#,##0"},
    {4, "#,##0.00"},
    {9, "0%"},
    {10, "0.00%"},
    {11, "0.00E+00"},
    {12, "# ?/?"},
    {13, "# ?\?/?\?"},
    {14, "m/d/yyyy"},
    {15, "d-mmm-yy"},
    {16, "d-mmm"},
    {17, "mmm-yy"},
    {18, "h:mm AM/PM"},
    {19, "h:mm:ss AM/PM"},
    {20, "h:mm"},
    {21, "h:mm:ss"},
    {22, "m/d/yyyy h:mm"},
    {37, "#,##0 ;(#,##0)"},
    {38, "#,##0 ;[Red](#,##0)"},
    {39, "#,##0.00;(#,##0.00)"},
    {40, "#,##0.00;[Red](#,##0.00)"},
    {45, "mm:ss"},
    {46, "[h]:mm:ss"},
    {47, "mmss.0"},
    {48, "##0.0E+0"},
    {49, "@"},
};

}  // namespace

class WorkbookReader {
 public:
  WorkbookReader(Workbook& book, std::string_view bytes, const std::string& file)
      : book_(book), file_(file), package_(bytes) {}
  void read();

 private:
  friend class SheetReader;
  void find_main_part();
  void read_book();
  void read_sheet_list(const XmlText& xml);
  void read_names(const XmlText& xml);
  void read_texts();
  void read_formats();
  void read_tables(std::int32_t sheet, const std::string& part);
  void read_table(std::int32_t sheet, const XmlText& xml);
  void parse_names();
  void spread_faults(std::size_t position, std::size_t depth);
  void parse_cells();
  void parse_drop_downs();
  [[noreturn]] void refuse(const std::string& why) const { throw BadWorkbook(file_ + ": " + why); }

  Workbook& book_;
  const std::string& file_;
  PackageReader package_;
  std::string main_part_;
  std::vector<xlsx::PartLink> links_;
  std::vector<std::string> sheet_parts_;
  std::vector<Value> texts_;
  std::vector<std::int32_t> format_of_style_;
  std::vector<bool> names_done_;
  std::vector<CellId> formula_cells_;      // the first cell of each formula
  std::vector<std::int32_t> data_tables_;  // among the formulas
};

// The cells of one sheet.
class SheetReader : public XmlVisitor {
 public:
  SheetReader(WorkbookReader& reader, std::int32_t sheet)
      : reader_(reader), book_(reader.book_), sheet_(sheet) {}
  void start(std::string_view name, const Attributes& attributes) override;
  void text(std::string_view piece) override {
    if (target_ != nullptr) *target_ += piece;
  }
  void end(std::string_view name) override;

 private:
  void start_cell(const Attributes& attributes);
  void start_formula(const Attributes& attributes);
  void start_choice(std::string_view name, const Attributes& attributes);
  void finish_choice();
  void finish_cell();
  Value stored_value();
  void add_formula(CellId id);
  void add_area(CellId id, std::int32_t formula);
  std::string data_table(const Reference& area) const;

  WorkbookReader& reader_;
  Workbook& book_;
  std::int32_t sheet_;
  std::int32_t row_ = -1, column_ = -1;
  std::string* target_ = nullptr;
  bool in_cell_ = false, has_formula_ = false, has_value_ = false, inline_text_ = false;
  bool in_choice_ = false;
  int phonetic_ = 0;
  std::string type_, value_, formula_, formula_type_, area_, shared_, choice_, choice_cells_;
  std::array<std::string, 2> varied_;  // the cells that a data table sets
  std::int32_t style_ = 0;
  bool is_dynamic_ = false;  // the metadata of a cell have no other use
  std::map<std::string, std::int32_t> shared_formulas_;
};

void SheetReader::start(std::string_view name, const Attributes& attributes) {
  if (name == "row") {
    const auto number = number_in<std::int32_t>(attributes["r"]);
    row_ = number && *number > 0 ? *number - 1 : row_ + 1;
    column_ = -1;
  } else if (name == "c") {
    start_cell(attributes);
  } else if (!in_cell_) {
    start_choice(name, attributes);
  } else if (name == "v") {
    has_value_ = true;
    target_ = &value_;
  } else if (name == "f") {
    start_formula(attributes);
  } else if (name == "rPh") {
    ++phonetic_;
  } else if (name == "t" && phonetic_ == 0) {
    inline_text_ = has_value_ = true;
    target_ = &value_;
  }
}

void SheetReader::start_cell(const Attributes& attributes) {
  in_cell_ = true;
  has_formula_ = has_value_ = inline_text_ = false;
  phonetic_ = 0;
  value_.clear();
  type_ = attributes["t"];
  style_ = number_in<std::int32_t>(attributes["s"]).value_or(0);
  is_dynamic_ = number_in<std::int32_t>(attributes["cm"]).value_or(0) > 0;
  ++column_;
  if (attributes["r"].empty()) return;
  const AddressEnd end = read_address_end(attributes["r"]);
  if (end.length != attributes["r"].size() || end.row < 0 || end.column < 0)
    reader_.refuse("a cell has the address " + text::quoted_text(attributes["r"]));
  row_ = end.row;
  column_ = end.column;
}

void SheetReader::start_formula(const Attributes& attributes) {
  has_formula_ = true;
  formula_.clear();
  target_ = &formula_;
  formula_type_ = attributes["t"];
  area_ = attributes["ref"];
  shared_ = attributes["si"];
  varied_ = {std::string(attributes["r1"]), std::string(attributes["r2"])};
}

// Newer files have the cells, and the formula in an element of its own, within the element of the list.
void SheetReader::start_choice(std::string_view name, const Attributes& attributes) {
  if (name == "dataValidation") {
    in_choice_ = attributes["type"] == "list";
    choice_.clear();
    choice_cells_ = attributes["sqref"];
  } else if (in_choice_ && name == "formula1") {
    target_ = &choice_;
  } else if (in_choice_ && name == "sqref") {
    target_ = &choice_cells_;
  }
}

void SheetReader::finish_choice() {
  in_choice_ = false;
  DropDown list;
  list.text = text::trimmed(choice_, " \t\r\n");
  for (std::string_view rest = choice_cells_; !rest.empty();) {
    const std::size_t end = std::min(rest.find(' '), rest.size());
    if (auto cells = block_of(rest.substr(0, end))) {
      cells->sheet = cells->last_sheet = sheet_;
      list.cells.push_back(*cells);
    }
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  if (!list.cells.empty()) book_.drop_downs.push_back(std::move(list));
}

void SheetReader::end(std::string_view name) {
  target_ = nullptr;
  if (name == "dataValidation" && in_choice_) finish_choice();
  if (name == "rPh") --phonetic_;
  if (name != "c") return;
  in_cell_ = false;
  if (has_formula_ || has_value_) finish_cell();
}

Value SheetReader::stored_value() {
  if (!has_value_) return {};
  if (type_ == "s") {
    const auto position = number_in<std::size_t>(text::trimmed(value_));
    return position && *position < reader_.texts_.size() ? reader_.texts_[*position] : Value();
  }
  if (type_ == "str" || type_ == "inlineStr" || inline_text_) return book_.arena.text(unescaped(value_));
  if (type_ == "b") return Value::boolean(is_true(value_));
  if (type_ == "e") {
    const ErrorCode error = error_of_text(value_);
    return error == ErrorCode::kNone ? ErrorCode::kValue : error;
  }
  const auto number = number_in<double>(text::trimmed(value_));
  return number ? Value(*number) : Value();
}

void SheetReader::finish_cell() {
  if (row_ < 0 || row_ >= kRows || column_ < 0 || column_ >= kColumns)
    reader_.refuse("a cell lies outside its sheet");
  if (book_.cells.size() >= kMostCells)
    reader_.refuse("it has more than " + std::to_string(kMostCells) + " cells");
  const CellId id = book_.add(sheet_, row_, column_);
  Cell& cell = book_.cells[static_cast<std::size_t>(id)];
  cell.stored = stored_value();
  const auto style = static_cast<std::size_t>(style_);
  cell.format = style_ >= 0 && style < reader_.format_of_style_.size() ? reader_.format_of_style_[style] : 0;
  if (has_formula_) add_formula(id);
}

void SheetReader::add_formula(CellId id) {
  const bool shared = formula_type_ == "shared" && !shared_.empty();
  if (shared && formula_.empty()) {
    const auto found = shared_formulas_.find(shared_);
    if (found != shared_formulas_.end()) book_.cells[static_cast<std::size_t>(id)].formula = found->second;
    return;
  }
  if (formula_.empty() && formula_type_ != "dataTable") return;
  const auto position = static_cast<std::int32_t>(book_.formulas.size());
  CellFormula& formula = book_.formulas.emplace_back();
  formula.text = formula_;
  reader_.formula_cells_.push_back(id);
  book_.cells[static_cast<std::size_t>(id)].formula = position;
  if (shared) shared_formulas_[shared_] = position;
  if (formula_type_ == "array" || formula_type_ == "dataTable") add_area(id, position);
}

// The cells that an array formula or a data table fills.
void SheetReader::add_area(CellId id, std::int32_t formula) {
  const Cell first = book_.cells[static_cast<std::size_t>(id)];
  Reference area =
      block_of(area_).value_or(Reference{0, 0, first.row, first.column, first.row, first.column});
  area.sheet = area.last_sheet = sheet_;
  const bool is_table = formula_type_ == "dataTable";
  if (std::int64_t{area.rows()} * area.columns() > (1 << 20) ||
      (!is_table && (first.row < area.row || first.column < area.column)))
    reader_.refuse("an array formula in " + text::cell_name(first.row + 1, first.column + 1) + " fills " +
                   area_);
  for (std::int32_t row = area.row; row <= area.last_row; ++row) {
    for (std::int32_t column = area.column; column <= area.last_column; ++column) {
      Cell& cell = book_.cells[static_cast<std::size_t>(book_.add(sheet_, row, column))];
      if (is_table) cell.formula = formula;
      if (!is_table && !(row == first.row && column == first.column)) cell.array = id;
    }
  }
  CellFormula& filled = book_.formulas[static_cast<std::size_t>(formula)];
  filled.is_array = !is_table;
  filled.is_dynamic = filled.is_array && is_dynamic_;
  filled.area = area;
  if (!is_table) return;
  reader_.data_tables_.push_back(formula);
  filled.text = data_table(area);
}

// A formula of all that a data table is calculated from: the cells that it sets, and those above it and left
// of it, which hold its formulas and what it sets.
std::string SheetReader::data_table(const Reference& area) const {
  std::string formula = "TABLE(";
  const auto add = [&](std::int32_t row, std::int32_t column, std::int32_t last_row,
                       std::int32_t last_column) {
    if (row >= 0 && column >= 0)
      formula += (formula.ends_with('(') ? "" : ",") + text::cell_name(row + 1, column + 1, true) + ":" +
                 text::cell_name(last_row + 1, last_column + 1, true);
  };
  for (const std::string& cell : varied_)
    if (const auto place = block_of(cell))
      add(place->row, place->column, place->last_row, place->last_column);
  add(area.row - 1, std::max(0, area.column - 1), area.row - 1, area.last_column);
  add(area.row, area.column - 1, area.last_row, area.column - 1);
  return formula + ")";
}

void WorkbookReader::find_main_part() {
  for (const xlsx::PartLink& link : package_.links(""))
    if (xlsx::last_part(link.type) == "officeDocument") main_part_ = link.target;
  if (main_part_.empty() || !package_.find(main_part_)) refuse("it is no workbook: it has no main part");
  const std::string type = text::lower_ascii(package_.content_type(main_part_));
  if (type.find("binary") != type.npos) refuse("it is a binary workbook (.xlsb); save it as .xlsx first");
  if (type.find("spreadsheetml") == type.npos && type.find("ms-excel") == type.npos)
    refuse("it is no workbook: its main part is " + text::quoted_text(type));
  links_ = package_.links(main_part_);
}

void WorkbookReader::read() {
  find_main_part();
  read_texts();
  read_formats();
  read_book();
  for (std::size_t i = 0; i < sheet_parts_.size(); ++i) {
    if (sheet_parts_[i].empty()) continue;
    SheetReader reader(*this, static_cast<std::int32_t>(i));
    try {
      visit_xml(package_.read(sheet_parts_[i]), reader);
    } catch (const xlsx::BadPackage& error) {
      refuse("its part " + sheet_parts_[i] + " cannot be read: " + error.what());
    }
    read_tables(static_cast<std::int32_t>(i), sheet_parts_[i]);
  }
  parse_names();
  parse_cells();
  parse_drop_downs();
}

void WorkbookReader::read_book() {
  const XmlText xml = package_.xml(main_part_);
  if (const XmlElement* properties = xml.child(xml.root(), "workbookPr"))
    book_.counts_from_1904 = is_true(properties->attribute("date1904"));
  if (const XmlElement* calculation = xml.child(xml.root(), "calcPr")) {
    const std::string& mode = calculation->attribute("calcMode");
    book_.mode = mode == "manual"        ? CalculationMode::kManual
                 : mode == "autoNoTable" ? CalculationMode::kAutomaticButTables
                                         : CalculationMode::kAutomatic;
    book_.iterates = is_true(calculation->attribute("iterate"));
  }
  for (const xlsx::PartLink& link : links_) {
    const std::string_view kind = xlsx::last_part(link.type);
    book_.has_external_links = book_.has_external_links || kind == "externalLink";
    book_.has_macros = book_.has_macros || kind == "vbaProject";
  }
  read_sheet_list(xml);
  read_names(xml);
}

void WorkbookReader::read_sheet_list(const XmlText& xml) {
  const XmlElement* list = xml.child(xml.root(), "sheets");
  if (list == nullptr) refuse("it has no sheets");
  for (const XmlElement* element : xml.children(*list, "sheet")) {
    std::string id;
    for (const auto& attribute : element->attributes)
      if (attribute.name == "id" && !attribute.space.empty()) id = attribute.value;
    const auto link =
        std::find_if(links_.begin(), links_.end(), [&](const auto& one) { return one.id == id; });
    Sheet& sheet = book_.sheets.emplace_back();
    sheet.name = element->attribute("name");
    const std::string& state = element->attribute("state");
    sheet.hidden = state == "hidden" || state == "veryHidden";
    const bool is_worksheet = link != links_.end() && xlsx::last_part(link->type) == "worksheet";
    sheet_parts_.push_back(is_worksheet ? link->target : "");
    book_.sheets_by_name_.emplace(unicode::folded(sheet.name),
                                  static_cast<std::int32_t>(book_.sheets.size()) - 1);
  }
}

void WorkbookReader::read_names(const XmlText& xml) {
  const XmlElement* list = xml.child(xml.root(), "definedNames");
  if (list == nullptr) return;
  for (const XmlElement* element : xml.children(*list, "definedName")) {
    DefinedName name;
    name.name = element->attribute("name");
    name.sheet = number_in<std::int32_t>(element->attribute("localSheetId")).value_or(-1);
    name.text = element->text;
    if (is_true(element->attribute("function")) || is_true(element->attribute("vbProcedure")))
      name.tree.unsupported = name.name;
    book_.names_by_sheet_.emplace(std::pair(name.sheet, unicode::folded(name.name)),
                                  static_cast<std::int32_t>(book_.names.size()));
    book_.names.push_back(std::move(name));
  }
}

void WorkbookReader::read_texts() {
  for (const xlsx::PartLink& link : links_) {
    if (xlsx::last_part(link.type) != "sharedStrings" || !package_.find(link.target)) continue;
    SharedTexts reader(book_.arena);
    try {
      visit_xml(package_.read(link.target), reader);
    } catch (const xlsx::BadPackage& error) {
      refuse("its part " + link.target + " cannot be read: " + error.what());
    }
    texts_ = std::move(reader.texts);
  }
}

void WorkbookReader::read_formats() {
  book_.formats.emplace_back("General");
  std::map<int, std::string> codes;
  for (const FormatCode& known : kKnownFormats) codes[known.id] = known.code;
  for (const xlsx::PartLink& link : links_) {
    if (xlsx::last_part(link.type) != "styles" || !package_.find(link.target)) continue;
    const XmlText xml = package_.xml(link.target);
    if (const XmlElement* list = xml.child(xml.root(), "numFmts"))
      for (const XmlElement* format : xml.children(*list, "numFmt"))
        if (const auto id = number_in<int>(format->attribute("numFmtId")))
          codes[*id] = format->attribute("formatCode");
    const XmlElement* list = xml.child(xml.root(), "cellXfs");
    if (list == nullptr) continue;
    std::map<std::string, std::int32_t> positions{{"General", 0}};
    for (const XmlElement* style : xml.children(*list, "xf")) {
      const auto code = codes.find(number_in<int>(style->attribute("numFmtId")).value_or(0));
      const std::string text = code == codes.end() ? "General" : code->second;
      const auto [position, added] = positions.emplace(text, static_cast<std::int32_t>(book_.formats.size()));
      if (added) book_.formats.push_back(text);
      format_of_style_.push_back(position->second);
    }
  }
}

void WorkbookReader::read_tables(std::int32_t sheet, const std::string& part) {
  for (const xlsx::PartLink& link : package_.links(part))
    if (xlsx::last_part(link.type) == "table" && package_.find(link.target))
      read_table(sheet, package_.xml(link.target));
}

void WorkbookReader::read_table(std::int32_t sheet, const XmlText& xml) {
  const auto area = block_of(xml.root().attribute("ref"));
  if (!area) return;
  Workbook::Table table;
  table.sheet = sheet;
  table.area = *area;
  table.area.sheet = table.area.last_sheet = sheet;
  table.header_rows = number_in<std::int32_t>(xml.root().attribute("headerRowCount")).value_or(1);
  table.total_rows = number_in<std::int32_t>(xml.root().attribute("totalsRowCount")).value_or(0);
  if (const XmlElement* list = xml.child(xml.root(), "tableColumns"))
    for (const XmlElement* column : xml.children(*list, "tableColumn"))
      table.columns.push_back(unescaped(column->attribute("name")));
  const std::string& shown = xml.root().attribute("displayName");
  book_.tables_.emplace(unicode::folded(shown.empty() ? xml.root().attribute("name") : shown),
                        std::move(table));
}

void WorkbookReader::parse_names() {
  for (DefinedName& name : book_.names) {
    if (!name.tree.unsupported.empty()) continue;
    try {
      name.tree = parse_name(name.text, std::max(name.sheet, 0), book_, book_.arena);
    } catch (const BadFormula& error) {
      name.tree.unsupported = "the name " + name.name + ", which cannot be read: " + error.what();
      name.tree.finds_cells = true;
    }
  }
  names_done_.resize(book_.names.size());
  for (std::size_t i = 0; i < book_.names.size(); ++i) spread_faults(i, 0);
}

// What a name cannot do, no name that is made of it can. Names made of themselves cannot be calculated.
void WorkbookReader::spread_faults(std::size_t position, std::size_t depth) {
  constexpr std::size_t kDeepest = 64;
  Formula& tree = book_.names[position].tree;
  if (names_done_[position]) return;
  if (depth > kDeepest) {
    tree.unsupported = "the name " + book_.names[position].name + ", which is made of itself";
    return;
  }
  for (const Node& node : tree.nodes) {
    if (node.type != NodeType::kName) continue;
    spread_faults(static_cast<std::size_t>(node.name), depth + 1);
    const Formula& used = book_.named(node.name);
    if (tree.unsupported.empty()) tree.unsupported = used.unsupported;
    tree.finds_cells = tree.finds_cells || used.finds_cells;
    tree.is_volatile = tree.is_volatile || used.is_volatile;
  }
  names_done_[position] = true;
}

void WorkbookReader::parse_cells() {
  for (std::size_t i = 0; i < book_.formulas.size(); ++i) {
    CellFormula& formula = book_.formulas[i];
    if (!formula.tree.unsupported.empty()) continue;
    const Cell& cell = book_.cells[static_cast<std::size_t>(formula_cells_[i])];
    const Reference place{cell.sheet, cell.sheet, cell.row, cell.column, cell.row, cell.column};
    try {
      formula.tree = parse_formula(formula.text, place, book_, book_.arena);
    } catch (const BadFormula& error) {
      formula.tree.unsupported = std::string("a formula that cannot be read (") + error.what() +
                                 " at character " + std::to_string(error.position() + 1) + ")";
      formula.tree.finds_cells = true;  // nobody knows what it is calculated from
    }
  }
  for (const std::int32_t position : data_tables_) {
    CellFormula& table = book_.formulas[static_cast<std::size_t>(position)];
    table.tree.unsupported = "a data table";
    table.text.clear();
  }
}

void WorkbookReader::parse_drop_downs() {
  for (DropDown& list : book_.drop_downs) {
    Reference place = list.cells.front();
    place.last_row = place.row;
    place.last_column = place.column;
    try {
      list.tree = parse_formula(list.text, place, book_, book_.arena);
    } catch (const BadFormula& error) {
      list.tree.unsupported = error.what();
    }
  }
}

namespace {

// In the directory of a compound file names are UTF-16.
bool holds_utf16(std::string_view bytes, std::string_view name) {
  std::string wide;
  for (const char c : name) wide += {c, '\0'};
  return bytes.find(wide) != bytes.npos;
}

std::string file_bytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw BadWorkbook(path.string() + ": cannot be opened");
  std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (file.bad()) throw BadWorkbook(path.string() + ": cannot be read");
  return bytes;
}

}  // namespace

Workbook::Workbook(const std::filesystem::path& path) {
  read(file_bytes(path), path.string());
}

Workbook::Workbook(std::string_view bytes, const std::string& name) {
  read(bytes, name);
}

void Workbook::read(std::string_view bytes, const std::string& file) {
  if (bytes.starts_with("\xD0\xCF\x11\xE0")) {
    if (holds_utf16(bytes, "EncryptedPackage"))
      throw BadWorkbook(file + ": the workbook is encrypted; save it without a password first");
    throw BadWorkbook(file + ": this is a workbook of the old format (.xls); save it as .xlsx first");
  }
  try {
    WorkbookReader(*this, bytes, file).read();
  } catch (const xlsx::BadPackage& error) {
    throw BadWorkbook(file + ": it is no sound workbook: " + error.what());
  }
}

}  // namespace ordvane::calc
