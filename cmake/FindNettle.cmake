# Finds Nettle's hash functions and defines Nettle::Nettle.
include(FindPackageHandleStandardArgs)
find_package(PkgConfig QUIET)
if(PKG_CONFIG_FOUND AND NOT CMAKE_CROSSCOMPILING)
    pkg_check_modules(PC_Nettle QUIET nettle)
endif()
find_path(Nettle_INCLUDE_DIR nettle/sha2.h HINTS ${PC_Nettle_INCLUDE_DIRS})
find_library(Nettle_LIBRARY NAMES nettle HINTS ${PC_Nettle_LIBRARY_DIRS})
find_package_handle_standard_args(Nettle REQUIRED_VARS Nettle_LIBRARY Nettle_INCLUDE_DIR)
if(Nettle_FOUND AND NOT TARGET Nettle::Nettle)
    add_library(Nettle::Nettle UNKNOWN IMPORTED)
    set_target_properties(Nettle::Nettle PROPERTIES
        IMPORTED_LOCATION "${Nettle_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${Nettle_INCLUDE_DIR}")
endif()
mark_as_advanced(Nettle_INCLUDE_DIR Nettle_LIBRARY)
