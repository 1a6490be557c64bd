// What the kit has found: facts, checks with their verdicts, calls, pictures; as results.json and
// report.html.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace ordvane::acceptance {

// Why a check could not be made here. Thrown by its step.
struct CannotBeMade {
  std::string why;
};
// What a check found wrong. Thrown by its step.
struct Wrong {
  std::string what;
};

struct RunCost {
  std::string name;
  double seconds = 0, seconds_in_excel = 0;
  std::size_t calls = 0, refused = 0;
};

// The calls of one member of Excel's objects, over all runs.
struct MemberCost {
  std::string member;
  std::size_t calls = 0, refused = 0;
  double seconds = 0, slowest = 0;
};

struct RefusedCall {
  std::string run, member, arguments, answer;
};

// A chart as Excel draws it, and as this project does; an empty path where there is none.
struct Picture {
  std::string title;
  std::filesystem::path excels, ours;
};

class Results {
 public:
  // Checks that follow belong to it. The identifier and the check's name are what automation looks at.
  void begin_section(const std::string& id, const std::string& title);
  // Makes a check: what `step` returns is shown beside the verdict. Anything that it throws but CannotBeMade
  // fails it.
  void check(const std::string& name, const std::function<std::string()>& step);
  // Runs a step that makes checks of its own; it appears itself only where it does not get through.
  void attempt(const std::string& name, const std::function<void()>& step);
  void fact(const std::string& group, const std::string& name, const std::string& value);

  std::vector<RunCost> runs;
  std::vector<MemberCost> members;
  std::vector<RefusedCall> refused;
  std::vector<Picture> pictures;

  // Takes in what the program of the other width has written. Throws for a file that it has not written.
  void take_part(const std::filesystem::path& file);
  bool failed() const;
  // results.json, which names the pictures, and report.html, one file that holds them.
  void write(const std::filesystem::path& folder) const;
  std::string closing_line() const;

 private:
  struct Check {
    std::string name, verdict, detail;
    double seconds;
  };
  struct Section {
    std::string id, title;
    std::vector<Check> checks;
  };
  struct Fact {
    std::string group, name, value;
  };
  static Check made(const std::string& name, const std::function<std::string()>& step);
  void take(Check check);
  std::size_t count(const std::string& verdict) const;
  std::string json(bool with_pictures) const;

  std::vector<Section> sections_;
  std::vector<Fact> facts_;
};

// The page with a place for the results, compiled in.
extern const char* const kReportPage;

}  // namespace ordvane::acceptance
