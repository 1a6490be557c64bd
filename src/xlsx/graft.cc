#include "xlsx/graft.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "host/error.h"
#include "office/address.h"
#include "unicode/names.h"
#include "xlsx/calculation_chain.h"
#include "xlsx/graft_styles.h"
#include "xlsx/package_parts.h"
#include "xlsx/sheet_mentions.h"
#include "xlsx/whole_file.h"

namespace ordvane::xlsx {
namespace {

constexpr const char* kContentTypes = "[Content_Types].xml";
constexpr std::size_t kLargestSheetId = 65534;

// The first value of an attribute behind `tag` in the text; empty when there is none.
std::string value_behind(std::string_view text, std::string_view tag, std::string_view attribute) {
  const std::size_t begin = text.find(tag);
  if (begin == text.npos) return "";
  const std::string_view inside = text.substr(begin, text.find('>', begin) - begin);
  const std::size_t name = inside.find(" " + std::string(attribute) + "=");
  if (name == inside.npos) return "";
  const std::size_t quote = name + attribute.size() + 2;
  const std::size_t end = quote < inside.size() ? inside.find(inside[quote], quote + 1) : inside.npos;
  if (end == inside.npos) return "";
  return XmlText("<a b=" + std::string(inside.substr(quote, end + 1 - quote)) + "/>").root().attribute("b");
}

// The links from a part of this kind; empty when there is none.
std::string target_of(const std::vector<PartLink>& links, std::string_view kind) {
  for (const PartLink& link : links)
    if (last_part(link.type) == kind) return link.target;
  return "";
}

class Grafting {
 public:
  Grafting(ExistingWorkbook& existing, const office::BookModel& book, const std::vector<std::size_t>& sheets,
           const SaveOptions& options)
      : existing_(existing),
        package_(existing.package()),
        book_(book),
        options_(options),
        workbook_(package_.xml(existing.workbook_part())),
        relationships_(package_.xml(relationships_of(existing.workbook_part()))),
        types_(package_.xml(kContentTypes)),
        links_(package_.links(existing.workbook_part())),
        workbook_edits_(workbook_),
        relationship_edits_(relationships_),
        type_edits_(types_) {
    for (const std::size_t position : sheets) sheets_.push_back(place_of_sheet(position));
  }

  std::string run() {
    take_out_replaced();
    add_styles();
    add_sheets();
    list_sheets();
    define_names();
    order_calculation();
    list_titles();
    put_changes();
    return package_.archive().finish();
  }

 private:
  struct Sheet {
    std::size_t position = 0;  // in the book
    std::size_t place = 0;     // in the workbook
    bool replaces = false;
    std::size_t id = 0;
    std::string part;
    const office::SheetModel* model = nullptr;
  };

  Sheet place_of_sheet(std::size_t position) {
    Sheet sheet;
    sheet.position = position;
    sheet.model = book_.sheets[position].get();
    const auto& there = existing_.sheets();
    const auto same = std::find_if(there.begin(), there.end(), [&](const ExistingWorkbook::Sheet& other) {
      return unicode::same_name(other.name, sheet.model->name);
    });
    sheet.replaces = same != there.end();
    if (!sheet.replaces) {
      sheet.place = there.size() + added_++;
      return sheet;
    }
    if (!same->is_worksheet) refuse("sheet '" + same->name + "' is no worksheet and cannot be replaced");
    sheet.place = static_cast<std::size_t>(same - there.begin());
    sheet.part = same->part;
    return sheet;
  }

