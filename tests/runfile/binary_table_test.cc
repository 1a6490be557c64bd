#include "runfile/binary_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <string>

#include "run_files.h"
#include "runfile/mapped_file.h"

namespace ordvane::runfile {
namespace {

const std::string kGroups = R"("a.run.csv",
 "groups": [ { "members": [1, 2], "steps": [2, 2] } ], "groupRecalculations": "a.groups.csv")";
const std::string kGroupRows =
    "simulation,group,combination,value1,value2,output1,output2\n"
    "1,1,1,8,0.25,5,#DIV/0!\n1,1,2,8,,,7\n1,1,3,12,0.25,\"Over, 25\",TRUE\n1,1,4,12,,1e-300,-0.5\n";

// With its tables as files, in binary form too.
class Tables {
 public:
  Tables() {
    folder.write("a.groups.csv", kGroupRows);
    ReadOptions options;
    options.keeps_texts = true;
    folder.write("a.run.csv", kCsv);
    folder.write("a.run.json", with(kJson, "\"a.run.csv\"", kGroups));
    run = read_run(folder.path() / "a.run.json", options);
    write_binary_rows(run, [this](std::string_view piece) { singles += piece; });
    write_binary_group_rows(run, [this](std::string_view piece) { groups += piece; });
  }
  Run read_again() const {
    folder.write("b.bin", singles);
    folder.write("c.bin", groups);
    std::string json = with(with(kJson, "\"a.run.csv\"", kGroups), "a.run.csv", "b.bin");
    folder.write("b.run.json", with(json, "a.groups.csv", "c.bin"));
    ReadOptions options;
    options.keeps_texts = true;
    return read_run(folder.path() / "b.run.json", options);
  }

