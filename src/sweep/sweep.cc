#include "sweep/sweep.h"

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <exception>
#include <map>
#include <mutex>

#include "host/error.h"
#include "host/side_by_side.h"
#include "runfile/values.h"
#include "runfile/write_run.h"

namespace ordvane::sweep {
namespace {

constexpr std::int64_t kChunksPerThread =
    4;                              // at least, so that no thread waits long for the others at the end
constexpr std::int64_t kAhead = 8;  // chunks a thread that wait for one before them

std::size_t widest_group(const Plan& plan) {
  std::size_t most = 0;
  for (const PlannedGroup& group : plan.groups) most = std::max(most, group.members.size());
  return most;
}

void append_result(std::string& row, const Result& result) {
  if (!result.is_number()) return runfile::append_field(row, std::string_view(result.text));
  if (std::fabs(result.number) < runfile::kNumberLimit) return runfile::append_field(row, result.number);
  runfile::append_field(row, std::string_view("#NUM!"));  // no cell of a run can hold it
}

void append_row(std::string& rows, const PlannedRow& planned, std::size_t widest,
                const std::vector<Result>& results) {
  rows += '1';
  runfile::append_field(rows, planned.of + 1);
  runfile::append_field(rows, planned.position + 1);
  for (const Change& change : planned.changes) runfile::append_field(rows, change.value);
  if (planned.in_group) rows.append(widest - planned.changes.size(), ',');
  for (const Result& result : results) append_result(rows, result);
  rows += '\n';
}

// The chunks of a part: handed out in their order, and written in it.
class Work {
 public:
  Work(const Plan& plan, const Shard& shard, PartWriter& part, const SweepOptions& options)
      : plan_(plan),
        part_(part),
        options_(options),
        widest_(widest_group(plan)),
        first_(shard.first(plan.total()) + part.done()),
        last_(shard.last(plan.total())),
        of_(last_ - shard.first(plan.total())) {
    const std::int64_t even = (last_ - first_) / (kChunksPerThread * options.threads);
    chunk_ = std::clamp<std::int64_t>(even, 1, options.chunk);
  }

  std::int64_t left() const { return last_ - first_; }
  // Until all is calculated, or something fails.
  void run(const MakeCalculator& make) {
    try {
      const std::unique_ptr<Calculator> calculator = make();
      for (std::int64_t chunk; take(chunk);) calculate(*calculator, chunk);
    } catch (...) {
      const std::lock_guard lock(mutex_);
      if (!failure_) failure_ = std::current_exception();
      stopped_ = true;
    }
    changed_.notify_all();
  }
  void rethrow() const {
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  bool take(std::int64_t& chunk) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return stopped_ || next_ < written_ + kAhead * options_.threads; });
    if (stopped_ || first_ + next_ * chunk_ >= last_) return false;
    chunk = next_++;
    return true;
  }

  void calculate(Calculator& calculator, std::int64_t chunk) {
    if (options_.cancelled && options_.cancelled())
      throw host::Error(host::errc::kUserCancelled, "cancelled");
    const std::int64_t begin = first_ + chunk * chunk_;
    const std::int64_t count = std::min(chunk_, last_ - begin);
    std::vector<Recalculation> wanted;
    PlanRows ahead(plan_, begin);
    for (std::int64_t row = 0; row < count; ++row) wanted.push_back(ahead.next().changes);
    const std::vector<std::vector<Result>> results = calculator.evaluate(wanted);
    std::string rows;
    PlanRows planned(plan_, begin);
    for (const std::vector<Result>& row : results) append_row(rows, planned.next(), widest_, row);
    write(chunk, std::move(rows), count);
  }

  void write(std::int64_t chunk, std::string rows, std::int64_t count) {
    const std::lock_guard lock(mutex_);
    waiting_[chunk] = {std::move(rows), count};
    for (auto next = waiting_.find(written_); next != waiting_.end(); next = waiting_.find(written_)) {
      part_.append(next->second.first, next->second.second);
      waiting_.erase(next);
      ++written_;
    }
    if (options_.progress) options_.progress(part_.done(), of_);
    changed_.notify_all();
  }

  const Plan& plan_;
  PartWriter& part_;
  const SweepOptions& options_;
  const std::size_t widest_;
  const std::int64_t first_, last_, of_;
  std::int64_t chunk_ = 1;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::int64_t next_ = 0, written_ = 0;  // chunks
  std::map<std::int64_t, std::pair<std::string, std::int64_t>> waiting_;
  bool stopped_ = false;
  std::exception_ptr failure_;
};

runfile::Group group_of(const PlannedGroup& planned) {
  runfile::Group group;
  group.members = planned.members;
  group.combinations = planned.combinations;
  for (const std::vector<double>& values : planned.values)
    group.steps.push_back(static_cast<std::int32_t>(values.size()));
  return group;
}

void append_bytes(std::string& bytes, double value) {
  char part[sizeof value];
  std::memcpy(part, &value, sizeof value);
  bytes.append(part, sizeof value);
}

}  // namespace

bool identical(const Result& a, const Result& b) {
  if (a.is_number() != b.is_number() || a.text != b.text) return false;
  return !a.is_number() || std::memcmp(&a.number, &b.number, sizeof a.number) == 0;
}

std::string shown(const Result& result) {
  if (!result.is_number()) return result.text.empty() ? "nothing" : result.text;
  std::string text;
  runfile::append_field(text, result.number);
  return text.substr(1);  // behind the comma
}

runfile::Run run_of(const Plan& plan, const std::vector<Result>& base) {
  runfile::Run run;
  for (const PlannedInput& input : plan.inputs) run.inputs.push_back(input.item);
  for (std::size_t i = 0; i < plan.outputs.size(); ++i) {
    runfile::Output& output = run.outputs.emplace_back(plan.outputs[i].item);
    output.base.reset();
    if (base[i].is_number() && std::fabs(base[i].number) < runfile::kNumberLimit)
      output.base = base[i].number;
  }
  for (const PlannedGroup& group : plan.groups) run.groups.push_back(group_of(group));
  return run;
}

std::string hash_of(const Plan& plan) {
  std::string bytes = runfile::description_of(run_of(plan, std::vector<Result>(plan.outputs.size()))).dump();
  for (const PlannedInput& input : plan.inputs)
    for (const double value : input.values) append_bytes(bytes, value);
  for (const PlannedGroup& group : plan.groups)
    for (const std::vector<double>& values : group.values)
      for (const double value : values) append_bytes(bytes, value);
  return hash_of(std::string_view(bytes));
}

void calculate_part(const Plan& plan, const Shard& shard, PartWriter& part, const MakeCalculator& make,
                    const SweepOptions& options) {
  Work work(plan, shard, part, options);
  if (work.left() <= 0) return;
  const auto most = static_cast<std::size_t>(std::min<std::int64_t>(options.threads, work.left()));
  host::side_by_side(most, [&] { work.run(make); });
  work.rethrow();
}

}  // namespace ordvane::sweep
