#include <plate_mend/plate_mend.h>
#include <quill_log/quill_log.h>
#include <raw_mend/raw_mend.h>
#include <still_mend/still_mend.h>

#include <cstdint>
#include <exception>
#include <iostream>

// A host in C++, with the neighbours of the library.

int main() {
    try {
        MndRawInit(".", ".", ".");
        const auto code = MndRawAdvanceRepair("damaged.arw", "sample.arw", "repaired.arw");
        LogEx("host", QUILL_LOG_INFORMATION, "code %d", code);
        StillMendReport report{};
        const auto salvaged = MndJpegGeneralRepairReport("damaged.arw", "salvaged.jpg", &report);
        std::uint32_t pictures = 0;
        const auto listed = RawMendPictures("sample.arw", nullptr, 0, &pictures);
        std::cout << "repair: code " << code << "\nsalvage: code " << salvaged << ", " << report.width
                  << " x " << report.height << " pixels, " << report.own_mcu_count << " of "
                  << report.mcu_count << " blocks\npictures: " << pictures << ". " << RawMendDescribe(listed)
                  << '\n';
        return code == PLATE_MEND_OK && salvaged == STILL_MEND_OK && pictures == 3 ? 0 : 1;
    } catch (const std::exception& e) {
        std::cerr << e.what() << '\n';
        return 1;
    }
}