  RunFolder folder;
  Run run;
  std::string singles, groups;
};

std::string shown(const StoredValues& values) {
  std::string text;
  for (std::size_t at = 0; at < values.size(); ++at)
    text += (std::isnan(values[at]) ? "none" : std::to_string(values[at])) + " ";
  return text;
}

TEST(BinaryTable, HoldsWhatTheCsvHolds) {
  const Tables tables;
  const auto read = tables.read_again();
  EXPECT_EQ(shown(read.input_values), shown(tables.run.input_values));
  EXPECT_EQ(shown(read.output_values), shown(tables.run.output_values));
  EXPECT_EQ(shown(read.group_input_values), shown(tables.run.group_input_values));
  EXPECT_EQ(shown(read.group_output_values), shown(tables.run.group_output_values));
  EXPECT_EQ(read.texts, (TextsOfResults{{4, "Over, 25"}}));
  EXPECT_EQ(read.group_texts, (TextsOfResults{{2, "Over, 25"}, {6, "TRUE"}}));
  // As docs/run-file.md has it: outputs are columns, behind the values of the inputs.
  double result = 0;
  std::memcpy(&result, tables.singles.data() + 128 + (3 + 1) * sizeof result, sizeof result);
  EXPECT_EQ(result, 9);
}

TEST(BinaryTable, TellsWhatIsWrongWithIt) {
  const auto number_at = [](std::string& bytes, std::size_t at, double number) {
    bytes.replace(at, sizeof number, reinterpret_cast<const char*>(&number), sizeof number);
  };
  // The head's counts, with the checksum that belongs to them.
  const auto count_at = [](std::string& bytes, std::size_t at, std::uint64_t count) {
    bytes.replace(at, sizeof count, reinterpret_cast<const char*>(&count), sizeof count);
    std::uint32_t sum = 0xFFFFFFFF;
    for (std::size_t i = 0; i < 64; ++i) {
      sum ^= static_cast<unsigned char>(bytes[i]);
      for (int bit = 0; bit < 8; ++bit) sum = (sum >> 1U) ^ ((sum & 1U) != 0 ? 0xEDB88320U : 0U);
    }
    sum = ~sum;
    bytes.replace(64, sizeof sum, reinterpret_cast<const char*>(&sum), sizeof sum);
  };
  constexpr std::size_t kResults = 128 + 3 * 8, kTexts = kResults + 6 * 8;
  const struct {
    std::function<void(std::string& singles, std::string& groups)> damage;
    const char* complaint;
  } cases[] = {
      {[](auto& s, auto&) { s = "simulation,input"; },
       "b.bin:magic: is not that of a binary table; \"ORDVANE\" and a line feed are expected at its "
       "beginning"},
      {[](auto& s, auto&) { s.resize(100); },
       "b.bin: the file is too short: 100 bytes; its head alone has 128"},
      {[](auto& s, auto&) { s[8] = 2; }, "b.bin:version: is 2; 1 is expected"},
      {[](auto& s, auto&) { s[20] ^= 1; }, "b.bin:checksum: is not that of the head: the file is damaged"},
      {[](auto& s, auto&) { s[100] = 1; },
       "b.bin: the head has bytes behind its checksum; zeros are expected"},
      {[](auto& s, auto& g) { std::swap(s, g); }, "b.bin:kind: is 2; 1 is expected"},
      {[&](auto& s, auto&) { count_at(s, 16, std::uint64_t{1} << 62U); },
       "b.bin:simulations: is 4611686018427387904; 1 is expected"},
      {[&](auto& s, auto&) { count_at(s, 40, 3); }, "b.bin:outputs: is 3; 2 is expected"},
      {[](auto& s, auto&) { s.pop_back(); },
       "b.bin: the file has 211 bytes; 200 are expected, and behind them the 12 bytes of the texts"},
      {[&](auto& s, auto&) { count_at(s, 56, ~std::uint64_t{0}); },
       "b.bin: the file has 212 bytes; 200 are expected, and behind them the 18446744073709551615 bytes of "
       "the texts"},
      {[&](auto& s, auto&) { count_at(s, 48, 4); }, "b.bin:texts: is 4, more than 12 bytes hold"},
      {[&](auto& s, auto&) { count_at(s, 48, 2); }, "b.bin:texts[1]: is longer than the file"},
      {[&](auto& s, auto&) { count_at(s, 48, 0); }, "b.bin:textBytes: has 12 bytes more than the texts"},
      {[](auto& s, auto&) { s[kTexts + 5] = '\xFF'; }, "b.bin:texts[0]: is not UTF-8 text"},
      {[&](auto& s, auto&) { number_at(s, 128 + 8, 1e300); },
       "b.bin:values[0][1]: is 1e+300; a number between -1e300 and 1e300 is expected"},
      {[&](auto& s, auto&) { number_at(s, 128, marked(2042)); },
       "b.bin:values[0][0]: is a NaN of mark 2042; a number, or a NaN of mark 0, is expected"},
      {[&](auto& s, auto&) { number_at(s, kResults + 4 * 8, -INFINITY); },
       "b.bin:results[0][1][1]: is -inf; a number between -1e300 and 1e300 is expected"},
      {[&](auto& s, auto&) { number_at(s, kResults, marked(kFirstTextMark + 1)); },
       "b.bin:results[0][0][0]: is a NaN of mark 65537; 0, the number of an error or that of one of 1 text "
       "is "
       "expected"},
      {[&](auto&, auto& g) { number_at(g, 128 + 4 * 8, 11); },
       "c.bin:values[0][6]: is 12; 11, as in the rows before at this step, is expected"},
  };
  for (const auto& c : cases) {
    Tables tables;
    c.damage(tables.singles, tables.groups);
    std::string complaint;
    try {
      tables.read_again();
    } catch (const BadRun& bad) {
      complaint = std::string(bad.what()).substr(tables.folder.path().string().size() + 1);
    }
    EXPECT_EQ(complaint, c.complaint);
  }
}

// Large tables are mapped; values that are put one by one go to a file when they are many.
TEST(StoredValues, AreTheSameInMemoryAndInFiles) {
  constexpr std::size_t kCount = 200'000;
  const RunFolder folder;
  StoredValues in_memory, in_file;
  in_memory.make_room(kCount);
  in_file.make_room(kCount, kCount - 1);
  EXPECT_EQ(in_memory.in_memory().size(), kCount);
  EXPECT_TRUE(in_file.in_memory().empty());
  std::string bytes(8, 'x');
  for (std::size_t at = 0; at < kCount; ++at) {
    const double value = at % 1000 == 7 ? marked(2042) : static_cast<double>(at);
    in_memory.put(at, decoded(value));
    in_file.put(at, decoded(value));
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
    if (at % 50'000 == 0) in_file.let_go();
  }
  folder.write("a.bin", bytes);
  const StoredValues mapped = StoredValues::of_table(folder.path() / "a.bin", 8, kCount);
  const StoredValues few = StoredValues::of_table(folder.path() / "a.bin", 8 + 8 * 90'000, 110'000);
  EXPECT_EQ(mapped.size(), kCount);
  const StoredValues* const all[] = {&in_memory, &in_file, &mapped, &few};
  for (const StoredValues* values : all) {
    const std::size_t skipped = kCount - values->size();
    EXPECT_EQ((*values)[199'007 - skipped], encode_error(host::CellError::kNA));
    double sum = 0;
    std::size_t taken = 0;
    values->take_pieces(100'000 - skipped, 100'000, [&](std::span<const double> piece) {
      taken += piece.size();
      for (const double value : piece) sum += is_encoded_error(value) ? 0 : value;
    });
    EXPECT_EQ(taken, 100'000U);
    EXPECT_EQ(sum, 14'999'950'000.0 - 100 * 149'507.0);
  }
}

}  // namespace
}  // namespace ordvane::runfile
