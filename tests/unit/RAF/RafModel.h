#pragma once

#include "RAF/RAF.h"

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace plate_mend {

/// Bytes without anything that is searched for.
inline test::Bytes blank_bytes(std::size_t size) {
    return test::Bytes(size, 0xA5);
}

/// Files of a few bytes, each opened as a model.
class RafModel : public ::testing::Test {
  protected:
    RAF open(const test::Bytes& bytes) {
        path = folder / ("file" + std::to_string(++files) + ".raf");
        test::write_file(path, bytes);
        return RAF(path);
    }

    RAF open_big(const test::Bytes& bytes) {
        RAF raf = open(bytes);
        raf.set_big_endian(1);
        return raf;
    }

    /// The message that the body's exception was given; "none" when nothing of the class is thrown.
    template <typename Exception, typename Body>
    static std::string message_of(Body body) {
        try {
            body();
        } catch (const Exception& e) {
            return e.message == nullptr ? "" : e.message;
        }
        return "none";
    }

    test::TempDir folder;
    std::filesystem::path path; ///< The file opened last.
    int files = 0;
};

} // namespace plate_mend
