/** @file
 * still_mend.h - salvages a picture from a broken file.
 *
 * Strings are NUL-terminated UTF-8 and are not kept. Functions may be called from several threads at once,
 * and do not throw. The damaged file is mapped: nobody may cut it short while a call runs. Windows refuses
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

/** Results of both functions. */
enum {
    /** A picture that decodes was written. */
    STILL_MEND_OK = 0,
    /** The damaged file cannot be read: it is not there, or is no regular file, or is closed to us. */
    STILL_MEND_INPUT_UNREADABLE = -1,
    /** The damaged file holds no picture that can be delivered. Nothing was written. */
    STILL_MEND_NOTHING_FOUND = -2,
    /** The output cannot be written, or something that is not a regular file stands there or at the name
     * with ".part" behind it. */
    STILL_MEND_OUTPUT_UNWRITABLE = -3,
    /** Memory ran out, or another unexpected error. */
    STILL_MEND_INTERNAL = -4,
    /** Only a thumbnail is left. It decodes, and was written. */
    STILL_MEND_ONLY_THUMBNAIL = -5
};

/** What was done to the picture: the bits of StillMendReport.warnings. */
enum {
    /** The header was damaged; what was left of it was put together. */
    STILL_MEND_HEADER_REBUILT = 1,
    /** Quantisation or Huffman tables were taken from another picture of the file. */
    STILL_MEND_TABLES_BORROWED = 2,
    /** Huffman tables were lost, and the standard ones fit. */
    STILL_MEND_TABLES_STANDARD = 4,
    /** Size and sampling were taken from another picture of the file. */
    STILL_MEND_FRAME_BORROWED = 8,
    /** The restart interval was lost, and the markers told it. */
    STILL_MEND_INTERVAL_INFERRED = 16,
    /** The end of the picture was lost, and one was put in its place. */
    STILL_MEND_END_ADDED = 32,
    /** Parts of the picture are lost. They are grey, or bridged between what is above and below. */
    STILL_MEND_PARTS_LOST = 64,
    /** Parts were found again behind damage without a restart marker: their place was found by their fit. */
    STILL_MEND_RESYNCHRONISED = 128,
    /** The coefficients were coded anew, with the picture's own quantisation. Otherwise the coded data are
     * the camera's, bit for bit. */
    STILL_MEND_REENCODED = 256
};

/** first_bad_byte of a picture that has none. */
#define STILL_MEND_NO_BAD_BYTE UINT64_MAX

/**
 * How much of the delivered picture is the photographer's own. An MCU is the smallest area that is coded as a
 * whole, 8 x 8 to 32 x 32 pixels.
 */
typedef struct StillMendReport {
    /** Of the picture, in pixels. */
    uint32_t width;
    /** Of the picture, in pixels. */
    uint32_t height;
    /** MCUs of the picture. */
    uint64_t mcu_count;
    /** MCUs that were decoded from the file and stand in their place. */
    uint64_t own_mcu_count;
    /** Of these, MCUs that miss fine detail: later scans of a progressive picture. */
    uint64_t coarse_mcu_count;
    /** Where in the damaged file the picture begins, in bytes. */
    uint64_t picture_offset;
    /** Offset in the damaged file of about the first byte that is not as it should be, or
     * STILL_MEND_NO_BAD_BYTE. */
    uint64_t first_bad_byte;
    /** STILL_MEND_HEADER_REBUILT and its like, added up. */
    uint32_t warnings;
    /** MCUs that were decoded from the file and are shown where they fit best, but whose place is not sure.
     * They are not part of own_mcu_count. */
    uint32_t guessed_mcu_count;
} StillMendReport;

/**
 * Salvages the best picture inside damaged_file: a JPEG that is whole, or what can be put together of one
 * that is not. Of several pictures it takes the one of which the most pixels are left.
 *
 *   damaged_file  any file: a photograph in a RAW format, with its embedded previews, or a JPEG. Only read.
 *   output_file   a JPEG of the original's size. Replaced when a picture was found, left alone otherwise.
 *                 On the way a file of that name with ".part" behind it is written.
 *
 * Coded data that decode are kept as they are. A file that is a JPEG, and decodes to its end without a
 * warning, is copied with all that follows its end. Returns one of the codes above.
 */
STILL_MEND_API int32_t MndJpegGeneralRepair(const char* damaged_file, const char* output_file);

/**
 * Does the same, and tells how much of the picture is left.
 *
 *   report  is filled when the result is STILL_MEND_OK or STILL_MEND_ONLY_THUMBNAIL, and all zeros otherwise.
 *           May be null.
 *
 * Returns what MndJpegGeneralRepair returns.
 */
STILL_MEND_API int32_t MndJpegGeneralRepairReport(const char* damaged_file, const char* output_file,
                                                  StillMendReport* report);

#ifdef __cplusplus
}
#endif

#endif /* STILL_MEND_STILL_MEND_H */