  // The parts that belong to the replaced sheets alone.
  void take_out_replaced() {
    const std::vector<OpenArchive::Entry>& entries = package_.archive().entries();
    std::set<std::size_t> replaced;
    for (const Sheet& sheet : sheets_)
      if (sheet.replaces) replaced.insert(*package_.find(sheet.part));
    if (!replaced.empty()) {
      const std::vector<bool> before = package_.reachable(), after = package_.reachable(replaced);
      for (std::size_t i = 0; i < entries.size(); ++i)
        if (before[i] && !after[i]) removed_.insert(i);
    }
    for (std::size_t i = 0; i < entries.size(); ++i)
      if (!removed_.contains(i)) names_.take(entries[i].name);
    for (const XmlElement* entry : types_.children(types_.root(), "Override")) {
      const std::string& name = entry->attribute("PartName");
      const auto position = package_.find(name.substr(name.starts_with('/') ? 1 : 0));
      if (position && removed_.contains(*position)) type_edits_.remove(*entry);
    }
  }

  void add_styles() {
    std::vector<bool> used(book_.styles.size());
    for (const Sheet& sheet : sheets_)
      for (const office::RowBand& band : sheet.model->bands)
        band.styles.for_each_style([&](office::StyleId style) { used[style] = true; });
    const std::string part = target_of(links_, "styles");
    if (part.empty()) {
      // Without styles, a new part has those of the book by their own numbers.
      styles_.part = styles_part(book_.styles);
      for (std::size_t i = 0; i < used.size(); ++i) styles_.formats.push_back(static_cast<std::uint32_t>(i));
      const std::string name = names_.next("xl/styles", ".xml");
      add_type(name, spreadsheet_type("styles"));
      add_link("styles", name);
      new_parts_.push_back(whole_part(name, "", [this] { return styles_.part; }));
      return;
    }
    const XmlText styles = package_.xml(part);
    styles_ = graft_styles(styles, book_.styles, used);
    digit_pixels_ = default_digit_pixels(styles);
    if (styles_.part != styles.text()) changed_[part] = styles_.part;
  }

  // One more than the largest number of a drawing of notes.
  std::size_t free_note_numbers() const {
    std::size_t last = 0;
    const auto& entries = package_.archive().entries();
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (!entries[i].name.ends_with(".vml") || removed_.contains(i)) continue;
      const std::string numbers = value_behind(package_.read(entries[i].name), "<o:idmap", "data");
      for (std::string_view rest = numbers; !rest.empty();) {
        last = std::max(last, number_of(rest));
        rest.remove_prefix(std::min(rest.find(','), rest.size() - 1) + 1);
      }
    }
    return last + 1;
  }

  std::size_t shown_sheet() const {
    const XmlElement* views = workbook_.child(workbook_.root(), "bookViews");
    const XmlElement* view = views != nullptr ? workbook_.child(*views, "workbookView") : nullptr;
    return view != nullptr ? number_of(view->attribute("activeTab")) : 0;
  }

  void add_sheets() {
    collect_texts(book_);  // for texts that no cell can hold
    std::size_t note_numbers = free_note_numbers();
    const std::size_t shown = shown_sheet();
    for (Sheet& sheet : sheets_) {
      if (!sheet.replaces) sheet.part = names_.next("xl/worksheets/sheet", ".xml");
      SheetPlace place{sheet.part, {}, note_numbers++};
      place.frame.styles = &styles_.formats;
      place.frame.digit_pixels = digit_pixels_;
      if (sheet.replaces) {
        const std::string old = package_.read_beginning(sheet.part);
        place.frame.code_name = value_behind(old.substr(0, old.find("<sheetData")), "sheetPr", "codeName");
        place.frame.selected = sheet.place == shown;
      }
      add_sheet_parts(by_name_, sheet.position, place, names_, new_parts_);
    }
    bool has_notes_type = package_.content_type("a.vml") == office_type("vmlDrawing");
    for (const Part& part : new_parts_) {
      const bool is_note = part.name.ends_with(".vml");
      const bool is_kept = package_.find(part.name) && !removed_.contains(*package_.find(part.name));
      if (part.content_type.empty() || is_kept || (is_note && has_notes_type)) continue;
      if (is_note && package_.content_type("a.vml").empty()) {
        type_edits_.prepend(types_.root(), beside(types_.root(), "<Default Extension=\"vml\" ContentType=\"" +
                                                                     part.content_type + "\"/>"));
        has_notes_type = true;
      } else {
        add_type(part.name, part.content_type);
      }
    }
  }

