# spdlog as a header-only library.
include(CMakeFindDependencyMacro)
find_dependency(fmt CONFIG)
if(NOT TARGET spdlog::spdlog_header_only)
    add_library(spdlog::spdlog_header_only INTERFACE IMPORTED)
    set_target_properties(spdlog::spdlog_header_only PROPERTIES
        INTERFACE_COMPILE_DEFINITIONS SPDLOG_FMT_EXTERNAL
        INTERFACE_INCLUDE_DIRECTORIES "${CMAKE_CURRENT_LIST_DIR}/../../../include"
        INTERFACE_LINK_LIBRARIES fmt::fmt-header-only)
endif()
