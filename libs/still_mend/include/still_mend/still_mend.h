/** @file
 * still_mend.h - salvages a picture from a damaged file.
 *
 * Strings are NUL-terminated UTF-8 and are not kept. Functions may be called from several threads at once,
 * and do not throw. The damaged file is mapped: it must not be truncated while a call runs. Windows refuses
 * that; elsewhere the process gets the signal SIGBUS.
 */
#ifndef STILL_MEND_STILL_MEND_H
#define STILL_MEND_STILL_MEND_H

#include <stdint.h>

/** Marks the exports. */
#if defined(_WIN32)
#if defined(STILL_MEND_BUILDING)
#define STILL_MEND_API __declspec(dllexport)
#else
#define STILL_MEND_API __declspec(dllimport)
#endif
#else
#define STILL_MEND_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Results of all functions. */
enum {
    /** A picture that decodes was written. */
    STILL_MEND_OK = 0,
    /** The damaged file cannot be read: it does not exist, is no regular file, or access is denied. */
    STILL_MEND_INPUT_UNREADABLE = -1,
    /** The damaged file holds no picture that can be delivered. Nothing was written. */
    STILL_MEND_NOTHING_FOUND = -2,
    /** The output cannot be written, or something that is not a regular file is at its path or at that path
     * with ".part" added. */
    STILL_MEND_OUTPUT_UNWRITABLE = -3,
    /** Memory ran out, or another unexpected error. */
    STILL_MEND_INTERNAL = -4,
    /** Only a thumbnail survives. It decodes, and was written. */
    STILL_MEND_ONLY_THUMBNAIL = -5,
    /** The sample cannot be read, or holds no JPEG with a complete header. */
    STILL_MEND_SAMPLE_UNUSABLE = -6
};

/** What was done to the picture: the bits of StillMendReport.warnings. */
enum {
    /** The header was damaged, and was rebuilt from what survives. */
    STILL_MEND_HEADER_REBUILT = 1,
    /** Quantisation or Huffman tables were taken from another picture of the file. */
    STILL_MEND_TABLES_BORROWED = 2,
    /** Huffman tables were lost, and the standard ones fit. */
    STILL_MEND_TABLES_STANDARD = 4,
    /** Size and sampling were taken from another picture of the file. */
    STILL_MEND_FRAME_BORROWED = 8,
    /** The restart interval was lost, and was inferred from the markers. */
    STILL_MEND_INTERVAL_INFERRED = 16,
    /** The end of the picture was lost, and EOI was added. */
    STILL_MEND_END_ADDED = 32,
    /** Parts of the picture are lost. They are grey, or bridged between what is above and below. */
    STILL_MEND_PARTS_LOST = 64,
    /** Parts were found again after damage without a restart marker, and placed where they fit. */
    STILL_MEND_RESYNCHRONISED = 128,
    /** The picture was re-encoded from its coefficients, with its own quantisation. Otherwise the coded data
     * are the camera's, bit for bit. */
    STILL_MEND_REENCODED = 256,
    /** Tables, or size and sampling, were taken from the sample. */
    STILL_MEND_FROM_SAMPLE = 512,
    /** A transfer in text mode had put CR before each LF of the file. That was undone. */
    STILL_MEND_TEXT_MODE_UNDONE = 1024,
    /** Clusters of the file were in another order, repeated, or parted by foreign data. They were put in
     * order. */
    STILL_MEND_PUT_IN_ORDER = 2048
};

/** first_bad_byte of a picture that has none. */
#define STILL_MEND_NO_BAD_BYTE UINT64_MAX

/**
 * How much of the delivered picture is the photographer's own. An MCU is the smallest area that is coded as a
 * unit, 8 x 8 to 32 x 32 pixels.
 */
typedef struct StillMendReport {
    /** Width of the picture, in pixels. */
    uint32_t width;
    /** Height of the picture, in pixels. */
    uint32_t height;
    /** MCUs of the picture. */
    uint64_t mcu_count;
    /** MCUs that were decoded from the file and are in their place. */
    uint64_t own_mcu_count;
    /** How many of these lack fine detail: later scans of a progressive picture. */
    uint64_t coarse_mcu_count;
    /** Where in the damaged file the picture begins, in bytes. */
    uint64_t picture_offset;
    /** Offset in the damaged file of about the first damaged byte, or
     * STILL_MEND_NO_BAD_BYTE. */
    uint64_t first_bad_byte;
    /** STILL_MEND_HEADER_REBUILT and its like, combined. */
    uint32_t warnings;
    /** MCUs that were decoded from the file and are shown where they fit best, but whose place is not
     * certain. They are not part of own_mcu_count. */
    uint32_t guessed_mcu_count;
} StillMendReport;

/**
 * Salvages the best picture inside damaged_file: a JPEG that is intact, or what can be rebuilt of one
 * that is not. If there are several pictures, the one of which the most pixels survive is delivered.
 *
 *   damaged_file  any file: a photograph in a RAW format, with its embedded previews, or a JPEG. Only read.
 *   output_file   a JPEG of the original's size. Replaced if a picture was found, left alone otherwise.
 *                 Written first to the same path with ".part" added.
 *
 * Coded data that decode to the end are kept as they are. A file that is a JPEG, and decodes to its end
 * without a warning, is copied with all that follows its end. Returns one of the codes above.
 */
STILL_MEND_API int32_t MndJpegGeneralRepair(const char* damaged_file, const char* output_file);

/**
 * Does the same, and reports how much of the picture survives.
 *
 *   report  is filled if the result is STILL_MEND_OK or STILL_MEND_ONLY_THUMBNAIL, and all zeros otherwise.
 *           May be null.
 *
 * Returns what MndJpegGeneralRepair returns.
 */
STILL_MEND_API int32_t MndJpegGeneralRepairReport(const char* damaged_file, const char* output_file,
                                                  StillMendReport* report);

/**
 * Does the same with an intact photograph from the same camera, taken with the same settings: it lends what
 * the damaged file's header lacks, up to all of it. Size, sampling, tables and restart interval are taken
 * from it, but no metadata.
 *
 *   sample_file  a JPEG, or a RAW photograph with JPEG previews. Only read.
 *
 * Without its beginning, a scan is decoded from where its data survive. The places of its MCUs follow from
 * its end; their brightness and colour are an estimate, so they count as guessed. Returns what
 * MndJpegGeneralRepair returns, or STILL_MEND_SAMPLE_UNUSABLE.
 */
STILL_MEND_API int32_t MndJpegSampleRepair(const char* damaged_file, const char* sample_file,
                                           const char* output_file, StillMendReport* report);

#ifdef __cplusplus
}
#endif

#endif /* STILL_MEND_STILL_MEND_H */
