#include "xlsx/deflate.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <memory>
#include <numeric>
#include <string_view>

namespace ordvane::xlsx {
namespace {

constexpr std::size_t kEndOfBlock = 256, kFirstLength = 257;
constexpr std::size_t kSymbols = 286, kDistanceSymbols = 30;
constexpr std::size_t kShortest = 3, kLongest = 258;
constexpr int kLongestCode = 15;

// A number of bits, the first one lowest.
struct Bits {
  std::uint32_t bits = 0;
  int count = 0;
};

Bits joined(Bits first, Bits next) {
  return {first.bits | next.bits << first.count, first.count + next.count};
}

class BitWriter {
 public:
  explicit BitWriter(char* out) : begin_(out), out_(out) {}

  // At most 32 bits at a time.
  void put(Bits bits) {
    waiting_ |= std::uint64_t{bits.bits} << count_;
    count_ += bits.count;
    if constexpr (std::endian::native == std::endian::little)
      std::memcpy(out_, &waiting_, sizeof waiting_);
    else
      for (int byte = 0; byte < 8; ++byte) out_[byte] = static_cast<char>(waiting_ >> (8 * byte));
    out_ += count_ / 8;
    waiting_ >>= count_ & ~7;
    count_ &= 7;
  }
  // What is left of the last byte stays zero.
  void end_byte() {
    if (count_ > 0) put({0, 8 - count_});
  }
  std::size_t size() const { return static_cast<std::size_t>(out_ - begin_); }

 private:
  char* begin_;
  char* out_;
  std::uint64_t waiting_ = 0;
  int count_ = 0;  // bits that wait, fewer than eight
};

// How long the code of each symbol is, by how often the symbol occurs: at least once.
template <std::size_t kCount>
std::array<int, kCount> code_lengths(std::array<std::uint32_t, kCount> uses) {
  while (true) {
    // Symbols, then pairs of what is rarest, each pair behind what it is made of.
    std::vector<std::uint64_t> weights(uses.begin(), uses.end());
    std::vector<std::size_t> above(2 * kCount - 1), order(kCount);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return uses[a] != uses[b] ? uses[a] < uses[b] : a < b; });
    std::size_t symbol = 0, pair = kCount;
    const auto rarest = [&] {
      const bool is_symbol =
          symbol < kCount && (pair == weights.size() || weights[order[symbol]] <= weights[pair]);
      return is_symbol ? order[symbol++] : pair++;
    };
    while (weights.size() < 2 * kCount - 1) {
      const std::size_t one = rarest(), other = rarest();
      above[one] = above[other] = weights.size();
      weights.push_back(weights[one] + weights[other]);
    }
    std::vector<int> depth(weights.size());
    for (std::size_t node = weights.size() - 1; node-- > 0;) depth[node] = depth[above[node]] + 1;
    std::array<int, kCount> lengths;
    std::copy_n(depth.begin(), kCount, lengths.begin());
    if (*std::max_element(lengths.begin(), lengths.end()) <= kLongestCode) return lengths;
    for (std::uint32_t& count : uses) count = count / 2 + 1;  // nearer to each other
  }
}

std::uint32_t reversed(std::uint32_t bits, int count) {
  std::uint32_t result = 0;
  for (int i = 0; i < count; ++i, bits >>= 1U) result = result << 1U | (bits & 1U);
  return result;
}

// Codes of these lengths, in the order that the format wants.
template <std::size_t kCount>
std::array<Bits, kCount> codes_of(const std::array<int, kCount>& lengths) {
  std::array<Bits, kCount> codes;
  std::uint32_t next = 0;
  for (int length = 1; length <= kLongestCode; ++length, next <<= 1U)
    for (std::size_t symbol = 0; symbol < kCount; ++symbol)
      if (lengths[symbol] == length) codes[symbol] = {reversed(next++, length), length};
  return codes;
}

// A symbol with bits that follow it.
struct Extended {
  std::size_t symbol;
  Bits more;
};

// Of numbers from 0 on that the format groups ever more of under one symbol: `straight` of them have one of
// their own for each step of a doubling.
Extended grouped(std::uint32_t number, std::uint32_t straight) {
  if (number < 2 * straight) return {number, {}};
  const int doublings = static_cast<int>(std::bit_width(number / straight)) - 1;
  const std::uint32_t group = number >> doublings;
  return {static_cast<std::size_t>(doublings) * straight + group, {number - (group << doublings), doublings}};
}

Extended length_symbol(std::size_t length) {
  if (length == kLongest) return {kSymbols - 1, {}};
  Extended symbol = grouped(static_cast<std::uint32_t>(length - kShortest), 4);
  symbol.symbol += kFirstLength;
  return symbol;
}

Extended distance_symbol(std::size_t distance) {
  return grouped(static_cast<std::uint32_t>(distance - 1), 2);
}

bool is_repeat(std::string_view text, const Repeat& repeat) {
  return repeat.length >= kShortest && repeat.length <= kLongest && repeat.distance >= 1 &&
         repeat.distance <= kFarthestRepeat && repeat.distance <= repeat.at &&
         std::size_t{repeat.at} + repeat.length <= text.size() &&
         std::memcmp(text.data() + repeat.at, text.data() + repeat.at - repeat.distance, repeat.length) == 0;
}

