# Finds Exiv2 and defines Exiv2::Exiv2. The package files that it installs name its own build's dependencies, so the
# library is looked for itself; a static one brings its XMP toolkit and Expat.
include(FindPackageHandleStandardArgs)
find_path(Exiv2_INCLUDE_DIR exiv2/exiv2.hpp)
find_library(Exiv2_LIBRARY NAMES exiv2)
find_library(Exiv2_XMP_LIBRARY NAMES exiv2-xmp)
find_library(Exiv2_EXPAT_LIBRARY NAMES expat libexpat)
set(Exiv2_required Exiv2_LIBRARY Exiv2_INCLUDE_DIR)
if(Exiv2_LIBRARY MATCHES "\\.a$|\\.lib$")
    list(APPEND Exiv2_required Exiv2_XMP_LIBRARY Exiv2_EXPAT_LIBRARY)
endif()
find_package_handle_standard_args(Exiv2 REQUIRED_VARS ${Exiv2_required})
if(Exiv2_FOUND AND NOT TARGET Exiv2::Exiv2)
    add_library(Exiv2::Exiv2 UNKNOWN IMPORTED)
    set_target_properties(Exiv2::Exiv2 PROPERTIES
        IMPORTED_LOCATION "${Exiv2_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${Exiv2_INCLUDE_DIR}")
    if(Exiv2_XMP_LIBRARY IN_LIST Exiv2_required OR "Exiv2_XMP_LIBRARY" IN_LIST Exiv2_required)
        set_target_properties(Exiv2::Exiv2 PROPERTIES
            INTERFACE_LINK_LIBRARIES "${Exiv2_XMP_LIBRARY};${Exiv2_EXPAT_LIBRARY}")
    endif()
endif()
mark_as_advanced(Exiv2_INCLUDE_DIR Exiv2_LIBRARY Exiv2_XMP_LIBRARY Exiv2_EXPAT_LIBRARY)
