#include "results.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "host/error.h"
#include "measure.h"

namespace ordvane::acceptance {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kPassed = "passed";
constexpr const char* kFailed = "failed";
constexpr const char* kSkipped = "skipped";

std::string bytes_of(const std::filesystem::path& file) {
  std::ifstream input(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(input), {}};
}

std::string base64(const std::string& bytes) {
  static const char* const kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve(bytes.size() * 4 / 3 + 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::size_t there = std::min<std::size_t>(3, bytes.size() - at);
    unsigned bits = 0;
    for (std::size_t i = 0; i < 3; ++i)
      bits = bits << 8 | (i < there ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    for (std::size_t i = 0; i < 4; ++i) text += i > there ? '=' : kDigits[bits >> (18 - 6 * i) & 63];
  }
  return text;
}

// A picture for a page: the file itself, so that the page is one file.
std::string embedded(const std::filesystem::path& file) {
  if (file.empty() || !std::filesystem::exists(file)) return "";
  const bool vector = file.extension() == ".svg";
  return std::string("data:image/") + (vector ? "svg+xml" : "png") + ";base64," + base64(bytes_of(file));
}

std::string name_of(const std::filesystem::path& file) {
  const auto text = file.filename().u8string();
  return {text.begin(), text.end()};
}

void write_file(const std::filesystem::path& file, const std::string& text) {
  std::ofstream output(file, std::ios::binary);
  output << text;
  output.close();
  if (!output) throw std::runtime_error("cannot write " + name_of(file));
}

}  // namespace

void Results::begin_section(const std::string& id, const std::string& title) {
  sections_.push_back({id, title, {}});
}

Results::Check Results::made(const std::string& name, const std::function<std::string()>& step) {
  const Stopwatch watch;
  Check made{name, kPassed, "", 0};
  try {
    made.detail = step();
  } catch (const CannotBeMade& cannot) {
    made.verdict = kSkipped, made.detail = cannot.why;
  } catch (const Wrong& wrong) {
    made.verdict = kFailed, made.detail = wrong.what;
  } catch (const host::Error& error) {
    made.verdict = kFailed, made.detail = "error " + code_text(error.code()) + ": " + error.description();
  } catch (const std::exception& error) {
    made.verdict = kFailed, made.detail = error.what();
  }
  made.seconds = watch.seconds();
  return made;
}

void Results::take(Check check) {
  std::printf("%-8s %s: %s%s%s\n", check.verdict.c_str(), sections_.back().title.c_str(), check.name.c_str(),
              check.detail.empty() ? "" : ": ", check.detail.substr(0, check.detail.find('\n')).c_str());
  std::fflush(stdout);
  sections_.back().checks.push_back(std::move(check));
}

void Results::check(const std::string& name, const std::function<std::string()>& step) {
  take(made(name, step));
}

void Results::attempt(const std::string& name, const std::function<void()>& step) {
  Check check = made(name, [&] {
    step();
    return std::string();
  });
  if (check.verdict != kPassed) take(std::move(check));
}

void Results::fact(const std::string& group, const std::string& name, const std::string& value) {
  facts_.push_back({group, name, value});
}

std::size_t Results::count(const std::string& verdict) const {
  std::size_t found = 0;
  for (const Section& section : sections_)
    for (const Check& made : section.checks) found += made.verdict == verdict ? 1 : 0;
  return found;
}

bool Results::failed() const {
  return count(kFailed) != 0 || count(kPassed) == 0;
}

std::string Results::closing_line() const {
  return std::to_string(count(kPassed)) + " passed, " + std::to_string(count(kFailed)) + " failed, " +
         std::to_string(count(kSkipped)) + " skipped";
}

void Results::take_part(const std::filesystem::path& file) {
  const Json part = Json::parse(bytes_of(file));
  const std::string width = part.at("width");
  for (const Json& fact : part.at("facts"))
    facts_.push_back(
        {fact.at("group").get<std::string>() + " (" + width + ")", fact.at("name"), fact.at("value")});
  for (const Json& section : part.at("sections")) {
    Section taken{width + "." + section.at("id").get<std::string>(),
                  section.at("title").get<std::string>() + " (" + width + ")",
                  {}};
    for (const Json& made : section.at("checks"))
      taken.checks.push_back({made.at("name"), made.at("verdict"), made.at("detail"), made.at("seconds")});
    sections_.push_back(std::move(taken));
  }
}

std::string Results::json(bool with_pictures) const {
  Json all = {{"format", "ordvane-acceptance"}, {"version", 1}, {"width", kWidth}, {"made", now_text()}};
  all["summary"] = {{kPassed, count(kPassed)}, {kFailed, count(kFailed)}, {kSkipped, count(kSkipped)}};
  all["facts"] = Json::array();
  for (const Fact& fact : facts_)
    all["facts"].push_back({{"group", fact.group}, {"name", fact.name}, {"value", fact.value}});
  all["sections"] = Json::array();
  for (const Section& section : sections_) {
    Json checks = Json::array();
    for (const Check& made : section.checks)
      checks.push_back({{"name", made.name},
                        {"verdict", made.verdict},
                        {"detail", made.detail},
                        {"seconds", made.seconds}});
    all["sections"].push_back({{"id", section.id}, {"title", section.title}, {"checks", checks}});
  }
  all["runs"] = Json::array();
  for (const RunCost& run : runs)
    all["runs"].push_back({{"name", run.name},
                           {"seconds", run.seconds},
                           {"secondsInExcel", run.seconds_in_excel},
                           {"calls", run.calls},
                           {"refused", run.refused}});
  all["members"] = Json::array();
  for (const MemberCost& member : members)
    all["members"].push_back({{"member", member.member},
                              {"calls", member.calls},
                              {"refused", member.refused},
                              {"seconds", member.seconds},
                              {"slowest", member.slowest}});
  all["refused"] = Json::array();
  for (const RefusedCall& call : refused)
    all["refused"].push_back(
        {{"run", call.run}, {"member", call.member}, {"arguments", call.arguments}, {"answer", call.answer}});
  all["pictures"] = Json::array();
  for (const Picture& picture : pictures)
    all["pictures"].push_back({{"title", picture.title},
                               {"excel", with_pictures ? embedded(picture.excels) : name_of(picture.excels)},
                               {"ordvane", with_pictures ? embedded(picture.ours) : name_of(picture.ours)}});
  // Texts of Excel and of the system may hold anything.
  return all.dump(1, ' ', false, Json::error_handler_t::replace);
}

void Results::write(const std::filesystem::path& folder) const {
  write_file(folder / "results.json", json(false) + "\n");
  std::string data = json(true);
  for (std::size_t at = 0; (at = data.find("</", at)) != std::string::npos; at += 3)
    data.replace(at, 2, "<\\/");
  std::string page = kReportPage;
  constexpr const char* kPlace = "RESULTS_HERE";
  page.replace(page.find(kPlace), std::char_traits<char>::length(kPlace), data);
  write_file(folder / "report.html", page);
}

}  // namespace ordvane::acceptance
