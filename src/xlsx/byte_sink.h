// Where the bytes of a file go, one behind the other.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace ordvane::xlsx {

class ByteSink {
 public:
  virtual ~ByteSink() = default;
  virtual void write(std::string_view bytes) = 0;
  // In the place of as many bytes that were written, `at` bytes from the first one.
  virtual void write_over(std::uint64_t at, std::string_view bytes) = 0;
};

class StringSink : public ByteSink {
 public:
  void write(std::string_view bytes) override { bytes_ += bytes; }
  void write_over(std::uint64_t at, std::string_view bytes) override {
    bytes_.replace(static_cast<std::size_t>(at), bytes.size(), bytes);
  }
  std::string take() { return std::move(bytes_); }

 private:
  std::string bytes_;
};

}  // namespace ordvane::xlsx
