// OrdvaneReports: the settings of a report set, and the operations that make it.
//
// A host creates the object, writes the settings, calls Initialize, sets the watermark (Initialize clears
// it), calls GenerateReports once or more, then Terminate. Settings keep their values for the life of the
// object. The session is the host's to keep; several objects may share one, the last Initialize wins.
//
// One thread. Construction and destruction never throw. While reports are being made, Initialize, Terminate
// and GenerateReports of every object of the session are refused with error 5, and destroying another object
// leaves the session alone.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "engine/engine.h"
#include "host/environment.h"
#include "host/error.h"
#include "host/excel.h"
#include "layout/report_workbook.h"
#include "model/one_based.h"
#include "model/summary.h"
#include "reports/settings.h"
#include "service/reports.h"
#include "session/session.h"

namespace ordvane::service {

inline constexpr std::int32_t kStoppedByDetailByInput = 25;

// What a host supplies for all objects of one session: made once, shared, filled by Initialize.
struct Services {
  session::Session session;  // environment and engine are set by the host before the first object is made
  std::unique_ptr<layout::ReportWorkbookFactory> workbook_factory;  // made on first use
  std::shared_ptr<host::Workbook> report_workbook;                  // of the last GenerateReports
  bool is_running = false;                                          // reports are being made
};

class OrdvaneReports {
 public:
  using Boolean = bool;
  using Integer = std::int16_t;
  using Long = std::int32_t;
  using Double = double;
  using String = std::string;

  explicit OrdvaneReports(std::shared_ptr<Services> services, Reports reports = built_in_reports());
  ~OrdvaneReports();
  OrdvaneReports(const OrdvaneReports&) = delete;
  OrdvaneReports& operator=(const OrdvaneReports&) = delete;

  // What the reports are given. Members of the interface are other names for parts of it.
  reports::Settings settings = reports::Settings::unset();

#define ORDVANE_FIELD(number, type, name) type name{};
#define ORDVANE_FIELD_OF(number, type, name, setting) type& name = settings.setting;
#include "service/report_settings.def"

#define ORDVANE_ACCESSORS(type, name, place) \
  type name() const {                        \
    return place;                            \
  }                                          \
  void set_##name(type value) {              \
    place = value;                           \
  }
#define ORDVANE_PROPERTY(number, type, name) \
 private:                                    \
  type m_##name{};                           \
                                             \
 public:                                     \
  ORDVANE_ACCESSORS(type, name, m_##name)
#define ORDVANE_PROPERTY_OF(number, type, name, setting) ORDVANE_ACCESSORS(type, name, settings.setting)
#include "service/report_properties.def"
#undef ORDVANE_ACCESSORS

  std::string name() const {
    return "OrdvaneReports";
  }

  const std::string& WatermarkText() const {
    return watermark_.text;
  }
  // Trimmed of blanks, and split at its first line break.
  void set_WatermarkText(const std::string& text);
  const std::string& WatermarkTextPrimary() const {
    return watermark_.primary;
  }
  const std::string& WatermarkTextSecondary() const {
    return watermark_.secondary;
  }

  void Initialize(std::shared_ptr<host::Application> p_XLObj, std::int32_t p_hVars);
  void Terminate();

  // Element i of `selected` is the engine index (ioIndex, from 0) of the i-th selected output.
  // Each call makes a workbook; with SingleWorkbookAllResults, those between Initialize and Terminate write
  // into one. Returns 0, or kStoppedByDetailByInput. Throws what goes wrong before the report workbook is
  // open; what goes wrong after that, other than a graph, ends the reports. It is logged, found in
  // report_error() and failures(), and shown to the user in one message at the end. Numbers of outputs that
  // the model does not have are passed over, and told likewise; error kNothingToReport when there is no
  // other. The spreadsheet's settings, its cursor and its status bar are afterwards what they were before,
  // whatever happened; shown is the report, where there is one.
  std::int32_t GenerateReports(const model::OneBased<std::int32_t>& selected);
  // What ended or cut the last GenerateReports once the report workbook was open; Escape: kUserCancelled.
  const std::optional<host::Error>& report_error() const {
    return report_error_;
  }
  // Everything that the last GenerateReports could not do, one line each, with what it was doing; empty when
  // it did all. The user's wish to stop is not among it.
  const std::string& failures() const {
    return failures_;
  }
  // Where the session's last GenerateReports wrote; null when it wrote nothing, and after Terminate.
  std::shared_ptr<host::Workbook> report_workbook() const {
    return services_->report_workbook;
  }

  // The multi-way analysis: a tornado of the groups of inputs varied together for each selected output, and
  // the table of their combinations. A tornado that fails is logged and the next report follows. Restores the
  // spreadsheet as GenerateReports does. Returns 0.
  Long multiReport(const reports::Context& context);
  // The same with the upper bounds of both record arrays. `groupCount` and `recalculationCount` receive how
  // many groups, and multi-way recalculations, were reported.
  Long getInputForIteration(const reports::Context& context, Long inputBound, Long outputBound,
                            Long& groupCount, Long& recalculationCount);

 private:
  class Pipeline;

  // Draws one graph. A failure other than the user's wish to stop is logged and kept for report_error(): one
  // graph that cannot be drawn does not take the others with it.
  void graph_or_log(const std::string& graph, const std::function<void()>& draw);
  // Shows the user what is being done now, and keeps it for failures(). `output`: what it is done for.
  void begin(session::TextId<0> progress, const model::DralInputOutput* output = nullptr);
  // Returns the line that failures() has for it.
  std::string remember(const host::Error& error);
  reports::TornadoStyle tornado_style(const model::DralInputOutput& output) const;
  void release(const char* operation) noexcept;
  void load_dral_lib();
  void unload_dral_lib();

  std::shared_ptr<Services> services_;
  Reports reports_;
  session::WatermarkTexts watermark_;
  std::optional<host::Error> report_error_;
  std::string doing_;
  std::string failures_;
};

}  // namespace ordvane::service