  void add_type(const std::string& part, const std::string& type) {
    std::string element;
    Xml(element).start("Override").attr("PartName", "/" + part).attr("ContentType", type).end();
    type_edits_.append(types_.root(), beside(types_.root(), std::move(element)));
  }

  // From the workbook to a part in xl/. The relationship's id.
  std::string add_link(const char* kind, const std::string& part) {
    if (link_ids_.empty())
      for (const PartLink& link : links_) link_ids_.insert(link.id);
    std::string id;
    do {
      id = "rId" + std::to_string(++last_link_);
    } while (link_ids_.contains(id));
    const bool beside_workbook =
        existing_.workbook_part().starts_with("xl/") && existing_.workbook_part().rfind('/') == 2;
    std::string element;
    Xml(element)
        .start("Relationship")
        .attr("Id", id)
        .attr("Type", std::string(kReferenceSpace) + "/" + kind)
        .attr("Target", beside_workbook ? part.substr(3) : "/" + part)
        .end();
    relationship_edits_.append(relationships_.root(), beside(relationships_.root(), std::move(element)));
    return id;
  }

  void list_sheets() {
    const XmlElement& list = *workbook_.child(workbook_.root(), "sheets");
    const auto there = workbook_.children(list, "sheet");
    std::set<std::size_t> ids;
    for (const XmlElement* sheet : there) ids.insert(number_of(sheet->attribute("sheetId")));
    std::size_t last = *ids.rbegin() < kLargestSheetId - sheets_.size() ? *ids.rbegin() : 0;
    const bool knows_r =
        workbook_.text()
            .substr(workbook_.root().begin, workbook_.root().inner_begin - workbook_.root().begin)
            .find("xmlns:r=\"" + std::string(kReferenceSpace) + "\"") != std::string::npos;
    for (Sheet& sheet : sheets_) {
      if (sheet.replaces) {
        sheet.id = number_of(there[sheet.place]->attribute("sheetId"));
        continue;
      }
      while (ids.contains(++last)) continue;
      sheet.id = last;
      std::string element;
      Xml xml(element);
      xml.start("sheet").attr("name", sheet.model->name).attr("sheetId", sheet.id);
      if (!knows_r) xml.attr("xmlns:r", kReferenceSpace);
      xml.attr("r:id", add_link("worksheet", sheet.part)).end();
      workbook_edits_.append(list, beside(list, std::move(element)));
    }
  }

  bool is_of_replaced_sheet(const XmlElement& name) const {
    return std::any_of(sheets_.begin(), sheets_.end(), [&](const Sheet& sheet) {
      return sheet.replaces && name.attribute("localSheetId") == std::to_string(sheet.place);
    });
  }

  // Whether a value of another sheet may depend on a replaced one: it is computed when the workbook is opened
  // then, which it is asked for no other reason, because that makes the file one with unsaved changes.
  bool others_look_at_replaced() const {
    std::vector<std::string> replaced;
    std::set<std::string> parts;
    for (const Sheet& sheet : sheets_) {
      if (!sheet.replaces) continue;
      replaced.push_back(sheet.model->name);
      parts.insert(sheet.part);
    }
    if (replaced.empty()) return false;
    if (const XmlElement* list = workbook_.child(workbook_.root(), "definedNames"))
      for (const XmlElement* name : workbook_.children(*list, "definedName"))
        if (!is_of_replaced_sheet(*name) && mentions_sheet(name->text, replaced)) return true;
    const auto& there = existing_.sheets();
    return std::any_of(there.begin(), there.end(), [&](const ExistingWorkbook::Sheet& sheet) {
      return !parts.contains(sheet.part) && part_mentions_sheet(package_.read(sheet.part), replaced);
    });
  }