class Block {
 public:
  Block(std::string_view text, const std::vector<Repeat>& repeats) : text_(text), repeats_(repeats) {
    count();
    const auto lengths = code_lengths(uses_);
    const auto distance_lengths = code_lengths(distance_uses_);
    lengths_.assign(lengths.begin(), lengths.end());
    lengths_.insert(lengths_.end(), distance_lengths.begin(), distance_lengths.end());
    codes_ = codes_of(lengths);
    distances_ = codes_of(distance_lengths);
    for (std::size_t length = kShortest; length <= kLongest; ++length) {
      const Extended symbol = length_symbol(length);
      repeat_codes_[length] = joined(codes_[symbol.symbol], symbol.more);
    }
    for (std::size_t pair = 0; pair < kPairs; ++pair)
      pairs_[pair] = joined(codes_[kFirstDigit + pair / kDigits], codes_[kFirstDigit + pair % kDigits]);
  }

  std::string write(bool last) const {
    constexpr std::size_t kAround = 1024;  // the codes, and the marks at the end
    const auto buffer = std::make_unique_for_overwrite<char[]>(2 * text_.size() + kAround);
    BitWriter out(buffer.get());
    write_codes(out, last);
    const char* at = text_.data();
    for (const Repeat& repeat : repeats_) {
      if (!is_repeat(text_, repeat) || at > text_.data() + repeat.at) continue;
      write_text(out, at, text_.data() + repeat.at);
      out.put(repeat_codes_[repeat.length]);
      const Extended distance = distance_symbol(repeat.distance);
      out.put(joined(distances_[distance.symbol], distance.more));
      at = text_.data() + repeat.at + repeat.length;
    }
    write_text(out, at, text_.data() + text_.size());
    out.put(codes_[kEndOfBlock]);
    if (!last) out.put({0, 3});  // an empty block of bytes as they are
    out.end_byte();
    if (!last) out.put({0xFFFF0000, 32});
    return {buffer.get(), out.size()};
  }

 private:
  // Pairs of what numbers are made of have codes of their own ready.
  static constexpr std::size_t kFirstDigit = '+', kDigits = 16, kPairs = kDigits * kDigits;
  // Counting some of the text is as good as counting all of it.
  static constexpr std::size_t kCountedOneIn = 8;

  void count() {
    uses_.fill(1);
    distance_uses_.fill(1);
    std::size_t at = 0, number = 0;
    const auto count_text = [&](std::size_t end) {
      for (; at < end; ++at) ++uses_[static_cast<unsigned char>(text_[at])];
    };
    for (const Repeat& repeat : repeats_) {
      if (repeat.at < at) continue;
      if (number++ % kCountedOneIn == 0) {
        count_text(std::min<std::size_t>(repeat.at, text_.size()));
        if (is_repeat(text_, repeat)) {
          ++uses_[length_symbol(repeat.length).symbol];
          ++distance_uses_[distance_symbol(repeat.distance).symbol];
        }
      }
      at = std::size_t{repeat.at} + repeat.length;
    }
    if (repeats_.empty()) count_text(text_.size());
  }

  void write_codes(BitWriter& out, bool last) const {
    constexpr int kLengthBits = 4;
    out.put({last ? 1U : 0U, 1});
    out.put({2, 2});  // with codes of its own
    out.put({kSymbols - kFirstLength, 5});
    out.put({kDistanceSymbols - 1, 5});
    // Codes of the lengths: 19 lengths of them, first those of the three that stand for runs, which are not
    // used; all others have four bits.
    out.put({19 - 4, 4});
    for (int i = 0; i < 19; ++i) out.put({i < 3 ? 0U : kLengthBits, 3});
    for (const int length : lengths_)
      out.put({reversed(static_cast<std::uint32_t>(length), kLengthBits), kLengthBits});
  }

  void write_text(BitWriter& out, const char* at, const char* end) const {
    const auto digit = [](char c) {
      return static_cast<std::size_t>(static_cast<unsigned char>(c)) - kFirstDigit;
    };
    while (at + 1 < end) {
      const std::size_t first = digit(at[0]), second = digit(at[1]);
      if (first < kDigits && second < kDigits) {
        out.put(pairs_[first * kDigits + second]);
        at += 2;
      } else {
        out.put(codes_[static_cast<unsigned char>(*at++)]);
      }
    }
    if (at < end) out.put(codes_[static_cast<unsigned char>(*at)]);
  }

  std::string_view text_;
  const std::vector<Repeat>& repeats_;
  std::array<std::uint32_t, kSymbols> uses_;
  std::array<std::uint32_t, kDistanceSymbols> distance_uses_;
  std::vector<int> lengths_;  // of all codes
  std::array<Bits, kSymbols> codes_;
  std::array<Bits, kDistanceSymbols> distances_;
  std::array<Bits, kLongest + 1> repeat_codes_;
  std::array<Bits, kPairs> pairs_;
};

}  // namespace

std::string deflate_with_repeats(const MarkedText& text, bool last) {
  return Block(text.text, text.repeats).write(last);
}

}  // namespace ordvane::xlsx
