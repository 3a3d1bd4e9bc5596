/*
 * still_mend.h - salvages a picture from a broken file.
 *
 * Strings are NUL-terminated UTF-8 and are not kept. Functions may be called from several threads at once,
 * and do not throw.
 */
#ifndef STILL_MEND_STILL_MEND_H
#define STILL_MEND_STILL_MEND_H

#include <stdint.h>

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

/* Results of MndJpegGeneralRepair. */
enum {
    /* A picture that decodes was written. */
    STILL_MEND_OK = 0,
    /* The damaged file cannot be read. */
    STILL_MEND_INPUT_UNREADABLE = -1,
    /* The damaged file holds no picture that can be delivered. */
    STILL_MEND_NOTHING_FOUND = -2,
    /* The output cannot be written. */
    STILL_MEND_OUTPUT_UNWRITABLE = -3,
    /* Memory ran out, or another unexpected error. */
    STILL_MEND_INTERNAL = -4
};

/*
 * Finds the largest intact baseline or progressive JPEG inside damaged_file and copies it to output_file.
 *
 *   damaged_file  any file: a photograph in a RAW format, with its embedded previews, or a JPEG. Only read.
 *   output_file   is replaced on success and left alone otherwise.
 *
 * Returns one of the codes above.
 */
STILL_MEND_API int32_t MndJpegGeneralRepair(const char* damaged_file, const char* output_file);

#ifdef __cplusplus
}
#endif

#endif /* STILL_MEND_STILL_MEND_H */
