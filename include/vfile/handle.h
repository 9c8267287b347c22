/// Handles of host files: a `void*` whose value all bits set means none. On POSIX it carries a descriptor,
/// so that null is descriptor 0.
#pragma once

#include <concepts>
#include <cstdint>

namespace vfile {

/// The handle that stands for no open file.
inline void* InvalidHandle() { return reinterpret_cast<void*>(~std::uintptr_t{0}); }

/// What a handle parameter accepts: `void*` itself, and no pointer that merely converts to it. A buffer, an
/// `HFile*` or `nullptr` given where a handle is wanted does not compile.
template <class T>
concept RawHandle = std::same_as<T, void*>;

#ifndef _WIN32
/// The handle of a descriptor; a negative descriptor gives the invalid handle.
inline void* HandleOf(int descriptor) {
    return descriptor < 0 ? InvalidHandle()
                          : reinterpret_cast<void*>(static_cast<std::uintptr_t>(descriptor));
}

/// The descriptor in a handle, -1 for the invalid handle and for every value outside the range of `int`.
inline int DescriptorOf(void* handle) {
    auto const value = reinterpret_cast<std::uintptr_t>(handle);
    return value <= 0x7FFFFFFFu ? static_cast<int>(value) : -1;
}
#endif

}  // namespace vfile
