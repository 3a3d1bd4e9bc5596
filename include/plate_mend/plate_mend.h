/** @file
 * plate_mend.h - repairs damaged camera RAW photographs.
 *
 * A damaged photograph has often lost its first kilobytes while its image data are intact.
 * The library writes a new file in one of two ways:
 *
 *   - MndRawAdvanceRepair joins the structure of an intact sample from the same camera to the image data
 *     of the damaged file.
 *   - MndRawGeneralRepair takes the damaged file alone and salvages a JPEG from it.
 *
 * Conventions
 *
 *  1. Strings are NUL-terminated UTF-8, on every platform. They are read during the call and never kept,
 *     freed or changed. No function checks its pointers: a null pointer is undefined behaviour.
 *  2. The extension of the first path, in upper or lower case, selects the format: arw, raw (read as Sony
 *     ARW), sr2, raf, orf, dng, cr2, nef, cr3. The extension is what follows the last dot of the whole path.
 *  3. Results are 32-bit signed integers: 0 for success, negative for failure. Each format has a block of
 *     codes, all listed below. A result of 0 means that the steps were carried out. It does not mean that
 *     the picture decodes, nor that the disk took every byte: check the output, starting with CheckRawFile.
 *  4. Calling order: MndRawInit once, then any number of the other calls, then optionally MndRawDestroy.
 *     The order is not enforced. Without MndRawInit nothing is logged, and an advanced repair puts its
 *     temporary file into the current directory of the process.
 *  5. Threads: the library starts none and takes no lock. MndRawInit must not run during a repair. Two
 *     advanced repairs of one format must not run at the same time in one work directory, since each format
 *     has one fixed name for its temporary file. Different formats may run at the same time, and so may
 *     general repairs and CheckRawFile.
 *  6. Exceptions: the library is C++ and its functions catch nothing of their own. An exception that a
 *     repair does not turn into a code reaches the caller:
 *       - std::system_error for a path that is not well-formed UTF-8 or has 2^31 bytes or more;
 *       - std::filesystem::filesystem_error (a std::system_error) when a path cannot be examined or an old
 *         output or temporary file cannot be removed, outside the stages that turn errors into codes;
 *       - std::bad_alloc when memory runs out, outside these stages;
 *       - for CR3, further exceptions derived from std::exception, as described at MndRawAdvanceRepair.
 *     A host in C++ built with the same toolchain can catch them as std::exception. A host in another
 *     language should pass well-formed paths and keep the library in a process of its own.
 *  7. Files: the damaged file is opened for reading and writing (and for CR3 the sample too), though
 *     neither is ever changed. A file that the process may not write cannot be repaired. Files of 2 GiB or
 *     more are not supported. Inputs and temporary file are mapped, so none of them may be truncated during
 *     a call. Windows prevents that; elsewhere the process receives the signal SIGBUS.
 */
#ifndef PLATE_MEND_PLATE_MEND_H
#define PLATE_MEND_PLATE_MEND_H

#include <stdint.h>

/**
 * PLATE_MEND_API marks the exports.
 *
 *               | building the library             | using it
 *   Windows     | __declspec(dllexport)            | __declspec(dllimport)
 *   elsewhere   | default visibility               | default visibility
 */
#if defined(_WIN32)
#if defined(PLATE_MEND_BUILDING)
#define PLATE_MEND_API __declspec(dllexport)
#else
#define PLATE_MEND_API __declspec(dllimport)
#endif
#else
#define PLATE_MEND_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Results that do not depend on a format. */
enum {
    /** The call succeeded. */
    PLATE_MEND_OK = 0,
    /** The extension of the first path is not one of a supported format; or, from CheckRawFile, LibRaw does
     * not open the file. */
    PLATE_MEND_UNKNOWN = -1,
    /** MndRawInit: the log could not be started. Repairs still work. */
    PLATE_MEND_LOG_FAILED = -1020
};

