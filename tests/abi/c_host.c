/* A host in plain C: the headers compile as C99, and the exports link and answer. */
#include <plate_mend/plate_mend.h>
#include <quill_log/quill_log.h>
#include <still_mend/still_mend.h>

#include <stdio.h>

int main(void) {
    int failures = 0;
    MndRawDestroy();
    failures += MndRawGeneralRepair("photo.jpg", "out.jpg") != PLATE_MEND_UNKNOWN;
    failures += MndRawAdvanceRepair("photo.jpg", "sample.jpg", "out.jpg") != PLATE_MEND_UNKNOWN;
    failures += MndJpegGeneralRepair("missing.jpg", "out.jpg") == STILL_MEND_OK;
    LogEx("c_host", QUILL_LOG_INFORMATION, "%d failures", failures);
    printf("%d failures\n", failures);
    return failures;
}
