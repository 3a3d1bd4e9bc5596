# cmake --install: the four libraries with their headers, the files through which CMake and pkg-config find them, and
# the program. The whole installation can be moved afterwards.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(PLATE_MEND_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/plate_mend")

set_property(TARGET plate_mend raw_mend still_mend quill_log APPEND PROPERTY
    INTERFACE_INCLUDE_DIRECTORIES "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
install(TARGETS plate_mend raw_mend still_mend quill_log EXPORT plate_mendTargets
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(DIRECTORY
    "${PROJECT_SOURCE_DIR}/include/plate_mend"
    "${PROJECT_SOURCE_DIR}/libs/raw_mend/include/raw_mend"
    "${PROJECT_SOURCE_DIR}/libs/still_mend/include/still_mend"
    "${PROJECT_SOURCE_DIR}/libs/quill_log/include/quill_log"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")

install(EXPORT plate_mendTargets NAMESPACE plate_mend:: DESTINATION "${PLATE_MEND_CMAKE_DIR}")
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/plate_mendConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/plate_mendConfig.cmake" INSTALL_DESTINATION "${PLATE_MEND_CMAKE_DIR}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/plate_mendConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/plate_mendConfig.cmake" "${PROJECT_BINARY_DIR}/plate_mendConfigVersion.cmake"
    DESTINATION "${PLATE_MEND_CMAKE_DIR}")

# plate_mend_pkg_config(<name> <library> <description>): installs NAME.pc, whose paths are relative to its own folder.
function(plate_mend_pkg_config name library description)
    set(pkg_config_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
    foreach(dir LIBDIR INCLUDEDIR)
        if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
            set(${dir} "${CMAKE_INSTALL_${dir}}")
        else()
            set(${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
        endif()
    endforeach()
    set(prefix "${CMAKE_INSTALL_PREFIX}")
    if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
        file(RELATIVE_PATH up "/${pkg_config_dir}" "/")
        string(REGEX REPLACE "/$" "" prefix "\${pcfiledir}/${up}")
    endif()
    configure_file("${PROJECT_SOURCE_DIR}/cmake/pkg-config.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${name}.pc" DESTINATION "${pkg_config_dir}")
endfunction()
plate_mend_pkg_config(plate_mend _plate_mend "${PROJECT_DESCRIPTION}")
plate_mend_pkg_config(raw_mend _raw_mend "Repairs damaged raw photographs with any intact sample")
plate_mend_pkg_config(still_mend _still_mend "Salvages a picture from a broken file")
plate_mend_pkg_config(quill_log QuillLogSDK "A small log: one file, lines with time, level and module")

if(PLATE_MEND_BUILD_HOST)
    file(RELATIVE_PATH libraries "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
    set_property(TARGET plate_mend_program APPEND PROPERTY INSTALL_RPATH "$ORIGIN/${libraries}")
    install(TARGETS plate_mend_program RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()

# A desktop's menu opens the window; on Windows, a file beside the folders does.
if(PLATE_MEND_BUILD_HOST AND WIN32)
    install(FILES "${PROJECT_SOURCE_DIR}/cmake/plate-mend.cmd" DESTINATION .)
elseif(PLATE_MEND_BUILD_HOST)
    install(FILES "${PROJECT_SOURCE_DIR}/cmake/plate-mend.desktop" DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
    install(FILES "${PROJECT_SOURCE_DIR}/apps/plate-mend/window/page/icon.svg" RENAME plate-mend.svg
        DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps")
endif()

# The program writes its manual and completions itself, so they are available only if it runs on this machine.
option(PLATE_MEND_MANUAL "Install the manual and the completions that the program writes" ON)
if(PLATE_MEND_BUILD_HOST AND PLATE_MEND_MANUAL AND NOT WIN32 AND NOT CMAKE_CROSSCOMPILING)
    set(manual "${PROJECT_BINARY_DIR}/manual")
    set(files plate-mend.1.gz plate-mend.bash plate-mend.zsh plate-mend.fish)
    list(TRANSFORM files PREPEND "${manual}/")
    add_custom_command(OUTPUT ${files}
        COMMAND ${CMAKE_COMMAND} "-DPROGRAM=$<TARGET_FILE:plate_mend_program>" "-DFOLDER=${manual}"
                -P "${PROJECT_SOURCE_DIR}/cmake/WriteManual.cmake"
        DEPENDS plate_mend_program "${PROJECT_SOURCE_DIR}/cmake/WriteManual.cmake" VERBATIM)
    add_custom_target(plate_mend_manual ALL DEPENDS ${files})
    install(FILES "${manual}/plate-mend.1.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
    install(FILES "${manual}/plate-mend.bash" DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
        RENAME plate-mend)
    install(FILES "${manual}/plate-mend.zsh" DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions"
        RENAME _plate-mend)
    install(FILES "${manual}/plate-mend.fish" DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")
endif()

# plate_mend_debian_copyright(<output>): writes LICENSE in Debian's form: the holders in a field, then the text without
# title and notice, each line indented by one space, with a dot on each empty line.
function(plate_mend_debian_copyright output)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/LICENSE")
    file(READ "${PROJECT_SOURCE_DIR}/LICENSE" text)
    if(NOT text MATCHES "^MIT License\n\nCopyright \\(c\\) ([^\n]+)\n\n(.+)\n$")
        message(FATAL_ERROR "LICENSE does not begin with its title and one notice")
    endif()
    set(copyright_holders "${CMAKE_MATCH_1}")
    set(licence_text "\n${CMAKE_MATCH_2}")
    string(REGEX REPLACE "\n\n" "\n.\n" licence_text "${licence_text}")
    string(REPLACE "\n" "\n " licence_text "${licence_text}")
    string(SUBSTRING "${licence_text}" 1 -1 licence_text)
    configure_file("${PROJECT_SOURCE_DIR}/cmake/debian/copyright.in" "${output}" @ONLY)
endfunction()

# The pages, and the files that they link to.
if(WIN32)
    set(pages .)
else()
    set(pages "${CMAKE_INSTALL_DATADIR}/doc/plate-mend")
    file(ARCHIVE_CREATE OUTPUT "${PROJECT_BINARY_DIR}/changelog.gz" PATHS "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
        FORMAT raw COMPRESSION GZip COMPRESSION_LEVEL 9)
    install(FILES "${PROJECT_BINARY_DIR}/changelog.gz" DESTINATION "${pages}")
    plate_mend_debian_copyright("${PROJECT_BINARY_DIR}/copyright")
    install(FILES "${PROJECT_BINARY_DIR}/copyright" DESTINATION "${pages}")
endif()
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE DESTINATION "${pages}")
install(DIRECTORY docs DESTINATION "${pages}" FILES_MATCHING PATTERN *.md PATTERN *.jpg)
install(DIRECTORY examples/c examples/csharp DESTINATION "${pages}/examples"
    FILES_MATCHING PATTERN *.c PATTERN *.cs PATTERN *.csproj)

# On Windows, the licences of everything linked in are installed too; prepare-sysroot collects them.
if(WIN32 AND PLATE_MEND_WINDOWS_SYSROOT)
    install(DIRECTORY "${PLATE_MEND_WINDOWS_SYSROOT}/licences" DESTINATION .)
endif()