  // Names of the new sheets come, those of the replaced ones go.
  void define_names() {
    const XmlElement& root = workbook_.root();
    const XmlElement* list = workbook_.child(root, "definedNames");
    if (list != nullptr)
      for (const XmlElement* name : workbook_.children(*list, "definedName"))
        if (is_of_replaced_sheet(*name)) workbook_edits_.remove(*name);
    std::string added;
    const XmlElement& neighbour = list != nullptr ? *list : root;
    for (const Sheet& sheet : sheets_)
      for (const std::string& name : sheet_names(*sheet.model, sheet.place)) added += beside(neighbour, name);
    const XmlElement* calculation = workbook_.child(root, "calcPr");
    const bool calculates = others_look_at_replaced();
    if (calculation != nullptr && calculates)
      workbook_edits_.set_attribute(*calculation, "fullCalcOnLoad", "1");
    std::string behind;
    if (list != nullptr)
      workbook_edits_.append(*list, added);
    else
      behind = "<definedNames>" + added + "</definedNames>";
    if (!behind.empty() && !root.prefix.empty()) behind = beside(root, std::move(behind));
    if (calculation == nullptr && calculates) behind += beside(root, "<calcPr fullCalcOnLoad=\"1\"/>");
    if (behind.empty()) return;
    const XmlElement* last = nullptr;
    for (const char* name : {"sheets", "functionGroups", "externalReferences", "definedNames"})
      if (const XmlElement* element = workbook_.child(root, name)) last = element;
    workbook_edits_.insert_after(*last, behind);
  }

  // Formulas of new sheets come last; those of replaced ones go.
  void order_calculation() {
    const std::string part = target_of(links_, "calcChain");
    if (part.empty() || !package_.find(part)) return;
    std::set<std::size_t> replaced;
    for (const Sheet& sheet : sheets_)
      if (sheet.replaces) replaced.insert(sheet.id);
    std::vector<ChainCell> added;
    for (const Sheet& sheet : sheets_)
      for (const auto& [cell, formula] : sheet.model->formulas)
        added.push_back({sheet.id, office::cell_name(cell.row, cell.column)});
    if (replaced.empty() && added.empty()) return;
    ChangedChain chain = change_calculation_chain(package_, part, replaced, added);
    if (!chain.entry) return;
    if (chain.cells == 0) return drop_calculation_order(part);  // one without formulas cannot be
    chain.entry->modified = options_.created;
    changed_entries_.push_back(std::move(*chain.entry));
  }

  void drop_calculation_order(const std::string& part) {
    removed_.insert(*package_.find(part));
    for (const XmlElement* entry : types_.children(types_.root(), "Override"))
      if (package_.find(entry->attribute("PartName").substr(1)) == package_.find(part))
        type_edits_.remove(*entry);
    for (const XmlElement* link : relationships_.children(relationships_.root(), "Relationship"))
      if (last_part(link->attribute("Type")) == "calcChain") relationship_edits_.remove(*link);
  }

  // The document properties may list the sheets. Where they do not list them as they are, they stay.
  void list_titles() {
    const std::string part = target_of(package_.links(""), "extended-properties");
    if (part.empty() || !package_.find(part) || added_ == 0) return;
    const XmlText properties = package_.xml(part);
    const XmlElement* pairs = first_below(properties, "HeadingPairs", "vector");
    const XmlElement* titles = first_below(properties, "TitlesOfParts", "vector");
    if (pairs == nullptr || titles == nullptr || pairs->children.size() < 2) return;
    const XmlElement* count = properties.child(properties.elements()[pairs->children[1]], "i4");
    const auto& there = existing_.sheets();
    if (count == nullptr || number_of(count->text) != there.size() || titles->children.size() < there.size())
      return;
    for (std::size_t i = 0; i < there.size(); ++i)
      if (!there[i].is_worksheet || properties.elements()[titles->children[i]].text != there[i].name) return;
    XmlEdits edits(properties);
    edits.replace_text(*count, std::to_string(there.size() + added_));
    edits.set_attribute(*titles, "size", std::to_string(titles->children.size() + added_));
    const XmlElement& last = properties.elements()[titles->children[there.size() - 1]];
    for (const Sheet& sheet : sheets_) {
      if (sheet.replaces) continue;
      std::string name;
      append_escaped(name, sheet.model->name);
      edits.insert_after(last, "<" + last.prefix + "lpstr>" + name + "</" + last.prefix + "lpstr>");
    }
    changed_[part] = edits.result();
  }

