# Finds LibRaw and defines LibRaw::LibRaw.
# The thread-safe build (raw_r) is taken where there is one.
find_package(PkgConfig QUIET)
if(PKG_CONFIG_FOUND)
    pkg_check_modules(PC_LibRaw QUIET libraw_r)
endif()
find_path(LibRaw_INCLUDE_DIR libraw/libraw.h HINTS ${PC_LibRaw_INCLUDE_DIRS})
find_library(LibRaw_LIBRARY NAMES raw_r raw HINTS ${PC_LibRaw_LIBRARY_DIRS})
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(LibRaw REQUIRED_VARS LibRaw_LIBRARY LibRaw_INCLUDE_DIR)
if(LibRaw_FOUND AND NOT TARGET LibRaw::LibRaw)
    add_library(LibRaw::LibRaw UNKNOWN IMPORTED)
    set_target_properties(LibRaw::LibRaw PROPERTIES
        IMPORTED_LOCATION "${LibRaw_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${LibRaw_INCLUDE_DIR}")
endif()
mark_as_advanced(LibRaw_INCLUDE_DIR LibRaw_LIBRARY)
