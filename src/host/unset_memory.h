// Vectors whose new elements are not written before somebody sets them.
//
// For fill_side_by_side() and its like: resize() would write all of them on one thread.
#pragma once

#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace ordvane::host {

// Like std::allocator, but that elements made without a value hold anything. For types without a destructor.
template <class T>
struct UnsetAllocator : std::allocator<T> {
  static_assert(std::is_trivially_destructible_v<T> && std::is_trivially_copyable_v<T>);
  template <class Other>
  struct rebind {  // NOLINT(readability-identifier-naming): the name is the standard library's
    using other = UnsetAllocator<Other>;
  };

  UnsetAllocator() = default;
  template <class Other>
  UnsetAllocator(const UnsetAllocator<Other>&) {}  // NOLINT: allocators of one kind are one

  void construct(T*) {}
  template <class... Arguments>
  void construct(T* place, Arguments&&... arguments) {
    std::construct_at(place, std::forward<Arguments>(arguments)...);
  }
};

template <class T>
using UnsetVector = std::vector<T, UnsetAllocator<T>>;

}  // namespace ordvane::host
