#include "allocation/FailingAllocation.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

// Replaces the functions by which libjpeg allocates memory, where it is a shared library: the program's are
// found first.

namespace {

std::size_t count_of_jpeg_allocations = 0;

void* allocate(std::size_t size) {
    ++count_of_jpeg_allocations;
    return test::allocation_is_to_fail() ? nullptr : std::malloc(size);
}

} // namespace

extern "C" {
[[gnu::visibility("default")]] void* jpeg_get_small(j_common_ptr /*info*/, std::size_t size) {
    return allocate(size);
}

[[gnu::visibility("default")]] void* jpeg_get_large(j_common_ptr /*info*/, std::size_t size) {
    return allocate(size);
}
}

namespace test {
namespace {

TEST(FailingJpegAllocation, CountsThoseOfLibjpeg) {
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    const std::size_t before = count_of_jpeg_allocations;
    jpeg_create_decompress(&info);
    EXPECT_GT(count_of_jpeg_allocations, before);
    jpeg_destroy_decompress(&info);
}

} // namespace
} // namespace test
