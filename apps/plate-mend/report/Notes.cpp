#include "report/Notes.h"

#include "text/Text.h"

#include <iostream>

namespace plate_mend::host {

void Notes::add(const std::string& text) {
    const std::lock_guard lock(mutex_);
    if (given_.insert(text).second) {
        give_(text);
    }
}

void complain(const std::string& text) {
    std::cerr << "plate-mend: " << printable(text) << '\n' << std::flush;
}

} // namespace plate_mend::host
