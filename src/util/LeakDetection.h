#pragma once

#if defined(PLATE_MEND_LEAK_DETECTION)
#include <sanitizer/lsan_interface.h>
#endif

namespace plate_mend::util {

/// Tells leak detection, if it is on, that this one object stays allocated on purpose.
inline void keep_for_life_of_process([[maybe_unused]] const void* object) {
#if defined(PLATE_MEND_LEAK_DETECTION)
    __lsan_ignore_object(object);
#endif
}

} // namespace plate_mend::util
