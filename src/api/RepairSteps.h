#pragma once

#include <cstdint>
#include <filesystem>

// The steps that repairs have in common. Each repairer calls them itself and writes its own log lines, so
// that an AdvanceRepair reads from top to bottom as what it does.

namespace plate_mend {

/// The three paths of an advanced repair, in a form that the system accepts at any length.
struct RepairPaths {
    std::filesystem::path damaged;
    std::filesystem::path sample;
    std::filesystem::path output;
};

/// Decodes the three UTF-8 arguments, in this order. Throws std::system_error for an ill-formed one.
[[nodiscard]] RepairPaths decode_paths(const char* damaged_file, const char* sample_file,
                                       const char* output_file);

/// Whether there is anything at the path. Throws std::filesystem::filesystem_error ("status") when that
/// cannot be determined.
[[nodiscard]] bool path_exists(const std::filesystem::path& path);

/// Removes a file, or a directory with all its contents. Nothing at the path is not an error. Throws
/// std::filesystem::filesystem_error with the name of the operation that failed: "status", "remove" or
/// "remove_all".
void remove_path(const std::filesystem::path& path);

/// remove_path if there is anything at the path. Throws as the two above.
void clear_path(const std::filesystem::path& path);

/// Whether the damaged file and then the sample exist. Throws as path_exists.
[[nodiscard]] bool inputs_exist(const RepairPaths& paths);

/// The path of a temporary file in the work directory; the name alone when that is empty. It has a form that
/// the system accepts at any length. Each format has one fixed name: see docs/compatibility.md, The
/// interface.
[[nodiscard]] std::filesystem::path temporary_path(const char* file_name);

/// Copies a file with streams. Returns false when either stream could not be opened, or when the source is a
/// directory; there may then be an empty target. Failed writes go unnoticed: see docs/compatibility.md, All
/// formats.
[[nodiscard]] bool clone_file(const std::filesystem::path& from, const std::filesystem::path& to);

/// The general repair of every format: decodes both paths, encodes them back, and passes them to
/// MndJpegGeneralRepair, whose code it returns. Throws std::system_error for an ill-formed path.
[[nodiscard]] std::int32_t run_general_repair(const char* damaged_file, const char* output_file);

} // namespace plate_mend
