// Stands in for an installed Excel, as a COM server: the stand-in of excel_stand_in.h, and over it what only
// programs need that look at Excel's work from outside, read from the embedded spreadsheet's data: charts,
// series, axes, page breaks, pictures. The model is that of the run that ORDVANE_EXCEL_MODEL names.
//
// ORDVANE_EXCEL_FAULTS names what it does wrong, for tests of those programs: words from the table of faults
// below, separated by blanks.

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include "automation/cell_variants.h"
#include "automation/late_bound.h"
#include "embedded/report_job.h"
#include "support/snapshot.h"
#include "windows/excel_stand_in.h"

namespace ordvane::test {
namespace {

using automation::ComPtr;
using automation::LateBound;
using automation::Variant;

constexpr std::int32_t kXlManualBreak = -4135, kXlPortrait = 1, kXlLandscape = 2;

// cells: the model loses a value. status: the status bar stays. text, format, width, title, series, axis,
// plot, label, break: what is read back is another. picture, pdf: nothing is written. sheets: some have other
// names.
bool faulty(const std::string& fault) {
  const char* const faults = std::getenv("ORDVANE_EXCEL_FAULTS");
  return faults != nullptr && (' ' + std::string(faults) + ' ').find(' ' + fault + ' ') != std::string::npos;
}

using Arguments = std::vector<const VARIANT*>;  // in the order in which they are written

Variant copy_of(const VARIANT* value) {
  Variant copy;
  VariantCopyInd(copy.receive(), const_cast<VARIANT*>(value));
  return copy;
}
std::int32_t whole(const VARIANT* value) {
  return copy_of(value).whole();
}
std::string text(const VARIANT* value) {
  return copy_of(value).text();
}

// {7B0A7F52-95C7-4C0B-8E1D-6F0C5A3D2B10}: asks whether an object is one of these.
const IID kIdentity = {0x7b0a7f52, 0x95c7, 0x4c0b, {0x8e, 0x1d, 0x6f, 0x0c, 0x5a, 0x3d, 0x2b, 0x10}};

// An object with members of its own, laid over one of the stand-in's, which has the rest.
class Overlay final : public IDispatch {
 public:
  using Read = std::function<Variant(const Arguments&)>;
  using Write = std::function<void(const Variant&)>;
  // What becomes of objects that the lower object returns.
  using Wrap = std::function<ComPtr<IDispatch>(const std::string& member, IDispatch* object)>;

  explicit Overlay(IDispatch* below = nullptr) : below_(below) {}
  Overlay(const Overlay&) = delete;
  Overlay& operator=(const Overlay&) = delete;

  Overlay& reads(const std::string& name, Read read) {
    reads_[name] = std::move(read);
    return *this;
  }
  Overlay& shows(const std::string& name, Variant value) {
    return shows(name, std::make_shared<Variant>(std::move(value)));
  }
  Overlay& writes(const std::string& name, Write write) {
    writes_[name] = std::move(write);
    return *this;
  }
  // A property that is only remembered.
  Overlay& remembers(const std::string& name, Variant value) {
    const auto kept = std::make_shared<Variant>(std::move(value));
    shows(name, kept);
    return writes(name, [kept](const Variant& given) { *kept = copy_of(&given.value()); });
  }
  Overlay& wraps(Wrap wrap) {
    wrap_ = std::move(wrap);
    return *this;
  }
  IDispatch* below() const { return below_.get(); }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    *object = nullptr;
    if (!IsEqualIID(id, IID_IUnknown) && !IsEqualIID(id, IID_IDispatch) && !IsEqualIID(id, kIdentity))
      return E_NOINTERFACE;
    *object = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }

  // Names that the lower object knows keep its numbers: objects with and without an overlay are of one kind.
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID id, LPOLESTR* names, UINT count, LCID language,
                                          DISPID* ids) override {
    const std::string name = automation::utf8(names[0], static_cast<UINT>(wcslen(names[0])));
    const HRESULT status =
        below_ ? below_->GetIDsOfNames(id, names, count, language, ids) : DISP_E_UNKNOWNNAME;
    if (FAILED(status) && !has(name)) return status;
    if (FAILED(status)) ids[0] = number_of(name);
    known_names()[ids[0]] = name;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID language, WORD flags, DISPPARAMS* given,
                                   VARIANT* result, EXCEPINFO* exception, UINT* wrong) override {
    const std::string name = name_of(id);
    const ComPtr<IDispatch> alive(this);
    std::vector<VARIANT> reversed(given->rgvarg, given->rgvarg + given->cArgs);
    for (VARIANT& argument : reversed) unwrap(argument);
    try {
      if ((flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0) {
        const auto own = writes_.find(name);
        if (own != writes_.end()) {
          own->second(copy_of(&reversed.at(0)));
          return S_OK;
        }
      } else if (const auto own = reads_.find(name); own != reads_.end()) {
        Arguments arguments;
        for (auto at = reversed.rbegin(); at != reversed.rend(); ++at) arguments.push_back(&*at);
        Variant answer = own->second(arguments);
        if (result != nullptr) *result = answer.release();
        return S_OK;
      }
    } catch (const std::exception& error) {
      if (exception != nullptr) {
        *exception = {};
        exception->scode = static_cast<SCODE>(0x800A03EC);
        exception->bstrDescription = automation::make_bstr(error.what());
      }
      return DISP_E_EXCEPTION;
    }
    if (!below_) return DISP_E_MEMBERNOTFOUND;
    DISPPARAMS passed = {reversed.data(), given->rgdispidNamedArgs, given->cArgs, given->cNamedArgs};
    const HRESULT status = below_->Invoke(id, reserved, language, flags, &passed, result, exception, wrong);
    if (SUCCEEDED(status) && wrap_ && result != nullptr) wrap(name, *result);
    return status;
  }

 private:
  ~Overlay() = default;

  Overlay& shows(const std::string& name, const std::shared_ptr<Variant>& kept) {
    return reads(name, [kept](const Arguments&) { return copy_of(&kept->value()); });
  }
  static std::map<DISPID, std::string>& known_names() {
    static std::map<DISPID, std::string> kNames;
    return kNames;
  }
  // Others may have been asked for the number of a name that this one has, too.
  std::string name_of(DISPID id) {
    std::string& name = known_names()[id];
    for (auto own = reads_.begin(); below_ && name.empty() && own != reads_.end(); ++own) {
      std::wstring wide(own->first.begin(), own->first.end());
      LPOLESTR spelling = wide.data();
      DISPID number = DISPID_UNKNOWN;
      below_->GetIDsOfNames(IID_NULL, &spelling, 1, LOCALE_USER_DEFAULT, &number);
      if (number == id) name = own->first;
    }
    return name;
  }
  // Of a name that only overlays have.
  static DISPID number_of(const std::string& name) {
    static std::map<std::string, DISPID> kNumbers;
    constexpr DISPID kFirst = 0x1000000;
    return kNumbers.emplace(name, kFirst + static_cast<DISPID>(kNumbers.size())).first->second;
  }
  bool has(const std::string& name) const { return reads_.contains(name) || writes_.contains(name); }

  static void unwrap(VARIANT& argument) {
    if (argument.vt == (VT_BYREF | VT_VARIANT) && argument.pvarVal->vt == VT_DISPATCH)
      argument = *argument.pvarVal;
    if (argument.vt != VT_DISPATCH || argument.pdispVal == nullptr) return;
    ComPtr<IUnknown> same;
    if (FAILED(argument.pdispVal->QueryInterface(kIdentity, same.receive_void()))) return;
    if (IDispatch* const below = static_cast<Overlay*>(argument.pdispVal)->below()) argument.pdispVal = below;
  }

  void wrap(const std::string& member, VARIANT& result) const {
    if (result.vt != VT_DISPATCH || result.pdispVal == nullptr) return;
    ComPtr<IDispatch> wrapped = wrap_(member, result.pdispVal);
    if (!wrapped) return;
    result.pdispVal->Release();
    result.pdispVal = wrapped.release();
  }

  ComPtr<IDispatch> below_;
  std::map<std::string, Read> reads_;
  std::map<std::string, Write> writes_;
  Wrap wrap_;
  ULONG references_ = 1;
};

// A new overlay, filled by `fill`.
template <class Fill>
ComPtr<IDispatch> overlay(IDispatch* below, Fill&& fill) {
  auto* made = new Overlay(below);
  ComPtr<IDispatch> owner;
  *owner.receive() = made;
  fill(*made);
  return owner;
}
// An object of nothing but values.
template <class Fill>
Variant view(Fill&& fill) {
  return Variant(overlay(nullptr, fill).get());
}

using Office = std::shared_ptr<office::OfficeApplication>;
using Book = std::shared_ptr<const office::BookModel>;
using Chart = std::shared_ptr<const office::ChartModel>;

// ---- Charts ----

std::vector<host::CellValue> data_of(const office::BookModel& book, const office::SeriesData& data) {
  const BookReader reader(book);
  std::vector<host::CellValue> values = data.constants;
  if (const office::SheetModel* sheet = reader.sheet(data.sheet))
    for (std::int32_t row = 0; row < data.area.rows; ++row)
      for (std::int32_t column = 0; column < data.area.columns; ++column)
        values.push_back(reader.value(*sheet, data.area.row + row, data.area.column + column));
  return values;
}

Variant list(const office::BookModel& book, const office::SeriesData& data) {
  std::vector<host::CellValue> values = data_of(book, data);
  if (faulty("series") && !values.empty()) values.back() = host::CellValue(-1.0);
  SAFEARRAY* array = SafeArrayCreateVector(VT_VARIANT, 1, static_cast<ULONG>(values.size()));
  for (LONG at = 1; at <= static_cast<LONG>(values.size()); ++at)
    SafeArrayPutElement(
        array, &at,
        const_cast<VARIANT*>(
            &automation::cell_variant(values[static_cast<std::size_t>(at - 1)], false).value()));
  return Variant::array(array);
}

Variant point(const office::SeriesModel& series, std::int32_t position) {
  const auto found = series.points.find(position);
  const std::string label =
      found != series.points.end() && found->second.label ? found->second.label->text.value_or("") : "";
  return view([&](Overlay& o) {
    o.shows("DataLabel", view([&](Overlay& d) { d.shows("Text", faulty("label") ? label + "?" : label); }));
  });
}

Variant series(const Book& book, const std::shared_ptr<office::SeriesModel>& model) {
  return view([&](Overlay& o) {
    o.shows("Name", model->name).shows("ChartType", static_cast<std::int32_t>(model->kind));
    o.reads("Values", [book, model](const Arguments&) { return list(*book, model->values); });
    o.reads("XValues", [book, model](const Arguments&) { return list(*book, model->x_values); });
    o.reads("Points", [model](const Arguments& a) { return point(*model, whole(a.at(0))); });
  });
}

Variant axis(const office::AxisModel& model) {
  return view([&](Overlay& o) {
    const double error = faulty("axis") ? 1 : 0;
    o.shows("MinimumScale", model.minimum.value_or(0))
        .shows("MaximumScale", model.maximum.value_or(1) + error);
    o.shows("MajorUnit", model.major_unit.value_or(1)).shows("ReversePlotOrder", model.reversed);
    o.shows("HasTitle", !model.title.empty());
    o.shows("AxisTitle", view([&](Overlay& title) { title.shows("Text", model.title); }));
    o.shows("TickLabels", view([&](Overlay& labels) {
              labels.shows("NumberFormat", model.number_format.value_or("General"));
            }));
  });
}

Variant plot_area(const office::ChartModel& model) {
  return view([&](Overlay& o) {
    if (!model.plot.inside) return;
    const auto& inside = *model.plot.inside;
    o.shows("InsideLeft", inside.left + (faulty("plot") ? 9 : 0)).shows("InsideTop", inside.top);
    o.shows("InsideWidth", inside.width).shows("InsideHeight", inside.height);
  });
}

// What a reader of files takes for a picture of the chart's size, with more in it than a blank one needs. It
// is never drawn.
void draw(const std::string& file, const office::ChartModel& chart) {
  if (faulty("picture")) return;
  std::string png = std::string("\x89PNG\r\n\x1a\n\0\0\0\x0DIHDR", 16);
  for (const double side : {chart.width, chart.height})
    for (int shift = 24; shift >= 0; shift -= 8)
      png += static_cast<char>(static_cast<std::uint32_t>(side) >> shift & 0xFF);
  png.resize(static_cast<std::size_t>(1000 + chart.width * chart.height / 100));
  std::ofstream(std::filesystem::path(reinterpret_cast<const char8_t*>(file.c_str())), std::ios::binary)
      << png;
}

Variant chart(const Book& book, const Chart& model) {
  return view([&](Overlay& o) {
    std::string title;
    for (const auto& run : model->title) title += run.text;
    if (faulty("title")) title += "?";
    o.shows("HasLegend", model->has_legend).shows("HasTitle", !model->title.empty());
    o.shows("ChartTitle", view([&](Overlay& t) { t.shows("Text", title); }))
        .shows("PlotArea", plot_area(*model));
    o.reads("SeriesCollection", [book, model](const Arguments& a) {
      if (!a.empty()) return series(book, model->series.at(static_cast<std::size_t>(whole(a[0]) - 1)));
      return view([&](Overlay& all) { all.shows("Count", static_cast<std::int32_t>(model->series.size())); });
    });
    o.reads("Axes", [model](const Arguments& a) {
      return axis(model->axes[whole(a.at(1)) - 1][whole(a.at(0)) - 1]);
    });
    o.reads("Export", [model](const Arguments& a) {
      draw(text(a.at(0)), *model);
      return Variant(true);
    });
  });
}

// ---- Sheets, workbooks, the application ----

Book book_of(const Office& office, const std::string& name) {
  return office->model(*office->workbook(name));
}

std::shared_ptr<office::SheetModel> sheet_of(const Office& office, const std::string& book,
                                             const std::string& sheet) {
  for (const auto& each : book_of(office, book)->sheets)
    if (each->name == sheet) return each;
  throw host::Error(host::errc::kSubscriptOutOfRange, "no such sheet");
}

ComPtr<IDispatch> page_breaks(IDispatch* below, std::vector<std::int32_t> positions, const char* where) {
  if (faulty("break")) positions.push_back(999);
  return overlay(below, [&](Overlay& o) {
    o.shows("Count", static_cast<std::int32_t>(positions.size()));
    o.reads("Item", [positions, where](const Arguments& a) {
      return view([&](Overlay& one) {
        one.shows("Type", kXlManualBreak);
        one.shows("Location", view([&](Overlay& cell) {
                    cell.shows(where, positions.at(static_cast<std::size_t>(whole(a.at(0)) - 1)));
                  }));
      });
    });
  });
}

Variant pages(std::int32_t count) {
  return count == 0 ? Variant(false) : Variant(count);
}

ComPtr<IDispatch> page_setup(IDispatch* below, const host::PageSetup& page) {
  return overlay(below, [&](Overlay& o) {
    o.shows("Orientation", page.landscape ? kXlLandscape : kXlPortrait);
    o.shows("FitToPagesWide", pages(page.fit_to_pages_wide))
        .shows("FitToPagesTall", pages(page.fit_to_pages_tall));
  });
}

ComPtr<IDispatch> chart_objects(IDispatch* below, const Book& book,
                                const std::shared_ptr<office::SheetModel>& sheet) {
  return overlay(below, [&](Overlay& o) {
    o.shows("Count", static_cast<std::int32_t>(sheet->charts.size()));
    o.reads("Item", [book, sheet](const Arguments& a) {
      const Chart model = sheet->charts.at(static_cast<std::size_t>(whole(a.at(0)) - 1));
      return view([&](Overlay& frame) {
        frame.shows("Width", model->width).shows("Height", model->height).shows("Chart", chart(book, model));
      });
    });
  });
}

// What the range says of its cells may be wrong.
ComPtr<IDispatch> range(IDispatch* below) {
  return overlay(below, [&](Overlay& o) {
    if (faulty("text")) o.shows("Value2", "?");
    if (faulty("format")) o.shows("NumberFormat", "0.0000000");
    if (faulty("width")) o.shows("ColumnWidth", 99.0);
  });
}

Variant used_range(const LateBound& sheet, const office::SheetModel& model) {
  std::int32_t rows = 1, columns = 1;
  for (const office::RowBand& band : model.bands) {
    rows = std::max(rows, band.first_row + band.rows - 1);
    columns = std::max(columns, band.first_column + band.columns - 1);
  }
  return sheet.get(L"Range", {office::area_name({1, 1, rows, columns})});
}

ComPtr<IDispatch> worksheet(const Office& office, IDispatch* below) {
  const auto names = std::make_shared<automation::MemberNames>();
  const LateBound it(below, L"Worksheet", names);
  const auto model = [office, it] {
    return sheet_of(office, it.object(L"Parent", L"Workbook").get(L"Name").text(), it.get(L"Name").text());
  };
  return overlay(below, [&](Overlay& o) {
    const std::string name = it.get(L"Name").text();
    if (faulty("sheets") && name.starts_with("Spider")) o.shows("Name", name + "?");
    o.reads("UsedRange", [it, model](const Arguments&) { return used_range(it, *model()); });
    o.wraps([office, it, model](const std::string& member, IDispatch* object) -> ComPtr<IDispatch> {
      if (member == "ChartObjects")
        return chart_objects(object, book_of(office, it.object(L"Parent", L"Workbook").get(L"Name").text()),
                             model());
      if (member == "PageSetup") return page_setup(object, model()->page);
      if (member == "HPageBreaks") return page_breaks(object, model()->page.row_breaks, "Row");
      if (member == "VPageBreaks") return page_breaks(object, model()->page.column_breaks, "Column");
      // The library passes ranges on to other objects of the stand-in, which want their own.
      return member == "Range" && office->screen_updating() ? range(object) : nullptr;
    });
  });
}

ComPtr<IDispatch> worksheets(const Office& office, IDispatch* below) {
  return overlay(below, [&](Overlay& o) {
    o.wraps([office](const std::string&, IDispatch* object) { return worksheet(office, object); });
  });
}

void print_pdf(const std::string& file) {
  if (faulty("pdf")) return;
  std::ofstream(std::filesystem::path(reinterpret_cast<const char8_t*>(file.c_str())), std::ios::binary)
      << "%PDF-1.4\n% by what stands in for Excel\n%%EOF\n";
}

ComPtr<IDispatch> workbook(const Office& office, IDispatch* application, IDispatch* below) {
  const LateBound it(below, L"Workbook", std::make_shared<automation::MemberNames>());
  const ComPtr<IDispatch> parent(application);
  return overlay(below, [&](Overlay& o) {
    o.reads("Application", [parent](const Arguments&) { return Variant(parent.get()); });
    o.reads("Close", [office, it](const Arguments&) {
      office->close_workbook(*office->workbook(it.get(L"Name").text()));
      return Variant();
    });
    o.reads("ExportAsFixedFormat", [](const Arguments& a) {
      print_pdf(text(a.at(1)));
      return Variant();
    });
    o.wraps([office](const std::string& member, IDispatch* object) -> ComPtr<IDispatch> {
      return member == "Worksheets" || member == "Sheets" ? worksheets(office, object) : nullptr;
    });
  });
}

ComPtr<IDispatch> workbooks(const Office& office, IDispatch* application, IDispatch* below) {
  const LateBound it(below, L"Workbooks", std::make_shared<automation::MemberNames>());
  return overlay(below, [&](Overlay& o) {
    // The model of the run is open from the beginning.
    o.reads("Open", [office, it, application](const Arguments& a) {
      const std::string file = text(a.at(0));
      const LateBound book = it.object(L"Item", L"Workbook", {file.substr(file.find_last_of('\\') + 1)});
      return Variant(workbook(office, application, book.dispatch()).get());
    });
    o.wraps([office, application](const std::string&, IDispatch* object) {
      return workbook(office, application, object);
    });
  });
}

// A report that ends loses the model a value; the status bar never shows what it is told to.
void wrong_ends(const Office& office, const std::string& model, Overlay& o, const LateBound& it) {
  if (faulty("status"))
    o.writes("StatusBar", [it](const Variant& text) {
      if (text.value().vt != VT_BOOL) it.put(L"StatusBar", text.text() + "?");
    });
  if (faulty("cells"))
    o.writes("Cursor", [office, it, model](const Variant& cursor) {
      it.put(L"Cursor", cursor.whole());
      office->workbook(model)->worksheets().front()->range("B5")->set_value(host::CellValue(1.0));
    });
}

ComPtr<IDispatch> make_application() {
  wchar_t run[4096] = L"";
  GetEnvironmentVariableW(L"ORDVANE_EXCEL_MODEL", run, 4096);
  const Office office = embedded::open_model(runfile::read_run(run));
  const auto stand_in = std::make_shared<StandIn>(office);
  const ComPtr<IDispatch> below = make_excel_stand_in(stand_in);
  const LateBound it(below, L"Application", std::make_shared<automation::MemberNames>());
  return overlay(below.get(), [&](Overlay& o) {
    o.remembers("Visible", Variant(false)).remembers("UserControl", Variant(false));
    o.remembers("DecimalSeparator", Variant(".")).remembers("ThousandsSeparator", Variant(","));
    o.remembers("UseSystemSeparators", Variant(true));
    o.shows("Build", "0").shows("OperatingSystem", "what stands in for Excel").shows("Path", "");
    o.reads("Quit", [](const Arguments&) { return Variant(); });
    wrong_ends(office, office->active_workbook()->name(), o, it);
    Overlay* const application = &o;
    o.wraps([office, application](const std::string& member, IDispatch* object) -> ComPtr<IDispatch> {
      if (member == "Workbooks") return workbooks(office, application, object);
      if (member == "ActiveWorkbook") return workbook(office, application, object);
      if (member == "ActiveSheet") return worksheet(office, object);
      return nullptr;
    });
  });
}

class Factory final : public IClassFactory {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    *object = nullptr;
    if (!IsEqualIID(id, IID_IUnknown) && !IsEqualIID(id, IID_IClassFactory)) return E_NOINTERFACE;
    *object = static_cast<IClassFactory*>(this);
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }  // lives as long as the file
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID id, void** object) override {
    *object = nullptr;
    try {
      return make_application()->QueryInterface(id, object);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "what stands in for Excel: %s\n", error.what());
      return E_FAIL;
    }
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

}  // namespace
}  // namespace ordvane::test

extern "C" HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID, REFIID id, void** object) {
  static ordvane::test::Factory factory;
  return factory.QueryInterface(id, object);
}

extern "C" HRESULT STDAPICALLTYPE DllCanUnloadNow() {
  return S_FALSE;
}
