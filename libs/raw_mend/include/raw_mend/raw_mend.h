/** @file
 * raw_mend.h - repairs damaged RAW photographs by understanding an intact sample from the same camera.
 *
 * The sample is read for what it is made of: where its raw image is, in how many pieces, how they are coded,
 * and which numbers in the file say so. The damaged file is then searched for pieces of the same kind. The
 * result is the sample's structure around the damaged file's image, with every offset and length right for
 * it. Formats are recognised by content, never by name: all that are built like TIFF (ARW, SR2, ORF, DNG,
 * CR2, NEF and their kin), RAF, and CR3.
 *
 * Strings are NUL-terminated UTF-8 and are not kept. Functions may be called from several threads at once,
 * and do not throw. There is no global state. Inputs are mapped, and never changed: they must not be
 * truncated while a call runs. Windows refuses that; elsewhere the process gets the signal SIGBUS.
 */
#ifndef RAW_MEND_RAW_MEND_H
#define RAW_MEND_RAW_MEND_H

#include <stdint.h>

/** Marks the exports. */
#if defined(_WIN32)
#if defined(RAW_MEND_BUILDING)
#define RAW_MEND_API __declspec(dllexport)
#else
#define RAW_MEND_API __declspec(dllimport)
#endif
#else
#define RAW_MEND_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Results. After an error, there is no output. */
enum {
    /** The output was written. The report says how much of its image was found, and how much is proved. */
    RAW_MEND_OK = 0,
    /** A required pointer is null, or a count is 0. */
    RAW_MEND_BAD_ARGUMENT = -1,
    /** The damaged file cannot be read: it does not exist, is no regular file, is empty, or access is denied.
     */
    RAW_MEND_DAMAGED_UNREADABLE = -2,
    /** No sample can be read. */
    RAW_MEND_SAMPLE_UNREADABLE = -3,
    /** No sample is a photograph whose structure is understood, with all of its raw image. */
    RAW_MEND_SAMPLE_NOT_UNDERSTOOD = -4,
    /** The damaged file holds no image like that of a sample, or nothing shows where it is. */
    RAW_MEND_NOT_FOUND = -5,
    /** The image was found, but a sample's tables have no room for its offsets or lengths. */
    RAW_MEND_DOES_NOT_FIT = -6,
    /** Something is at the output's path already. It was not touched. */
    RAW_MEND_OUTPUT_EXISTS = -7,
    /** The output cannot be written, or the disk is full. */
    RAW_MEND_OUTPUT_UNWRITABLE = -8,
    /** Memory ran out. */
    RAW_MEND_NO_MEMORY = -9,
    /** Another unexpected error. */
    RAW_MEND_INTERNAL = -10
};

/** How the image was found: RawMendReport.way. */
enum {
    /** Not found. */
    RAW_MEND_WAY_NONE = 0,
    /** By the damaged file's own tables, which may be displaced. Its own structure is kept. */
    RAW_MEND_WAY_OWN_TABLES = 1,
    /** By the heads that the camera writes before each coded piece. */
    RAW_MEND_WAY_CODED_HEADS = 2,
    /** By how the rows of the image fit one another. */
    RAW_MEND_WAY_ROWS = 3,
    /** At the places where the sample has its image. */
    RAW_MEND_WAY_SAMPLE_PLACES = 4,
    /** By decoding from place to place until the data decoded to their end. */
    RAW_MEND_WAY_TRIAL_DECODING = 5
};

/** What to know about a result: the bits of RawMendReport.notes. */
enum {
    /** Date, exposure, serial number and the like are the sample's, not the photograph's. */
    RAW_MEND_SAMPLE_METADATA = 1,
    /** Some previews are the sample's, and show another photograph. RawMendReplacePictures puts others there.
     */
    RAW_MEND_SAMPLE_PICTURES = 2,
    /** Some pieces are lost. Zeros are in their place. */
    RAW_MEND_PIECES_LOST = 4,
    /** The place of some pieces is a guess: others are possible too. */
    RAW_MEND_PLACES_GUESSED = 8,
    /** What a decoder needs besides the image (curves, predictors, levels) is the sample's, and may differ.
     */
    RAW_MEND_SAMPLE_PARAMETERS = 16,
    /** A transfer in text mode had put CR before each LF of the damaged file. That was undone. */
    RAW_MEND_TEXT_MODE_UNDONE = 32,
    /** The photograph's end was at the beginning of the damaged file. It was put back. */
    RAW_MEND_ROTATION_UNDONE = 64,
    /** Another whole photograph was inside this one, which goes on after it. It was left out. */
    RAW_MEND_PHOTOGRAPH_REMOVED = 128,
    /** Only with RAW_MEND_NO_OUTPUT: the damaged file begins with all bytes that the output would have. */
    RAW_MEND_UNCHANGED = 256
};

