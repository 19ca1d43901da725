#include "tests/native/FailingAllocation.h"

#include <cstdlib>
#include <new>

// The forms that containers use; the memory is still the sanitizer's.
void* operator new(std::size_t size) {
    void* memory = mova::allocationsGranted == 0 ? nullptr : std::malloc(size);
    if (!memory) throw std::bad_alloc();
    if (mova::allocationsGranted != SIZE_MAX) --mova::allocationsGranted;
    return memory;
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
