// What is wrong with the arguments of a command, gathered so that one try shows all of it.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/error.h"
#include "runfile/run.h"
#include "xlsx/package_reader.h"

namespace ordvane::cli {

// Arguments that cannot be used. A problem says which, and what is expected; lines with what could be meant
// may follow in it.
class BadArguments : public std::runtime_error {
 public:
  explicit BadArguments(std::string problem) : BadArguments(std::vector{std::move(problem)}) {}
  explicit BadArguments(std::vector<std::string> problems)
      : std::runtime_error(problems.front()), problems_(std::move(problems)) {}
  const std::vector<std::string>& problems() const { return problems_; }

 private:
  std::vector<std::string> problems_;
};

class Problems {
 public:
  void add(std::string problem) { problems_.push_back(std::move(problem)); }
  // Runs a check. What it throws of arguments, run files, workbooks and files is kept; the user's wish to
  // stop is not.
  template <class Check>
  void gather(const Check& check) {
    try {
      check();
    } catch (const BadArguments& bad) {
      problems_.insert(problems_.end(), bad.problems().begin(), bad.problems().end());
    } catch (const runfile::BadRun& bad) {
      add(bad.what());
    } catch (const xlsx::BadWorkbook& bad) {
      add(bad.what());
    } catch (const host::Error& error) {
      if (error.code() == host::errc::kUserCancelled) throw;
      add(error.description());
    }
  }
  bool any() const { return !problems_.empty(); }
  // A last line, where to read more.
  void set_hint(std::string hint) { hint_ = std::move(hint); }
  // Throws BadArguments with all of them, if there are any.
  void refuse_any() const {
    if (!any()) return;
    std::vector<std::string> all = problems_;
    if (!hint_.empty()) all.back() += "\n" + hint_;
    throw BadArguments(std::move(all));
  }

 private:
  std::vector<std::string> problems_;
  std::string hint_;
};

}  // namespace ordvane::cli
