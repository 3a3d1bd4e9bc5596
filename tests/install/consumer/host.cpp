#include <plate_mend/plate_mend.h>
#include <quill_log/quill_log.h>
#include <still_mend/still_mend.h>

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
        std::cout << "repair: code " << code << "\nsalvage: code " << salvaged << ", " << report.width
                  << " x " << report.height << " pixels, " << report.own_mcu_count << " of "
                  << report.mcu_count << " blocks\n";
        return code == PLATE_MEND_OK && salvaged == STILL_MEND_OK ? 0 : 1;
    } catch (const std::exception& e) {
        std::cerr << e.what() << '\n';
        return 1;
    }
}