  static const XmlElement* first_below(const XmlText& xml, const char* name, const char* below) {
    const XmlElement* element = xml.child(xml.root(), name);
    if (element == nullptr || element->children.empty()) return nullptr;
    const XmlElement& first = xml.elements()[element->children[0]];
    return first.name == below ? &first : nullptr;
  }

  void put_changes() {
    if (!workbook_edits_.is_empty()) changed_[existing_.workbook_part()] = workbook_edits_.result();
    if (!relationship_edits_.is_empty())
      changed_[relationships_of(existing_.workbook_part())] = relationship_edits_.result();
    if (!type_edits_.is_empty()) changed_[kContentTypes] = type_edits_.result();
    for (const auto& [name, text] : changed_)
      new_parts_.push_back(whole_part(name, "", [content = &text] { return *content; }));
    OpenArchive& archive = package_.archive();
    std::vector<ArchiveEntry> entries = compressed(new_parts_, options_);
    std::move(changed_entries_.begin(), changed_entries_.end(), std::back_inserter(entries));
    for (const std::size_t position : removed_) archive.remove(position);
    for (ArchiveEntry& entry : entries) {
      const auto position = package_.find(entry.name);
      if (position && !removed_.contains(*position))
        archive.replace(*position, std::move(entry));
      else
        archive.add(std::move(entry));
    }
  }

  ExistingWorkbook& existing_;
  PackageReader& package_;
  const office::BookModel& book_;
  const SheetsByName by_name_{book_};
  const SaveOptions& options_;
  const XmlText workbook_, relationships_, types_;
  const std::vector<PartLink> links_;  // of the workbook
  XmlEdits workbook_edits_, relationship_edits_, type_edits_;

  std::vector<Sheet> sheets_;
  std::size_t added_ = 0;          // sheets that follow the last one
  std::set<std::size_t> removed_;  // positions in the archive
  PartNames names_;
  std::set<std::string> link_ids_;
  std::size_t last_link_ = 0;
  GraftedStyles styles_;
  double digit_pixels_ = kDigitPixels;
  std::map<std::string, std::string> changed_;  // parts by name
  std::vector<ArchiveEntry> changed_entries_;
  std::vector<Part> new_parts_;
};

}  // namespace

std::string grafted(ExistingWorkbook& existing, const office::BookModel& book,
                    const std::vector<std::size_t>& sheets, const SaveOptions& options) {
  try {
    return Grafting(existing, book, sheets, options).run();
  } catch (const BadPackage& error) {
    throw BadWorkbook(existing.path().string() + ": sheets cannot be added to it: " + error.what());
  }
}

void graft(ExistingWorkbook& existing, const office::BookModel& book, const std::vector<std::size_t>& sheets,
           const SaveOptions& options) {
  const std::string bytes = grafted(existing, book, sheets, options);
  WholeFileOptions whole;
  whole.files = options.files;
  whole.guarded = true;
  whole.before = [&] {
    if (options.cancelled && options.cancelled()) throw host::Error(host::errc::kUserCancelled, "cancelled");
    existing.check_unchanged();
  };
  write_whole(existing.path(), bytes, whole);
}

}  // namespace ordvane::xlsx
