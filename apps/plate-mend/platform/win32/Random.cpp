#include "platform/Random.h"

#include <windows.h>

#include <bcrypt.h>

#include <system_error>

namespace plate_mend::host::platform {

void fill_with_random(std::span<unsigned char> bytes) {
    const NTSTATUS status = ::BCryptGenRandom(nullptr, bytes.data(), static_cast<ULONG>(bytes.size()),
                                              BCRYPT_USE_SYSTEM_PREFERRED_RNG);
    if (status != 0) {
        throw std::system_error(std::make_error_code(std::errc::io_error), "BCryptGenRandom");
    }
}

} // namespace plate_mend::host::platform
