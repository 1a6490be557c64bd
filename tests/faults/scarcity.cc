#include "faults/scarcity.h"

#include <dlfcn.h>
#include <link.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#ifndef ORDVANE_SANITIZED  // AddressSanitizer has a malloc of its own
#define ORDVANE_OWN_MALLOC
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}
#else
#define __libc_malloc std::malloc
#endif

namespace {

using ordvane::test::kNever;
using ordvane::test::Shortage;

std::atomic<std::int64_t> g_counted{0}, g_fails{kNever}, g_live{0};
std::atomic<std::int64_t> g_threads{kNever}, g_threads_refused{0};
std::atomic<Shortage> g_shortage{Shortage::kOnce};

bool is_refused() {
  const std::int64_t number = g_counted++;
  const std::int64_t fails = g_fails;
  return g_shortage == Shortage::kOnce ? number == fails : number >= fails;
}

void* given(std::size_t size, std::size_t alignment) {
  if (is_refused()) return nullptr;
  void* const memory = alignment == 0
                           ? __libc_malloc(size == 0 ? 1 : size)
                           : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
  if (memory != nullptr) ++g_live;
  return memory;
}

void* given_or_thrown(std::size_t size, std::size_t alignment = 0) {
  if (void* const memory = given(size, alignment)) return memory;
  throw std::bad_alloc();
}

void taken_back(void* memory) noexcept {
  if (memory == nullptr) return;
  --g_live;
  std::free(memory);
}

#ifdef ORDVANE_OWN_MALLOC

// The libraries in C whose memory is counted, by where their code lies. What the system's own library and
// that of C++ take for themselves is not.
constexpr std::string_view kLibraries[] = {"/libzip.so", "/libz.so", "/libdeflate.so"};
struct Code {
  std::uintptr_t begin = 0, end = 0;
};
std::array<Code, std::size(kLibraries)> g_code;

int find_code(dl_phdr_info* info, std::size_t /*size*/, void* /*unused*/) {
  for (std::size_t library = 0; library < g_code.size(); ++library) {
    if (std::string_view(info->dlpi_name).find(kLibraries[library]) == std::string_view::npos) continue;
    for (int part = 0; part < info->dlpi_phnum; ++part) {
      const auto& header = info->dlpi_phdr[part];
      if (header.p_type != PT_LOAD || (header.p_flags & PF_X) == 0) continue;
      g_code[library] = {info->dlpi_addr + header.p_vaddr, info->dlpi_addr + header.p_vaddr + header.p_memsz};
    }
  }
  return 0;
}

bool is_counted(const void* caller) {
  const auto at = reinterpret_cast<std::uintptr_t>(caller);
  for (const Code& code : g_code)
    if (code.begin <= at && at < code.end) return true;
  return false;
}

// An allocation of theirs, unless it is the one to be refused.
template <class Allocate>
void* counted(const void* caller, const Allocate& allocate) {
  if (!is_counted(caller) || !is_refused()) return allocate();
  errno = ENOMEM;
  return nullptr;
}

#endif

}  // namespace

#ifdef ORDVANE_OWN_MALLOC
// The program's own take the place of the system's in all libraries.
#define ORDVANE_SEEN extern "C" __attribute__((visibility("default")))

ORDVANE_SEEN void* malloc(std::size_t size) {
  return counted(__builtin_return_address(0), [&] { return __libc_malloc(size); });
}
ORDVANE_SEEN void* calloc(std::size_t count, std::size_t size) {
  return counted(__builtin_return_address(0), [&] { return __libc_calloc(count, size); });
}
ORDVANE_SEEN void* realloc(void* memory, std::size_t size) {
  return counted(__builtin_return_address(0), [&] { return __libc_realloc(memory, size); });
}
// The system's would ask for memory in its own name.
ORDVANE_SEEN char* strdup(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  void* const memory = counted(__builtin_return_address(0), [&] { return __libc_malloc(size); });
  return memory == nullptr ? nullptr : static_cast<char*>(std::memcpy(memory, text, size));
}
#endif

void* operator new(std::size_t size) {
  return given_or_thrown(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return given_or_thrown(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return given(size, 0);
}
void operator delete(void* memory) noexcept {
  taken_back(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  taken_back(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
  taken_back(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
  taken_back(memory);
}

// In the place of the system's for the libraries too.
extern "C" __attribute__((visibility("default"))) int pthread_create(pthread_t* thread,
                                                                     const pthread_attr_t* attributes,
                                                                     void* (*start)(void*), void* argument) {
  static const auto system_call =
      reinterpret_cast<decltype(&pthread_create)>(::dlsym(RTLD_NEXT, "pthread_create"));
  if (g_threads-- > 0) return system_call(thread, attributes, start, argument);
  ++g_threads_refused;
  return EAGAIN;
}

namespace ordvane::test {

void begin_counting(std::int64_t fails, Shortage shortage) {
#ifdef ORDVANE_OWN_MALLOC
  [[maybe_unused]] static const int found = dl_iterate_phdr(find_code, nullptr);
#endif
  g_shortage = shortage;
  g_counted = 0;
  g_fails = fails;
}

std::int64_t end_counting() {
  g_fails = kNever;
  return g_counted;
}

std::int64_t live_allocations() {
  return g_live;
}

void grant_threads(std::int64_t count) {
  g_threads = count;
  g_threads_refused = 0;
}

std::int64_t threads_refused() {
  return g_threads_refused;
}

}  // namespace ordvane::test