/** How a repair found the image, and what is proved. A piece is a strip, a tile, or a sample of a track. */
typedef struct RawMendReport {
    /** RAW_MEND_WAY_OWN_TABLES and its like. */
    uint32_t way;
    /** RAW_MEND_SAMPLE_METADATA and its like, combined. */
    uint32_t notes;
    /** Index of the sample that was used. */
    uint32_t sample;
    /** Always 0. */
    uint32_t reserved;
    /** Width of the raw image's frame, in pixels: all that the file keeps, with the borders that pictures do
     * not show. 0 where the file does not say. */
    uint32_t frame_width;
    /** Its height, likewise. */
    uint32_t frame_height;
    /** Pieces of the raw image. */
    uint64_t piece_count;
    /** Pieces that were found. */
    uint64_t found_piece_count;
    /** Found pieces that are proved: coded data decode to their last value at their last byte, deflated data
     * inflate to their check value, rows fit one another. Clusters within rows that are clearly foreign are
     * taken out first, and their pieces are not proved; what looks like the picture is not noticed. */
    uint64_t proved_piece_count;
    /** Pieces that were put together anew, because their bytes are torn apart in the damaged file, or some
     * are lost. Which of their pixels are the photograph's own is in the next three fields. */
    uint64_t mended_piece_count;
    /** Pixels of the frame. */
    uint64_t pixel_count;
    /** Pixels that are not the photograph's own: filled from others, or zero. Those of pieces that were not
     * found are among them. */
    uint64_t lost_pixel_count;
    /** Pixels that may be another's or at the wrong level, since nothing proves them. None of them is counted
     * as lost, too. Pieces that are found and not proved are not among them. */
    uint64_t doubtful_pixel_count;
    /** Offset of the image's first found piece in the damaged file, in bytes. */
    uint64_t image_offset;
    /** Bytes of the output. */
    uint64_t size;
} RawMendReport;

/**
 * Repairs a damaged photograph with intact ones from the same camera.
 *
 *   damaged_file  only read.
 *   sample_files  tried in this order until one leads to a result all of whose pieces are proved, in places
 *                 that are certain, and with no pixel lost or doubtful. If none does, the result with the
 *                 fewest pixels that are lost, doubtful, or in pieces that nothing proves is kept, or the
 *                 earliest of several that are as good.
 *   sample_count  at least 1.
 *   output_file   created; nothing may be at this path.
 *   report        filled if the result is RAW_MEND_OK, and all zeros otherwise. May be null.
 *
 * Returns one of the codes above. If all samples fail, it is that of the first sample that came furthest.
 */
RAW_MEND_API int32_t RawMendRepair(const char* damaged_file, const char* const* sample_files,
                                   uint32_t sample_count, const char* output_file, RawMendReport* report);

/** What becomes of a repair: the bits of RawMendOptions.flags. */
enum {
    /** Lost pixels are zero, or as near to it as the coding allows. Otherwise they are filled from the
     * nearest rows of the same colour. */
    RAW_MEND_NO_FILL = 1,
    /** Nothing is written, and the path of the output is not used: only the report is wanted. */
    RAW_MEND_NO_OUTPUT = 2
};

/** How to repair. All zeros: as RawMendRepair does. */
typedef struct RawMendOptions {
    /** RAW_MEND_NO_FILL and its like, combined; 0 for none. */
    uint32_t flags;
    /** Always 0. */
    uint32_t reserved;
} RawMendOptions;

/** What the pixels of an area are: RawMendArea.kind. */
enum {
    /** Not the photograph's own: RawMendReport.lost_pixel_count. */
    RAW_MEND_AREA_LOST = 1,
    /** Not proved: RawMendReport.doubtful_pixel_count. */
    RAW_MEND_AREA_DOUBTFUL = 2
};

/** No repair returns more areas than this. */
enum { RAW_MEND_MOST_AREAS = 4096 };

/** A rectangle of the raw image's frame. */
typedef struct RawMendArea {
    /** Columns before it. */
    uint32_t left;
    /** Rows above it. */
    uint32_t top;
    /** Columns; at least 1. */
    uint32_t width;
    /** Rows; at least 1. */
    uint32_t height;
    /** RAW_MEND_AREA_LOST or RAW_MEND_AREA_DOUBTFUL. */
    uint32_t kind;
    /** Always 0. */
    uint32_t reserved;
} RawMendArea;

