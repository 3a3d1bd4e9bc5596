/* raw_host DAMAGED OUTPUT SAMPLE...: repairs one photograph with the engine that understands its sample, and
 * prints what it found. */
#include <raw_mend/raw_mend.h>

#include <stdio.h>

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
}

int main(int argc, char** argv) {
    RawMendReport report;
    int32_t result = RAW_MEND_BAD_ARGUMENT;
    if (argc < 4) {
        fprintf(stderr, "usage: raw_host DAMAGED OUTPUT SAMPLE...\n");
        return 64;
    }
    result = RawMendRepair(argv[1], (const char* const*)&argv[3], (uint32_t)(argc - 3), argv[2], &report);
    if (result != RAW_MEND_OK) {
        fprintf(stderr, "%s: %s\n", argv[1], RawMendDescribe(result));
        return 1;
    }
    printf("%s: image found %s, sample %s\n", argv[1], name_of_way(report.way), argv[3 + report.sample]);
    printf("%.0f of %.0f pieces found, %.0f proved\n", (double)report.found_piece_count,
           (double)report.piece_count, (double)report.proved_piece_count);
    print_notes(report.notes);
    return 0;
}
