#pragma once

#include "facts/FilePages.h"
#include "facts/PhotographFacts.h"

#include <bit>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace plate_mend::host {

/// Reads the structures of a file: TIFF with its directories and maker notes, and the heads of JPEGs that
/// these name. Whatever the file says, each directory and each JPEG is read once, and few of them.
class StructureReader {
  public:
    /// Both must outlive the reader.
    StructureReader(FilePages& file, PhotographFacts& facts) : file_(file), facts_(facts) {}

    /// Adds what the TIFF structure at an offset says, with all that it leads to. Returns whether it has a
    /// directory.
    bool add_tiff(std::uint64_t header);

    /// Adds what a TIFF structure says whose only directory is that of Canon's maker notes.
    void add_canon_notes(std::uint64_t header);

    /// Adds what the head of a JPEG says, and its Exif data.
    void add_jpeg(std::uint64_t jpeg);

  private:
    /// What a directory is, which decides what its tags mean.
    enum class Role { kMain, kExif, kCanonNote, kNikonNote, kOlympusNote, kOlympusSettings, kPentaxNote };
    struct Pointer {
        std::uint64_t offset; ///< Of the directory.
        std::uint64_t base;   ///< Offsets in it count from here.
        std::endian order;
        Role role;
    };
    struct Entry;
    struct Picture;

    bool add_tiff(std::uint64_t header, Role role);
    /// Its entries; empty if no directory is there, or if it was read before.
    [[nodiscard]] std::vector<Entry> entries_at(const Pointer& directory);
    [[nodiscard]] std::string text_of(const Entry& entry);
    [[nodiscard]] std::uint32_t first_of(const Entry& entry, const Pointer& directory);
    void read_directory(const Pointer& directory, const std::vector<Entry>& entries);
    void read_main(const Entry& entry, const Pointer& directory, Picture& picture);
    void read_note_entry(const Entry& entry, const Pointer& directory);
    void add_picture(const Picture& picture, const Pointer& directory);
    void add_sub_directories(const Entry& entry, const Pointer& directory);
    void add_maker_note(std::uint64_t note, const Pointer& exif);

    FilePages& file_;
    PhotographFacts& facts_;
    std::set<std::uint64_t> directories_; ///< Offsets of those that were read.
    std::set<std::uint64_t> jpegs_;
    std::vector<Pointer> pointers_; ///< Directories that are still to be read.
};

} // namespace plate_mend::host