/** DNG, from MndRawAdvanceRepair. */
enum {
    /** The damaged file or the sample does not exist. The old output has been removed. */
    PLATE_MEND_DNG_INPUT_MISSING = -1021,
    /** The sample or the temporary file could not be opened. Check the work directory. */
    PLATE_MEND_DNG_CLONE_FAILED = -1022,
    /** The sample's structure could not be read. Use another sample. */
    PLATE_MEND_DNG_SAMPLE_UNUSABLE = -1023,
    /** The damaged file has lost the entries that lead to its image. */
    PLATE_MEND_DNG_NOT_FOUND = -1024,
    /** The damaged file ends inside what was read of it. */
    PLATE_MEND_DNG_DAMAGED_UNUSABLE = -1025,
    /** The two files do not belong together, or data to be copied are not inside their file. */
    PLATE_MEND_DNG_MERGE_FAILED = -1026
};

/** Canon CR2, from MndRawAdvanceRepair. */
enum {
    /** The damaged file or the sample does not exist. The old output has been removed. */
    PLATE_MEND_CR2_INPUT_MISSING = -1050,
    /** The sample or the temporary file could not be opened. Check the work directory. */
    PLATE_MEND_CR2_CLONE_FAILED = -1051,
    /** The sample could not be mapped, or its structure could not be read. Use another sample. */
    PLATE_MEND_CR2_SAMPLE_UNUSABLE = -1052,
    /** The damaged file could not be mapped, or has lost the entries that lead to its image. */
    PLATE_MEND_CR2_DAMAGED_UNUSABLE = -1053,
    /** Data to be copied are not inside their file. */
    PLATE_MEND_CR2_MERGE_FAILED = -1054
};

/** Nikon NEF, from MndRawAdvanceRepair. */
enum {
    /** The damaged file or the sample does not exist. The old output has been removed. */
    PLATE_MEND_NEF_INPUT_MISSING = -1060,
    /** The sample or the temporary file could not be opened. Check the work directory. */
    PLATE_MEND_NEF_CLONE_FAILED = -1061,
    /** The sample could not be mapped, or its structure could not be read. Use another sample. */
    PLATE_MEND_NEF_SAMPLE_UNUSABLE = -1062,
    /** The damaged file has lost the entries that lead to its image. */
    PLATE_MEND_NEF_NOT_FOUND = -1063,
    /** The damaged file could not be mapped, or ends inside what was read of it. */
    PLATE_MEND_NEF_DAMAGED_UNUSABLE = -1064,
    /** Data to be copied are not inside their file. */
    PLATE_MEND_NEF_MERGE_FAILED = -1065
};

/** Canon CR3, from MndRawAdvanceRepair. */
enum {
    /** The damaged file or the sample does not exist. The old output has been removed. */
    PLATE_MEND_CR3_INPUT_MISSING = -1090,
    /** The landmarks of the damaged file are in the wrong order. */
    PLATE_MEND_CR3_LANDMARKS_MISPLACED = -1091,
    /** The damaged file has lost a landmark that leads to its image. */
    PLATE_MEND_CR3_NOT_FOUND = -1092,
    /** The image data of a file are not where its tables say. */
    PLATE_MEND_CR3_MISMATCH = -1093,
    /** An offset or a size leads past the end of the sample or of the damaged file. */
    PLATE_MEND_CR3_OUT_OF_RANGE = -1094,
    /** The sample's boxes could not be read. Use another sample. */
    PLATE_MEND_CR3_SAMPLE_UNUSABLE = -1095
};

/** Sony ARW, also for the extension raw, from MndRawAdvanceRepair. */
enum {
    /** The damaged file or the sample does not exist. The old output has been removed. */
    PLATE_MEND_ARW_INPUT_MISSING = -1120,
    /** The sample or the temporary file could not be opened. Check the work directory. */
    PLATE_MEND_ARW_CLONE_FAILED = -1121,
    /** The sample's clone or the damaged file is empty or could not be mapped. */
    PLATE_MEND_ARW_MAP_FAILED = -1122,
    /** An offset leads past the end of the sample or of the damaged file. */
    PLATE_MEND_ARW_OUT_OF_RANGE = -1123,
    /** The damaged file has lost the strip entries that lead to its image. */
    PLATE_MEND_ARW_NOT_FOUND = -1124,
    /** The output could not be opened, or data to be copied are not inside their file. */
    PLATE_MEND_ARW_MERGE_FAILED = -1125,
    /** The sample's structure could not be read, or there was another error. Use another sample. */
    PLATE_MEND_ARW_SAMPLE_UNUSABLE = -1126
};

