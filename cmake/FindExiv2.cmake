# Finds Exiv2 and defines Exiv2::Exiv2. The library is looked for itself: its own package files do not name what a
# static one needs, which is its XMP toolkit, Expat, and on Windows the system's library for processes.
include(FindPackageHandleStandardArgs)
find_path(Exiv2_INCLUDE_DIR exiv2/exiv2.hpp)
find_library(Exiv2_LIBRARY NAMES exiv2)
set(parts Exiv2_LIBRARY Exiv2_INCLUDE_DIR)
set(needed "")
if(Exiv2_LIBRARY MATCHES "\\.(a|lib)$")
    find_library(Exiv2_XMP_LIBRARY NAMES exiv2-xmp)
    find_library(Exiv2_EXPAT_LIBRARY NAMES expat)
    list(APPEND parts Exiv2_XMP_LIBRARY Exiv2_EXPAT_LIBRARY)
    set(needed "${Exiv2_XMP_LIBRARY}" "${Exiv2_EXPAT_LIBRARY}")
    if(WIN32)
        list(APPEND needed psapi)
    endif()
endif()
find_package_handle_standard_args(Exiv2 REQUIRED_VARS ${parts})
if(Exiv2_FOUND AND NOT TARGET Exiv2::Exiv2)
    add_library(Exiv2::Exiv2 UNKNOWN IMPORTED)
    set_target_properties(Exiv2::Exiv2 PROPERTIES
        IMPORTED_LOCATION "${Exiv2_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${Exiv2_INCLUDE_DIR}"
        INTERFACE_LINK_LIBRARIES "${needed}")
endif()
mark_as_advanced(Exiv2_INCLUDE_DIR Exiv2_LIBRARY Exiv2_XMP_LIBRARY Exiv2_EXPAT_LIBRARY)
