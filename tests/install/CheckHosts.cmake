# cmake -DWAY=find_package|pkg_config|add_subdirectory -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=... -DDEMO=...
#       -DC_COMPILER=... -DCXX_COMPILER=... -DLIBDIR=... -P CheckHosts.cmake
#
# Builds the hosts of tests/install/consumer in one of three ways, and has each repair a photograph. The installed tree
# is moved before it is used.
cmake_minimum_required(VERSION 3.25)
set(consumer "${SOURCE_DIR}/tests/install/consumer")
set(prefix "${WORK_DIR}/moved tree")
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}/hosts")

function(run)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "${command}\n${output}status ${status}")
    endif()
endfunction()

# Every run path counts from the file's own place. An empty one would be the current directory.
function(check_run_paths)
    find_program(READELF readelf REQUIRED)
    foreach(file ${ARGN})
        execute_process(COMMAND ${READELF} -d "${file}" OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
        if(NOT text MATCHES "RUNPATH[^\n]*\\[\\$ORIGIN(/[^]:]+)?(:\\$ORIGIN(/[^]:]+)?)*\\]" OR text MATCHES "\\(RPATH\\)")
            message(FATAL_ERROR "run paths of ${file}\n${text}")
        endif()
    endforeach()
endfunction()

# The licence as it is in the project, and as Debian wants it: the same words after the fields of its form.
function(check_licence tree)
    set(pages "${tree}/share/doc/plate-mend")
    file(READ "${SOURCE_DIR}/LICENSE" expected)
    file(READ "${pages}/LICENSE" licence)
    file(READ "${pages}/copyright" copyright)
    if(NOT licence STREQUAL expected)
        message(FATAL_ERROR "${pages}/LICENSE is not the project's")
    endif()
    set(format "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/")
    string(REGEX REPLACE "^MIT License\n\nCopyright \\(c\\) ([^\n]+)\n"
        "${format}\nUpstream-Name: plate_mend\n\nFiles: *\nCopyright: \\1\nLicense: MIT" expected "${expected}")
    string(REGEX REPLACE "\n \\.?" "\n" copyright "${copyright}")
    if(NOT copyright STREQUAL expected)
        message(FATAL_ERROR "${pages}/copyright\n${copyright}\n${pages}/LICENSE in that form\n${expected}")
    endif()
endfunction()

function(install_and_move)
    run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${WORK_DIR}/tree")
    file(GLOB files "${WORK_DIR}/tree/bin/plate-mend" "${WORK_DIR}/tree/${LIBDIR}/*.so")
    check_run_paths(${files})
    check_licence("${WORK_DIR}/tree")
    file(RENAME "${WORK_DIR}/tree" "${prefix}")
endfunction()

# build_with_cmake(<build type> <option>...)
function(build_with_cmake type)
    run(${CMAKE_COMMAND} -S "${consumer}" -B "${WORK_DIR}/hosts" -G Ninja "-DCMAKE_BUILD_TYPE=${type}"
        "-DCMAKE_C_COMPILER=${C_COMPILER}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" ${ARGN})
    run(${CMAKE_COMMAND} --build "${WORK_DIR}/hosts" --target host_c host_cpp)
endfunction()

# What pkg-config says of these packages, as a list. "-Wl,-rpath" is the host's own affair.
function(ask_pkg_config result)
    find_program(PKG_CONFIG pkg-config REQUIRED)
    set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
    execute_process(COMMAND ${PKG_CONFIG} --cflags --libs ${ARGN}
        OUTPUT_VARIABLE flags COMMAND_ERROR_IS_FATAL ANY OUTPUT_STRIP_TRAILING_WHITESPACE)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    set(${result} ${flags} "-Wl,-rpath,${prefix}/${LIBDIR}" PARENT_SCOPE)
endfunction()

# check_host(<name>): it repairs a photograph, with the libraries that it was built with.
function(check_host name)
    set(folder "${WORK_DIR}/${name}")
    file(COPY "${WORK_DIR}/photographs/" DESTINATION "${folder}")
    execute_process(COMMAND "${WORK_DIR}/hosts/${name}" WORKING_DIRECTORY "${folder}"
        OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
    message(STATUS "${name}: ${output}")
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "${name}: status ${status}")
    endif()
    run("${DEMO}" same "${folder}/original.arw" "${folder}/repaired.arw")
endfunction()

if(WAY STREQUAL "find_package")
    install_and_move()
    build_with_cmake(Release "-DCMAKE_PREFIX_PATH=${prefix}")
    run("${prefix}/bin/plate-mend" --version)
elseif(WAY STREQUAL "pkg_config")
    install_and_move()
    ask_pkg_config(flags plate_mend)
    run("${C_COMPILER}" "${consumer}/host.c" ${flags} -o "${WORK_DIR}/hosts/host_c")
    ask_pkg_config(flags plate_mend raw_mend still_mend quill_log)
    run("${CXX_COMPILER}" -std=c++20 "${consumer}/host.cpp" ${flags} -o "${WORK_DIR}/hosts/host_cpp")
elseif(WAY STREQUAL "add_subdirectory")
    build_with_cmake(Debug "-DPLATE_MEND_SOURCE_DIR=${SOURCE_DIR}" -DCMAKE_UNITY_BUILD=ON) # Quickly: it is all libraries.
else()
    message(FATAL_ERROR "no such way: ${WAY}")
endif()
run("${DEMO}" make "${WORK_DIR}/photographs")
check_host(host_c)
check_host(host_cpp)
file(REMOVE_RECURSE "${WORK_DIR}")
