// Puts a new package together: the workbook with its sheets, and the parts that all of them share.
#include <algorithm>
#include <utility>
#include <vector>

#include "xlsx/archive.h"
#include "xlsx/package_parts.h"
#include "xlsx/save.h"

namespace ordvane::xlsx {
namespace {

// The parts of a workbook and how they refer to each other. Holds references to what it is made from.
class PartList {
 public:
  PartList(const office::BookModel& book, const SaveOptions& options, const SharedTexts& texts)
      : book_(book), texts_(texts) {
    add_document(options);
    for (std::size_t i = 0; i < book.sheets.size(); ++i) add_sheet(i);
    add_content_types();
  }
  const std::vector<Part>& parts() const { return parts_; }

 private:
  void add(std::string name, std::string content_type, Piece whole) {
    parts_.push_back(whole_part(std::move(name), std::move(content_type), std::move(whole)));
  }
  void add_relationships(std::string name, std::vector<Relationship> relationships) {
    add(std::move(name), "", [list = std::move(relationships)] { return relationships_part(list); });
  }

  void add_document(const SaveOptions& options) {
    add_relationships("_rels/.rels", {{"officeDocument", "xl/workbook.xml"},
                                      {"core-properties", "docProps/core.xml"},
                                      {"extended-properties", "docProps/app.xml"}});
    add("docProps/core.xml", "application/vnd.openxmlformats-package.core-properties+xml",
        [this, &options] { return core_properties_part(book_.properties, options.created); });
    add("docProps/app.xml", office_type("extended-properties"),
        [this] { return app_properties_part(book_); });
    add("xl/workbook.xml", spreadsheet_type("sheet.main"), [this] { return workbook_part(book_); });
    add_workbook_relationships();
    add("xl/theme/theme1.xml", office_type("theme"),
        [&options] { return theme_part(options.east_asian_font); });
    add("xl/styles.xml", spreadsheet_type("styles"), [this] { return styles_part(book_.styles); });
    if (has_texts())
      add("xl/sharedStrings.xml", spreadsheet_type("sharedStrings"),
          [this] { return shared_texts_part(book_, texts_); });
  }

  bool has_texts() const { return !texts_.used.empty(); }

  static std::string sheet_file(std::size_t position) {
    return "worksheets/sheet" + std::to_string(position + 1) + ".xml";
  }

  void add_workbook_relationships() {
    std::vector<Relationship> list;
    for (std::size_t i = 0; i < book_.sheets.size(); ++i) list.push_back({"worksheet", sheet_file(i)});
    list.push_back({"theme", "theme/theme1.xml"});
    list.push_back({"styles", "styles.xml"});
    if (has_texts()) list.push_back({"sharedStrings", "sharedStrings.xml"});
    add_relationships("xl/_rels/workbook.xml.rels", std::move(list));
  }

  void add_sheet(std::size_t position) {
    SheetPlace place{"xl/" + sheet_file(position), {}, position + 1};
    place.frame.selected = position == std::min(book_.active_sheet, book_.sheets.size() - 1);
    place.frame.texts = &texts_;
    add_sheet_parts(by_name_, position, place, names_, parts_);
  }

  // First in the package, as readers expect.
  void add_content_types() {
    std::vector<PartType> types;
    for (const Part& part : parts_)
      if (!part.content_type.empty() && !part.name.ends_with(".vml"))
        types.push_back({"/" + part.name, part.content_type});
    parts_.insert(parts_.begin(),
                  whole_part("[Content_Types].xml", "", [types] { return content_types_part(types); }));
  }

  const office::BookModel& book_;
  const SheetsByName by_name_{book_};
  const SharedTexts& texts_;
  std::vector<Part> parts_;
  PartNames names_;
};

}  // namespace

void write_package(ByteSink& out, const office::BookModel& book, const SaveOptions& options) {
  const SharedTexts texts = collect_texts(book);
  const PartList list(book, options, texts);
  const std::vector<Part>& parts = list.parts();
  ArchiveWriter archive(out);
  bool begins = true;
  compress_parts(parts, options, [&](std::size_t part, const CompressedPiece& piece, bool last) {
    if (begins) archive.begin(parts[part].name, options.created);
    archive.add(piece);
    if (last) archive.end();
    begins = last;
  });
  archive.finish();
}

std::string package(const office::BookModel& book, const SaveOptions& options) {
  StringSink out;
  write_package(out, book, options);
  return out.take();
}

}  // namespace ordvane::xlsx
