#pragma once

#include <quill_log/quill_log.h>
#include <still_mend/still_mend.h>

#include <stddef.h>

// What the stand-ins for the two neighbours of the library recorded, and what they shall answer. The calls
// go over a C interface, since on Windows each library may have a runtime of its own. Texts stay valid until
// the next reset.

#ifdef __cplusplus
extern "C" {
#endif

QUILL_LOG_API void QuillStandInReset(void); // Forgets all calls; InitLogEx answers 1 again.
QUILL_LOG_API void QuillStandInSetInitResult(unsigned char result);
QUILL_LOG_API size_t QuillStandInInitCount(void);
QUILL_LOG_API const char* QuillStandInInitConfig(size_t call);
QUILL_LOG_API const char* QuillStandInInitModule(size_t call);
QUILL_LOG_API const char* QuillStandInInitFile(size_t call);
QUILL_LOG_API size_t QuillStandInLineCount(void);
QUILL_LOG_API const char* QuillStandInLineModule(size_t line);
QUILL_LOG_API int QuillStandInLineLevel(size_t line);
QUILL_LOG_API const char* QuillStandInLineText(size_t line);

STILL_MEND_API void StillMendStandInReset(void); // Forgets all calls; the answer is 0 again.
STILL_MEND_API void StillMendStandInSetResult(int32_t result);
STILL_MEND_API size_t StillMendStandInCallCount(void);
STILL_MEND_API const char* StillMendStandInDamaged(size_t call);
STILL_MEND_API const char* StillMendStandInOutput(size_t call);

#ifdef __cplusplus
}
#endif
