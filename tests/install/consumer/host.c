#include <plate_mend/plate_mend.h>
#include <stdio.h>

int main(void) {
    int32_t code = 0;
    MndRawInit(".", ".", "."); /* Folders for the log, for settings, for temporary files. */
    code = MndRawAdvanceRepair("damaged.arw", "sample.arw", "repaired.arw");
    printf("code %d\n", (int)code);
    return code == PLATE_MEND_OK && CheckRawFile("repaired.arw") == PLATE_MEND_OK ? 0 : 1;
}
