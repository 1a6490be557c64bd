// How an argument of the engine interface crosses to the engine's library: for each kind the type that the
// library sees, and what is to be done before and after the call.
#pragma once

#include <oaidl.h>
#include <oleauto.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <span>
#include <string>

#include "automation/ansi.h"

namespace ordvane::automation {

// A value: Long and Double as they are.
template <class T>
class EngineArgument {
 public:
  using Passed = T;
  explicit EngineArgument(T value) : value_(value) {}
  Passed passed() const { return value_; }
  void take_back() const {}

 private:
  T value_;
};

// Integer by value fills a slot of 32 bits.
template <>
class EngineArgument<std::int16_t> : public EngineArgument<std::int32_t> {
 public:
  explicit EngineArgument(std::int16_t value) : EngineArgument<std::int32_t>(value) {}
};

template <class T>
class EngineArgument<T&> {
 public:
  using Passed = T*;
  explicit EngineArgument(T& value) : value_(value) {}
  Passed passed() const { return &value_; }
  void take_back() const {}

 private:
  T& value_;
};

template <class T>
class EngineArgument<std::span<T>> {
 public:
  using Passed = T*;
  explicit EngineArgument(std::span<T> array) : array_(array) {}
  Passed passed() const { return array_.data(); }
  void take_back() const {}

 private:
  std::span<T> array_;
};

template <>
class EngineArgument<const std::string&> {
 public:
  using Passed = const char*;
  explicit EngineArgument(const std::string& text) : text_(to_ansi(text)) {}
  Passed passed() const { return text_.c_str(); }
  void take_back() const {}

 private:
  std::string text_;
};

// A text that the engine may write: a pointer to a pointer. As the language of its usual clients does it, the
// pointer is that of a system string, which the engine may free and replace by another one. Engines that
// write into the string instead find room in it, and a pointer to anything else is read and left alone.
template <>
class EngineArgument<std::string&> {
 public:
  using Passed = char**;

  explicit EngineArgument(std::string& text) : text_(text) {
    const std::string ansi = to_ansi(text);
    const std::size_t room = std::max(ansi.size() + 1, kRoom);
    given_ = pointer_ = reinterpret_cast<char*>(SysAllocStringByteLen(nullptr, static_cast<UINT>(room)));
    if (pointer_ == nullptr) throw std::bad_alloc();
    std::memset(pointer_, 0, room);
    std::copy(ansi.begin(), ansi.end(), pointer_);
  }
  EngineArgument(const EngineArgument&) = delete;
  EngineArgument& operator=(const EngineArgument&) = delete;
  ~EngineArgument() {
    if (pointer_ == given_ || is_system_string(pointer_)) SysFreeString(reinterpret_cast<BSTR>(pointer_));
  }

  Passed passed() { return &pointer_; }
  void take_back() { text_ = pointer_ ? from_ansi(pointer_) : std::string(); }

 private:
  static constexpr std::size_t kRoom = 1024;
  // A system string's memory begins before its first character: with its length, which on 64 bits is padded.
  static constexpr std::size_t kLengthField = sizeof(void*) == 8 ? 8 : 4;

  static bool is_system_string(char* pointer) {
    IMalloc* allocator = nullptr;
    if (pointer == nullptr || FAILED(CoGetMalloc(1, &allocator))) return false;
    const bool owned = allocator->DidAlloc(pointer - kLengthField) == 1;
    allocator->Release();
    return owned;
  }

  std::string& text_;
  char* given_;
  char* pointer_;
};

}  // namespace ordvane::automation
