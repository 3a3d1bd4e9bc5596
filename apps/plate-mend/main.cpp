#include "CommandLine.h"
#include "platform/Arguments.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv) {
    try {
        return plate_mend::host::run(plate_mend::host::platform::utf8_arguments(argc, argv));
    } catch (const std::exception& e) {
        std::cerr << "plate-mend: " << e.what() << '\n';
        return plate_mend::host::kFailed;
    }
}
