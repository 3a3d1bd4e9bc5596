#pragma once

#include "CR3/CR3.h"

#include "support/Bytes.h"
#include "support/Cr3Photo.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace plate_mend {

using test::ByteOrder;
using test::Bytes;
using test::Cr3Photo;
using test::expected_cr3;

/// Files opened as models, each test in a folder of its own.
class Cr3ModelFixture : public ::testing::Test {
  protected:
    std::shared_ptr<CR3> open(const Bytes& bytes) {
        const auto path = folder / ("file" + std::to_string(++files) + ".cr3");
        test::write_file(path, bytes);
        return std::make_shared<CR3>(path);
    }

    /// Reads a sample up to mdat, and whole; both without blanking.
    static void read_boxes(CR3& cr3) {
        cr3.parse_ftyp();
        cr3.parse_moov();
        cr3.parse_xpacket();
        cr3.parse_preview();
    }
    static void read_all(CR3& cr3) {
        read_boxes(cr3);
        cr3.parse_mdat();
    }
    std::shared_ptr<CR3> read(const Bytes& bytes) {
        auto cr3 = open(bytes);
        read_all(*cr3);
        return cr3;
    }

    /// The damaged file's side of a repair: an object that holds these bytes of tracks 1 and 3.
    std::shared_ptr<CR3> damaged_with(const Bytes& track1, const Bytes& track3) {
        auto cr3 = open(test::joined(test::joined({0}, track1), test::joined(track3, {0})));
        cr3->set_corrupt_track1_offset(1);
        cr3->set_corrupt_track1_size(static_cast<std::uint32_t>(track1.size()));
        cr3->set_corrupt_track3_offset(static_cast<std::uint32_t>(1 + track1.size()));
        cr3->set_corrupt_track3_size(static_cast<std::uint32_t>(track3.size()));
        cr3->read_corrupt_track1();
        cr3->read_corrupt_track3();
        return cr3;
    }

    /// Writes a repair of two objects, and returns the file.
    Bytes write(const std::shared_ptr<CR3>& damaged, const std::shared_ptr<CR3>& sample) {
        const auto path = folder / ("output" + std::to_string(++files) + ".cr3");
        CR3::write_repaired(damaged, sample, path);
        return test::read_file(path);
    }

    /// Reads the photograph's bytes as the sample and repairs with its own tracks.
    Bytes repaired_with_itself(const Cr3Photo& photo) {
        const auto sample = read(photo.bytes);
        sample->blank_previews();
        return write(damaged_with(photo.track(1), photo.track(3)), sample);
    }

    test::TempDir folder;
    int files = 0;
};

} // namespace plate_mend