/**
 * As RawMendRepair, with options, and with the areas of the image that are lost or doubtful.
 *
 *   options     null: none. Unknown flags are RAW_MEND_BAD_ARGUMENT, and so is a reserved field that is not
 * 0. areas       receives the first `capacity` of them: the lost ones, then the doubtful ones, each from top
 * to bottom. Every pixel that the report counts is in one. Where there would be more than
 *               RAW_MEND_MOST_AREAS, neighbours become one, which may cover pixels that are neither, and
 *               overlap others. May be null if the capacity is 0.
 *   area_count  receives the number of all: 0 unless the result is RAW_MEND_OK. May be null if the capacity
 * is 0.
 *
 * The other arguments and the result are those of RawMendRepair. With RAW_MEND_NO_OUTPUT, output_file may be
 * null.
 */
RAW_MEND_API int32_t RawMendRepairImage(const char* damaged_file, const char* const* sample_files,
                                        uint32_t sample_count, const char* output_file,
                                        const RawMendOptions* options, RawMendReport* report,
                                        RawMendArea* areas, uint32_t capacity, uint32_t* area_count);

/** How an embedded picture is coded: RawMendPicture.coding. */
enum {
    /** Baseline or progressive JPEG. */
    RAW_MEND_PICTURE_JPEG = 1,
    /** Red, green and blue, 8 bits each, row by row without padding. */
    RAW_MEND_PICTURE_RGB = 2,
    /** Anything else. It cannot be replaced. */
    RAW_MEND_PICTURE_OTHER = 3
};

/** A preview or thumbnail of a photograph. */
typedef struct RawMendPicture {
    /** Width, in pixels; 0 if not known. */
    uint32_t width;
    /** Height, in pixels; 0 if not known. */
    uint32_t height;
    /** RAW_MEND_PICTURE_JPEG and its like. */
    uint32_t coding;
    /** Always 0. */
    uint32_t reserved;
    /** Offset in the file, in bytes. */
    uint64_t offset;
    /** Bytes. */
    uint64_t length;
} RawMendPicture;

/**
 * Lists the previews, thumbnails and other images of a photograph, largest first, apart from its raw image.
 * Those that are not within the file are left out.
 *
 *   file      an intact photograph, or the output of a repair.
 *   pictures  receives the first `capacity` of them. May be null if the capacity is 0.
 *   count     receives the number of all.
 *
 * Returns RAW_MEND_OK, RAW_MEND_BAD_ARGUMENT, RAW_MEND_SAMPLE_UNREADABLE or RAW_MEND_SAMPLE_NOT_UNDERSTOOD
 * (also for the file, which has the role of a sample here), RAW_MEND_NO_MEMORY or RAW_MEND_INTERNAL.
 */
RAW_MEND_API int32_t RawMendPictures(const char* file, RawMendPicture* pictures, uint32_t capacity,
                                     uint32_t* count);

/** Bytes that replace a picture. */
typedef struct RawMendPictureData {
    /** Coded as the picture that they replace: a JPEG from its SOI on, or for RAW_MEND_PICTURE_RGB exactly as
     * many bytes. Null: keep the picture. */
    const unsigned char* bytes;
    /** How many. */
    uint64_t length;
} RawMendPictureData;

/**
 * Writes a copy of a photograph with other pictures. Every offset and length in the copy is right for them.
 * Zeros follow a picture that is shorter than the old one, and may be part of its length.
 *
 *   file         only read.
 *   pictures     as many as RawMendPictures counts, in the same order. The Exif of a JPEG is kept if
 *                the new JPEG has none. A picture inside another one, such as the thumbnail in a JPEG's Exif,
 *                is replaced only by one that is no longer, and not at all if it goes with the one around it.
 *                Widths and heights in the file's tables stay: new pictures should have the old ones' sizes.
 *   count        how many these are.
 *   output_file  created; nothing may be at this path.
 *
 * Returns RAW_MEND_OK, RAW_MEND_BAD_ARGUMENT (also if there are more or fewer pictures than the file has, or
 * the data cannot replace one), RAW_MEND_SAMPLE_UNREADABLE, RAW_MEND_SAMPLE_NOT_UNDERSTOOD,
 * RAW_MEND_DOES_NOT_FIT, RAW_MEND_OUTPUT_EXISTS, RAW_MEND_OUTPUT_UNWRITABLE, RAW_MEND_NO_MEMORY or
 * RAW_MEND_INTERNAL.
 */
RAW_MEND_API int32_t RawMendReplacePictures(const char* file, const RawMendPictureData* pictures,
                                            uint32_t count, const char* output_file);

/** A sentence in English for a result, for people. Never null; static. */
RAW_MEND_API const char* RawMendDescribe(int32_t result);

#ifdef __cplusplus
}
#endif

#endif /* RAW_MEND_RAW_MEND_H */
