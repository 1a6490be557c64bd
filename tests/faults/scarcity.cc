#include "faults/scarcity.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

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
                           ? std::malloc(size == 0 ? 1 : size)
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

}  // namespace

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
