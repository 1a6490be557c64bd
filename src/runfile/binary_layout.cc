#include "runfile/binary_layout.h"

#include <cmath>
#include <cstring>

#include "runfile/values.h"

namespace ordvane::runfile {

TableHead head_of(const Run& run, TableKind kind) {
  const bool singles = kind == TableKind::kSingles;
  TableHead head;
  head.kind = kind;
  head.simulations = static_cast<std::uint64_t>(run.simulations);
  head.recalculations = static_cast<std::uint64_t>(singles ? run.recalculations : run.group_recalculations);
  head.values = singles ? head.recalculations : run.group_values;
  head.outputs = run.outputs.size();
  return head;
}

std::string bytes_of(const TableHead& head) {
  std::string bytes(kTableMagic);
  bytes.resize(kHeadSize, '\0');
  std::memcpy(bytes.data() + kTableMagic.size(), &head, sizeof head);
  const std::uint32_t sum = table_checksum(std::string_view(bytes).substr(0, kChecksumAt));
  std::memcpy(bytes.data() + kChecksumAt, &sum, sizeof sum);
  return bytes;
}

std::uint32_t table_checksum(std::string_view bytes) {
  std::uint32_t sum = 0xFFFFFFFF;
  for (const char byte : bytes) {
    sum ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < 8; ++bit) sum = (sum >> 1U) ^ ((sum & 1U) * 0xEDB88320U);
  }
  return ~sum;
}

double coded(double value) {
  if (std::isnan(value)) return marked(0);
  return is_encoded_error(value) ? marked(static_cast<std::uint32_t>(decode_error(value))) : value;
}

std::uint32_t TextMarks::mark(std::string_view text) {
  auto found = marks_.find(text);
  if (found == marks_.end()) {
    const auto number = static_cast<std::uint32_t>(texts_.size());
    found = marks_.emplace(text, kFirstTextMark + number).first;
    texts_.push_back(found->first);
  }
  return found->second;
}

void TextMarks::count_in(TableHead& head) const {
  head.texts = texts_.size();
  head.text_bytes = 0;
  for (const std::string_view text : texts_) head.text_bytes += kSumSize + text.size();
}

void TextMarks::write(const std::function<void(std::string_view)>& write) const {
  for (const std::string_view text : texts_) {
    const auto size = static_cast<std::uint32_t>(text.size());
    write({reinterpret_cast<const char*>(&size), sizeof size});
    write(text);
  }
}

}  // namespace ordvane::runfile
