// A growable array counted from 1, whose every access is checked.
#pragma once

#include <cstdint>
#include <vector>

#include "host/error.h"

namespace ordvane::model {

template <class T>
class OneBased {
 public:
  OneBased() = default;
  explicit OneBased(std::int32_t size, const T& value = T()) { resize(size, value); }
  OneBased(std::initializer_list<T> values) : items_(values) {}

  std::int32_t size() const { return static_cast<std::int32_t>(items_.size()); }
  bool empty() const { return items_.empty(); }
  // Both fail with error 7, and change nothing, where there is no room.
  void resize(std::int32_t size, const T& value = T()) {
    host::allocating([&] { items_.resize(static_cast<std::size_t>(size < 0 ? 0 : size), value); });
  }
  void assign(std::int32_t size, const T& value) {
    host::allocating([&] { items_.assign(static_cast<std::size_t>(size < 0 ? 0 : size), value); });
  }
  // Takes memory for so many elements.
  void reserve(std::int32_t size) {
    host::allocating([&] { items_.reserve(static_cast<std::size_t>(size < 0 ? 0 : size)); });
  }
  void push_back(T value) { items_.push_back(std::move(value)); }
  void clear() { items_.clear(); }

  // Both fail with error 9 outside 1 to size().
  T& operator()(std::int32_t index) { return items_[checked(index)]; }
  const T& operator()(std::int32_t index) const { return items_[checked(index)]; }

  T* data() { return items_.data(); }
  const T* data() const { return items_.data(); }
  auto begin() { return items_.begin(); }
  auto end() { return items_.end(); }
  auto begin() const { return items_.begin(); }
  auto end() const { return items_.end(); }

 private:
  std::size_t checked(std::int32_t index) const {
    if (index < 1 || index > size()) host::raise_subscript_out_of_range("array");
    return static_cast<std::size_t>(index - 1);
  }

  std::vector<T> items_;
};

}  // namespace ordvane::model
