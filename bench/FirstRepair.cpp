#include <plate_mend/plate_mend.h>

#include <dlfcn.h>

#include <filesystem>

// The smallest host: loads the library, initialises it with the folder, makes one repair. Without arguments
// it does nothing.
//
//   first_repair [FOLDER [DAMAGED SAMPLE OUTPUT]]

int main(int count, char** arguments) {
    if (count < 2) {
        return 0;
    }
    const auto library = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "lib_plate_mend.so";
    void* const handle = ::dlopen(library.c_str(), RTLD_NOW);
    if (handle == nullptr) {
        return 1;
    }
    const auto init = reinterpret_cast<decltype(&MndRawInit)>(::dlsym(handle, "MndRawInit"));
    const auto repair =
        reinterpret_cast<decltype(&MndRawAdvanceRepair)>(::dlsym(handle, "MndRawAdvanceRepair"));
    if (init(arguments[1], arguments[1], arguments[1]) != 0) {
        return 1;
    }
    return count < 5 || repair(arguments[2], arguments[3], arguments[4]) == 0 ? 0 : 1;
}
