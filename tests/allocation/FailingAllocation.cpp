#include "allocation/FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

std::size_t allocations_left = 0; // 0: none is to fail.
bool failed = false;

void* allocate(std::size_t size) {
    if (test::allocation_is_to_fail()) {
        throw std::bad_alloc();
    }
    void* memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

namespace test {

FailingAllocation::FailingAllocation(std::size_t number) {
    failed = false;
    allocations_left = number;
}

FailingAllocation::~FailingAllocation() {
    allocations_left = 0;
}

bool FailingAllocation::has_failed() {
    return failed;
}

bool allocation_is_to_fail() {
    if (allocations_left == 0 || --allocations_left != 0) {
        return false;
    }
    failed = true;
    return true;
}

} // namespace test

// All forms but those for over-aligned types: a sanitizer's runtime has its own of each, which do not call
// these.

void* operator new(std::size_t size) {
    return allocate(size);
}

void* operator new[](std::size_t size) {
    return allocate(size);
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return std::malloc(size == 0 ? 1 : size); // Not counted: nobody throws for these.
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return std::malloc(size == 0 ? 1 : size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
