/* raw_host DAMAGED OUTPUT SAMPLE...: repairs one photograph with the engine that understands its sample, and
 * prints what it found, and which parts of the image are lost. */
#include <raw_mend/raw_mend.h>

#include <stdio.h>

#define AREAS 16

static const char* name_of_way(uint32_t way) {
    switch (way) {
    case RAW_MEND_WAY_OWN_TABLES:
        return "by its own tables";
    case RAW_MEND_WAY_CODED_HEADS:
        return "by the heads of its coded pieces";
    case RAW_MEND_WAY_ROWS:
        return "by how its rows fit one another";
    case RAW_MEND_WAY_SAMPLE_PLACES:
        return "at the sample's places";
    case RAW_MEND_WAY_TRIAL_DECODING:
        return "by decoding";
    default:
        return "in another way";
    }
}

static void print_notes(uint32_t notes) {
    if (notes & RAW_MEND_SAMPLE_METADATA) {
        puts("date, exposure and serial number are the sample's");
    }
    if (notes & RAW_MEND_SAMPLE_PICTURES) {
        puts("some previews are the sample's");
    }
    if (notes & RAW_MEND_PIECES_LOST) {
        puts("some pieces are lost; zeros are in their place");
    }
    if (notes & RAW_MEND_PLACES_GUESSED) {
        puts("the place of some pieces is a guess");
    }
    if (notes & RAW_MEND_SAMPLE_PARAMETERS) {
        puts("what a decoder needs besides the image is the sample's");
    }
    if (notes & RAW_MEND_TEXT_MODE_UNDONE) {
        puts("a transfer in text mode was undone");
    }
    if (notes & RAW_MEND_ROTATION_UNDONE) {
        puts("the end was before the beginning, and was put back");
    }
}

/* The shares of pixels, and the first few areas. */
static void print_account(const RawMendReport* report, const RawMendArea* areas, uint32_t count) {
    const double percent = 100.0 / (double)(report->pixel_count == 0 ? 1 : report->pixel_count);
    uint32_t i = 0;
    printf("%.2f %% of the pixels lost, %.2f %% doubtful\n", percent * (double)report->lost_pixel_count,
           percent * (double)report->doubtful_pixel_count);
    for (i = 0; i < count && i < AREAS; ++i) {
        printf("%s: %u x %u pixels at column %u, row %u\n",
               areas[i].kind == RAW_MEND_AREA_LOST ? "lost" : "doubtful", areas[i].width, areas[i].height,
               areas[i].left, areas[i].top);
    }
}

int main(int argc, char** argv) {
    RawMendReport report;
    RawMendArea areas[AREAS];
    uint32_t area_count = 0;
    int32_t result = RAW_MEND_BAD_ARGUMENT;
    if (argc < 4) {
        fprintf(stderr, "usage: raw_host DAMAGED OUTPUT SAMPLE...\n");
        return 64;
    }
    result = RawMendRepairImage(argv[1], (const char* const*)&argv[3], (uint32_t)(argc - 3), argv[2], NULL,
                                &report, areas, AREAS, &area_count);
    if (result != RAW_MEND_OK) {
        fprintf(stderr, "%s: %s\n", argv[1], RawMendDescribe(result));
        return 1;
    }
    printf("%s: image found %s, sample %s\n", argv[1], name_of_way(report.way), argv[3 + report.sample]);
    printf("%.0f of %.0f pieces found, %.0f proved\n", (double)report.found_piece_count,
           (double)report.piece_count, (double)report.proved_piece_count);
    print_account(&report, areas, area_count);
    print_notes(report.notes);
    return 0;
}
