// Small owners of what COM hands about: interface pointers, strings, variants. Text is UTF-8 on our side.
#pragma once

#include <oaidl.h>
#include <oleauto.h>
#include <windows.h>

#include <string>
#include <string_view>
#include <utility>

namespace ordvane::automation {

template <class T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(T* pointer) : pointer_(pointer) {  // shares
    if (pointer_) pointer_->AddRef();
  }
  ComPtr(const ComPtr& other) : ComPtr(other.pointer_) {}
  ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(pointer_, other.pointer_);
    return *this;
  }
  ~ComPtr() {
    if (pointer_) pointer_->Release();
  }

  // The caller takes over the reference.
  T* release() { return std::exchange(pointer_, nullptr); }
  T* get() const { return pointer_; }
  T* operator->() const { return pointer_; }
  explicit operator bool() const { return pointer_ != nullptr; }
  // Where a function puts a pointer that it hands over.
  T** receive() {
    *this = ComPtr();
    return &pointer_;
  }
  void** receive_void() { return reinterpret_cast<void**>(receive()); }

 private:
  T* pointer_ = nullptr;
};

// Counted: NULs inside stay. A null BSTR is the empty string.
std::string utf8(const wchar_t* text, UINT units);
inline std::string utf8(BSTR text) {
  return utf8(text, SysStringLen(text));
}
// The caller owns it. Throws std::bad_alloc.
BSTR make_bstr(std::string_view text);

class Bstr {
 public:
  explicit Bstr(std::string_view text) : text_(make_bstr(text)) {}
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  ~Bstr() { SysFreeString(text_); }
  BSTR get() const { return text_; }

 private:
  BSTR text_;
};

}  // namespace ordvane::automation
