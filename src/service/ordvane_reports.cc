#include "service/ordvane_reports.h"

#include <utility>

#include "host/tidying_up.h"
#include "reports/progress.h"
#include "service/pipeline.h"
#include "service/run_guard.h"
#include "text/edit.h"

namespace ordvane::service {
namespace {

constexpr const char* kEngineFile = "DRLLIB8_X86.dll";
constexpr const char* kTextComponent = "OrdvaneResults8";
constexpr std::int32_t kLanguageSelector = 1;

std::string replace_all(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

}  // namespace

OrdvaneReports::OrdvaneReports(std::shared_ptr<Services> services, Reports reports)
    : services_(std::move(services)), reports_(std::move(reports)) {
  session::Session& s = services_->session;
  if (!services_->is_running) host::ignoring_errors([&] { s.log.open(s.environment); });
  s.log.line(name() + ".Class_Initialize");
}

OrdvaneReports::~OrdvaneReports() {
  if (!services_->is_running) release(".Class_Terminate");
}

void OrdvaneReports::Terminate() {
  check_idle(*services_, "Terminate");
  release(".Terminate");
}

// Terminate and destruction take the same steps; after an explicit Terminate the engine's context is
// therefore released twice, as the engine's hosts expect. Each step is taken whatever became of the others.
void OrdvaneReports::release(const char* operation) noexcept {
  session::Session& s = services_->session;
  const auto log = [&](const char* what) {
    host::tidying_up([&] { s.log.line(name() + operation + what); });
  };
  log("");
  host::tidying_up([&] {
    host::Application& application = s.application();
    s.log.line(name() + operation + " g_XLApp: " + application.name() + " " + application.version());
  });
  s.g_XLApp = nullptr;
  services_->report_workbook = nullptr;
  host::tidying_up([&] {
    if (services_->workbook_factory) services_->workbook_factory->ForgetResults();
  });
  log(" g_XLApp is Nothing");
  host::tidying_up([&] { unload_dral_lib(); });
  host::tidying_up([&] { s.log.close(); });
}

void OrdvaneReports::load_dral_lib() {
  session::Session& s = services_->session;
  s.engine->load_library(s.environment->engine_folder() + s.environment->path_separator() + kEngineFile);
  engine::EngineContext& context = s.engine_context;
  s.engine->DrllibInitLibraryVB("", "", context.a, context.b, context.c, context.d);
}

void OrdvaneReports::unload_dral_lib() {
  engine::EngineContext& context = services_->session.engine_context;
  services_->session.engine->DrllibFreeLibraryVB(context.a, context.b, context.c, context.d, context.e,
                                                 context.f, context.g, context.h);
}

void OrdvaneReports::Initialize(std::shared_ptr<host::Application> p_XLObj, std::int32_t p_hVars) {
  session::Session& s = services_->session;
  check_idle(*services_, "Initialize");
  if (!p_XLObj)
    throw host::Error(host::errc::kObjectNotSet, "Initialize was given no spreadsheet application");
  s.log.line(name() + ".Initialize Application: " + p_XLObj->name());
  s.excel_ready = true;
  s.g_XLApp = std::move(p_XLObj);
  s.hVars = p_hVars;
  s.session_flag = 1;
  s.log.line(name() + ".Initialize hVars: " + std::to_string(s.hVars));
  // Only the engine's context of this client is opened here: the variable set belongs to the host, which has
  // initialised it with DRL4_Init before.
  load_dral_lib();
  s.log.line(name() + ".Initialize LoadDralLib");
  s.language_id = s.environment->language_id(kLanguageSelector);
  s.log.line(name() + ".Initialize NoxLanguageID: " + std::to_string(s.language_id));
  s.language_string = s.environment->language_string(s.language_id);
  s.log.line(name() + ".Initialize NoxLanguageString: " + s.language_string);
  s.string_table = s.environment->string_table(kTextComponent, s.language_string);
  s.string_table->set_active_language(s.language_id);
  s.log.line(name() + ".Initialize ActiveLanguage: " + std::to_string(s.language_id));
  set_WatermarkText("");
  s.log.line(name() + ".Initialize Exit: ");
}

void OrdvaneReports::set_WatermarkText(const std::string& text) {
  watermark_.text = text::trimmed(text);
  watermark_.primary = watermark_.text;
  watermark_.secondary.clear();
  const std::string lines = replace_all(watermark_.text, "\r\n", "\n");
  const std::size_t line_feed = lines.find('\n');
  if (line_feed == std::string::npos) return;
  watermark_.primary = lines.substr(0, line_feed);
  watermark_.secondary = lines.substr(line_feed + 1);
}

void OrdvaneReports::graph_or_log(const std::string& graph, const std::function<void()>& draw) {
  try {
    host::allocating(draw);
  } catch (const host::Error& error) {
    if (error.code() == host::errc::kUserCancelled) throw;
    services_->session.log.line(name() + ".GenerateReports " + graph + " Error: " + error.description());
    remember(error);
  }
}

void OrdvaneReports::begin(session::TextId<0> progress, const model::DralInputOutput* output) {
  session::Session& s = services_->session;
  const std::string text = s.text(progress);
  doing_ = text;
  if (output)
    doing_ += " (" + (output->SimpleName().empty() ? output->cellAddress : output->SimpleName()) + ")";
  reports::ShowProgress(s, text);
}

std::string OrdvaneReports::remember(const host::Error& error) {
  if (!report_error_) report_error_ = error;
  if (error.code() == host::errc::kUserCancelled) return error.description();
  const std::string failure = doing_.empty() ? error.description() : doing_ + ": " + error.description();
  failures_ += (failures_.empty() ? "" : "\n") + failure;
  return failure;
}

reports::TornadoStyle OrdvaneReports::tornado_style(const model::DralInputOutput& output) const {
  return {settings.include_base_line ? output.BaseValue() : host::kNoBaseValue,
          services_->session.text(text_id::kLabelBaseValue), settings.bar_color, settings.base_color,
          settings.low_color};
}

std::int32_t OrdvaneReports::GenerateReports(const model::OneBased<std::int32_t>& selected) {
  const RunGuard running(*services_, "GenerateReports");
  report_error_.reset();
  doing_.clear();
  failures_.clear();
  services_->report_workbook.reset();
  Pipeline pipeline(*this, selected);
  return pipeline.run();
}

}  // namespace ordvane::service
