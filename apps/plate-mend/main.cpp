#include "CommandLine.h"
#include "platform/Arguments.h"
#include "platform/Process.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv) {
    try {
        return plate_mend::host::run(plate_mend::host::platform::utf8_arguments(argc, argv),
                                     plate_mend::host::platform::own_program());
    } catch (const std::exception& e) {
        std::cerr << "plate-mend: " << e.what() << '\n';
        return plate_mend::host::kSomeLost;
    }
}
