/*
 * A host in plain C.
 *
 *   host_in_c DAMAGED SAMPLE OUTPUT     repairs a photograph
 *
 * Strings are UTF-8 on every platform. On Windows this program's manifest asks for that, so that the
 * arguments of main are UTF-8 there too.
 */
#include <plate_mend/plate_mend.h>

#include <stdint.h>
#include <stdio.h>

/* A sentence for the most frequent codes; the header lists all of them. */
static const char* meaning(int32_t code) {
    switch (code) {
    case PLATE_MEND_OK:
        return "repaired";
    case PLATE_MEND_UNKNOWN:
        return "no format is known for this extension";
    case PLATE_MEND_ARW_INPUT_MISSING:
        return "the damaged file or the sample does not exist";
    case PLATE_MEND_ARW_CLONE_FAILED:
        return "the sample could not be copied to the work directory";
    case PLATE_MEND_ARW_MAP_FAILED:
        return "a file is empty, may not be written, or is open in another program";
    case PLATE_MEND_ARW_NOT_FOUND:
        return "the damaged file has lost the entries that lead to its image";
    default:
        return "the repair failed; the header explains the code";
    }
}

static int file_exists(const char* path) {
    FILE* file = fopen(path, "rb");
    if (file == NULL) {
        return 0;
    }
    fclose(file);
    return 1;
}

int main(int argc, char** argv) {
    int32_t code = 0;
    if (argc != 4) {
        fputs("usage: host_in_c DAMAGED SAMPLE OUTPUT\n", stderr);
        return 64;
    }
    /* Warning: the library first deletes whatever is at the output path, a folder with all its contents, even
     * if the repair then fails. So this host refuses an output that exists. */
    if (file_exists(argv[3])) {
        fprintf(stderr, "%s: exists already\n", argv[3]);
        return 1;
    }
    /* Log, configuration and temporary files: all in the current directory here. Once per process. */
    if (MndRawInit(".", ".", ".") != PLATE_MEND_OK) {
        fputs("no log will be written\n", stderr);
    }
    code = MndRawAdvanceRepair(argv[1], argv[2], argv[3]);
    printf("%s: %s (code %d)\n", argv[1], meaning(code), (int)code);
    if (code == PLATE_MEND_OK && CheckRawFile(argv[3]) != PLATE_MEND_OK) {
        /* 0 means that the steps were carried out, not that the picture decodes. */
        printf("%s: written, but LibRaw does not open it\n", argv[3]);
        code = PLATE_MEND_UNKNOWN;
    }
    MndRawDestroy();
    return code == PLATE_MEND_OK ? 0 : 1;
}
