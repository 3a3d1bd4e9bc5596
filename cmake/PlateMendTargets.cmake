# Settings shared by all targets of this project: language standard, warnings, sanitizers, hidden symbols.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# All programs and shared libraries are in one folder, so that each library finds the others through $ORIGIN (ELF) or
# the folder of the program (Windows).
set(PLATE_MEND_BIN_DIR "${PROJECT_BINARY_DIR}/bin")

add_library(plate_mend_warnings INTERFACE)
if(MSVC)
    target_compile_options(plate_mend_warnings INTERFACE /W4 /utf-8 /Zc:preprocessor $<$<BOOL:${PLATE_MEND_WERROR}>:/WX>)
else()
    target_compile_options(plate_mend_warnings INTERFACE
        -Wall -Wextra -Wpedantic -Wconversion -Wshadow $<$<BOOL:${PLATE_MEND_WERROR}>:-Werror>)
    # At -O3, GCC 12 warns of overlaps in std::string where there are none.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        target_compile_options(plate_mend_warnings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
    endif()
endif()

# Keeps windows.h from defining min and max.
add_library(plate_mend_definitions INTERFACE)
target_compile_definitions(plate_mend_definitions INTERFACE $<$<BOOL:${WIN32}>:NOMINMAX>)

add_library(plate_mend_sanitizers INTERFACE)
if(PLATE_MEND_SANITIZE)
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    # With sanitizers, GCC warns of uninitialised reads in std::regex where there are none.
    target_compile_options(plate_mend_sanitizers INTERFACE ${sanitizers}
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(plate_mend_sanitizers INTERFACE ${sanitizers})
    target_compile_definitions(plate_mend_sanitizers INTERFACE PLATE_MEND_LEAK_DETECTION=1)
endif()

# Records which branches an input takes, for libFuzzer. The harnesses link its main function.
if(PLATE_MEND_BUILD_FUZZ)
    target_compile_options(plate_mend_sanitizers INTERFACE -fsanitize=fuzzer-no-link)
endif()

# plate_mend_target(<target>): applies the settings above to one target.
function(plate_mend_target target)
    target_link_libraries(${target} PRIVATE plate_mend_warnings plate_mend_definitions plate_mend_sanitizers)
    # The sanitized libraries need the runtime's C++ part, even in a program of C.
    if(PLATE_MEND_SANITIZE)
        set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX)
    endif()
    set_target_properties(${target} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        C_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
endfunction()

# plate_mend_console_program(<target>): a program that people start. Until it is installed, it is in the folder of the
# shared libraries. On Windows, its manifest requests UTF-8 and long paths.
function(plate_mend_console_program target)
    set_target_properties(${target} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY "${PLATE_MEND_BIN_DIR}"
        BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN")
    if(MSVC)
        target_sources(${target} PRIVATE "${PROJECT_SOURCE_DIR}/cmake/program.manifest")
    elseif(WIN32)
        target_sources(${target} PRIVATE "${PROJECT_SOURCE_DIR}/cmake/program.rc")
        target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}/cmake")
        set_source_files_properties("${PROJECT_SOURCE_DIR}/cmake/program.rc" PROPERTIES
            OBJECT_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/program.manifest")
    endif()
endfunction()

# plate_mend_shared_library(<target> <file name> <symbol>...): a shared library with exactly these exports.
# On ELF, a version script hides everything else; on Windows, the exports are the functions marked dllexport.
function(plate_mend_shared_library target name)
    set_target_properties(${target} PROPERTIES
        PREFIX "" IMPORT_PREFIX "" OUTPUT_NAME "${name}" DEBUG_POSTFIX ""
        RUNTIME_OUTPUT_DIRECTORY "${PLATE_MEND_BIN_DIR}"
        LIBRARY_OUTPUT_DIRECTORY "${PLATE_MEND_BIN_DIR}"
        BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN")
    if(NOT WIN32)
        list(JOIN ARGN ";\n    " symbols)
        set(script "${CMAKE_CURRENT_BINARY_DIR}/${target}.map")
        file(CONFIGURE OUTPUT "${script}" CONTENT "{\n  global:\n    @symbols@;\n  local:\n    *;\n};\n" @ONLY)
        target_link_options(${target} PRIVATE "LINKER:--version-script=${script}")
        # The sanitizers' runtime is linked into the program, not into the library.
        if(NOT PLATE_MEND_SANITIZE)
            target_link_options(${target} PRIVATE "LINKER:--no-undefined")
        endif()
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${script}")
    endif()
endfunction()