/** Sony SR2, from MndRawAdvanceRepair. */
enum {
    /** The damaged file or the sample does not exist. The old output has been removed. */
    PLATE_MEND_SR2_INPUT_MISSING = -1130,
    /** The sample or the temporary file could not be opened. Check the work directory. */
    PLATE_MEND_SR2_CLONE_FAILED = -1131,
    /** The sample's clone or the damaged file is empty or could not be mapped. */
    PLATE_MEND_SR2_MAP_FAILED = -1132,
    /** An offset leads past the end of the sample or of the damaged file. */
    PLATE_MEND_SR2_OUT_OF_RANGE = -1133,
    /** The damaged file has lost the strip entries that lead to its image. */
    PLATE_MEND_SR2_NOT_FOUND = -1134,
    /** The output could not be opened, or data to be copied are not inside their file. */
    PLATE_MEND_SR2_MERGE_FAILED = -1135,
    /** The sample's structure could not be read, or there was another error. Use another sample. */
    PLATE_MEND_SR2_SAMPLE_UNUSABLE = -1136
};

/** Olympus ORF, from MndRawAdvanceRepair. */
enum {
    /** The damaged file or the sample does not exist. The old output has been removed. */
    PLATE_MEND_ORF_INPUT_MISSING = -1140,
    /** The sample or the temporary file could not be opened. Check the work directory. */
    PLATE_MEND_ORF_CLONE_FAILED = -1141,
    /** The sample's clone or the damaged file is empty or could not be mapped. */
    PLATE_MEND_ORF_MAP_FAILED = -1142,
    /** An offset leads past the end of the damaged file. */
    PLATE_MEND_ORF_OUT_OF_RANGE = -1143,
    /** The damaged file has lost the strip entries that lead to its image. */
    PLATE_MEND_ORF_NOT_FOUND = -1144,
    /** The sample's header or first directory is not that of an ORF. Use another sample. */
    PLATE_MEND_ORF_SAMPLE_ILLEGAL = -1145,
    /** The output could not be opened, or data to be copied are not inside their file. */
    PLATE_MEND_ORF_MERGE_FAILED = -1146,
    /** The sample lacks an entry or ends too early, or there was another error. Use another sample. */
    PLATE_MEND_ORF_SAMPLE_UNUSABLE = -1147
};

/** Fujifilm RAF, from MndRawAdvanceRepair. */
enum {
    /** The damaged file or the sample does not exist. The old output has been removed. */
    PLATE_MEND_RAF_INPUT_MISSING = -1150,
    /** The sample or the temporary file could not be opened. Check the work directory. */
    PLATE_MEND_RAF_CLONE_FAILED = -1151,
    /** The sample's clone or the damaged file is empty or could not be mapped. */
    PLATE_MEND_RAF_MAP_FAILED = -1152,
    /** An offset leads past the end of a file, or the damaged file has lost the entries that lead to
     * its image. */
    PLATE_MEND_RAF_OUT_OF_RANGE = -1153,
    /** The sample lacks a header, an entry or a marker. Use another sample. */
    PLATE_MEND_RAF_SAMPLE_NOT_FOUND = -1154,
    /** The output could not be opened, or data to be copied are not inside their file. */
    PLATE_MEND_RAF_MERGE_FAILED = -1155,
    /** The sample's structure could not be read, or there was another error. Use another sample. */
    PLATE_MEND_RAF_SAMPLE_UNUSABLE = -1156
};

