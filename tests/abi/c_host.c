/* A host in plain C: the headers compile as C99, and the exports link and answer. */
#include <plate_mend/plate_mend.h>
#include <quill_log/quill_log.h>
#include <raw_mend/raw_mend.h>
#include <still_mend/still_mend.h>

#include <stdio.h>

int main(void) {
    const char* samples[] = {"sample.jpg"};
    int failures = 0;
    MndRawDestroy();
    failures += MndRawGeneralRepair("photo.jpg", "out.jpg") != PLATE_MEND_UNKNOWN;
    failures += MndRawAdvanceRepair("photo.jpg", "sample.jpg", "out.jpg") != PLATE_MEND_UNKNOWN;
    failures += MndJpegGeneralRepair("missing.jpg", "out.jpg") == STILL_MEND_OK;
    failures += RawMendRepair("missing.arw", samples, 1, "out.arw", 0) != RAW_MEND_DAMAGED_UNREADABLE;
    failures += RawMendRepairImage("missing.arw", samples, 1, "out.arw", 0, 0, 0, 0, 0) !=
                RAW_MEND_DAMAGED_UNREADABLE;
    failures += RawMendPictures("missing.arw", 0, 0, 0) != RAW_MEND_BAD_ARGUMENT;
    failures += RawMendDescribe(RAW_MEND_OK)[0] == 0;
    LogEx("c_host", QUILL_LOG_INFORMATION, "%d failures", failures);
    printf("%d failures\n", failures);
    return failures;
}
