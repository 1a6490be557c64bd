// Vectors whose new elements are not written before somebody sets them.
//
// For fill_side_by_side() and its like: resize() would write all of them on one thread. What is large is
// given back on all processors too, since the system takes its time for that as for handing it out.
#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace ordvane::host {

// The system takes back what this memory holds, on all processors where that is much. To be called just
// before it is freed.
void give_back_side_by_side(void* memory, std::size_t bytes);

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

  void deallocate(T* memory, std::size_t count) {
    give_back_side_by_side(memory, count * sizeof(T));
    std::allocator<T>::deallocate(memory, count);
  }

  void construct(T*) {}
  template <class... Arguments>
  void construct(T* place, Arguments&&... arguments) {
    std::construct_at(place, std::forward<Arguments>(arguments)...);
  }
};

template <class T>
using UnsetVector = std::vector<T, UnsetAllocator<T>>;

}  // namespace ordvane::host