/**
 * Starts the log and stores the work directory.
 *
 *   log_directory     the directory of "PlateMend.log", to which lines are appended. It must exist.
 *   config_directory  passed to the log library; ours does not read it.
 *   work_directory    the directory for the temporary files of advanced repairs, which have one fixed name
 *                     per format ("temp.arw", "temp.sr2", "temp.raf", "temp.orf", "temp.dng", "temp.cr2",
 *                     "temp.nef"; CR3 needs none). It must exist when a repair runs, with room for a copy
 *                     of the sample. An empty string means the current directory of the process.
 *
 * Returns PLATE_MEND_OK, or PLATE_MEND_LOG_FAILED when the log could not be started; the work directory is
 * stored in either case. A second call moves the log and replaces the work directory. Throws
 * std::system_error for an ill-formed path.
 */
PLATE_MEND_API int32_t MndRawInit(const char* log_directory, const char* config_directory,
                                  const char* work_directory);

/** Does nothing, and may be called at any time. The log and the work directory stay as they are until the
 * process ends. */
PLATE_MEND_API void MndRawDestroy(void);

/**
 * Salvages a JPEG from damaged_file alone and writes it to output_file.
 *
 *   damaged_file  selects the format by its extension; it is only read.
 *   output_file   the salvager writes the JPEG there; a file that exists is replaced on success.
 *
 * Returns PLATE_MEND_OK, PLATE_MEND_UNKNOWN when the extension is none of the nine, or any other code of
 * MndJpegGeneralRepair (see still_mend.h), unchanged. Throws std::system_error for an ill-formed path.
 */
PLATE_MEND_API int32_t MndRawGeneralRepair(const char* damaged_file, const char* output_file);

/**
 * Rebuilds a photograph: writes output_file with the structure of sample_file and the image data of
 * damaged_file.
 *
 *   damaged_file  selects the format by its extension; it must be writable and is not changed.
 *   sample_file   an intact photograph from the same camera, taken with the same settings of size and
 *                 compression. It is not changed; for CR3 it must be writable.
 *   output_file   WARNING: whatever is at this path is deleted first, A DIRECTORY WITH ALL ITS CONTENTS.
 *                 This happens before the inputs are checked, so an output that is also an input is lost.
 *
 * Returns PLATE_MEND_OK, PLATE_MEND_UNKNOWN when the extension is none of the nine (nothing is deleted
 * then), or a code of the format's block above.
 *
 * After a failure the old output is gone; what was written of the new one stays; the temporary file stays
 * in the work directory, and the next repair of the format removes it. After a success the output is
 * complete and the temporary file is removed. Failed writes (a full disk) go unnoticed: compare the size of
 * the output with what you expect.
 *
 * Throws std::system_error for an ill-formed path, std::filesystem::filesystem_error when a path cannot be
 * examined or removed, std::bad_alloc outside the stages that turn errors into codes. For CR3 also an
 * exception whose what() is "Data can not found" when a landmark's tables are missing in the damaged file,
 * and one with "Visiting beyond boundaries" when the output cannot be opened.
 *
 * Example:
 *
 *   if (MndRawInit("logs", "config", "work") != PLATE_MEND_OK)
 *       puts("no log will be written");
 *   if (MndRawAdvanceRepair("broken.arw", "good.arw", "mended.arw") == PLATE_MEND_OK &&
 *       CheckRawFile("mended.arw") == PLATE_MEND_OK)
 *       puts("mended");
 */
PLATE_MEND_API int32_t MndRawAdvanceRepair(const char* damaged_file, const char* sample_file,
                                           const char* output_file);

/**
 * Checks whether LibRaw opens the file. Opening reads the structure, not the image data.
 *
 *   file  of any format that LibRaw knows, whatever its extension; it is only read.
 *
 * Returns PLATE_MEND_OK if it does, otherwise PLATE_MEND_UNKNOWN; then "Could not open file " and the path
 * are written to the standard error stream, and the memory of one LibRaw object stays allocated until the
 * process ends. Throws std::system_error for an ill-formed path, std::bad_alloc.
 */
PLATE_MEND_API int32_t CheckRawFile(const char* file);

#ifdef __cplusplus
}
#endif

#endif /* PLATE_MEND_PLATE_MEND_H */
