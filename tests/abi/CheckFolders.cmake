# cmake -DSOURCE_DIR=... -DPART=Host|Libs|RawMend|StillMend -P CheckFolders.cmake
# Fails where a source includes a header of a folder that its own folder must not know. Each line of a table is a
# folder and the folders that it may include, apart from itself. They must come after it in the table, so that
# includes never run in a circle.
# Headers outside all folders that any may include are in "common"; they include none of ours.
cmake_policy(VERSION 3.20)
if(PART STREQUAL "Host")
    set(root apps/plate-mend)
    set(common "")
    set(table
        "cli: window run repair report record files text platform"
        "window: run repair report record files text platform"
        "run: repair report record files text platform"
        "repair: judge diagnose facts metadata report record files text platform"
        "report: record files text platform"
        "judge: record files text platform"
        "diagnose: record files text platform"
        "metadata: record files text platform"
        "facts: files text platform"
        "record: files text platform"
        "files: text platform"
        "text: platform"
        "platform:")
    # Headers that only these sources may include.
    set(owners
        "nlohmann/: record/Json.cpp"
        "CLI/: cli/CommandLine.cpp cli/ParserTree.cpp"
        "httplib.h: window/HttpServer.cpp"
        "nettle/: files/Sha256.cpp"
        "exiv2/: metadata/Sidecar.cpp"
        "zlib.h: files/GreyPng.cpp")
elseif(PART STREQUAL "Libs")
    # A library's public headers have its name before them.
    set(root libs)
    set(table
        "still_mend: jpeg_bits mapped_file system_path text_mode"
        "raw_mend: byte_reader jpeg_bits lossless_jpeg mapped_file system_path text_mode"
        "quill_log: system_path"
        "byte_reader:"
        "lossless_jpeg: jpeg_bits"
        "jpeg_bits:"
        "mapped_file:"
        "system_path:"
        "text_mode:")
    # Exiv2 is under the GPL: only the program may link it.
    set(owners "plate_mend/: nobody" "exiv2/: nobody")
elseif(PART STREQUAL "RawMend")
    # The sources that put these folders together are above them all.
    set(root libs/raw_mend/src)
    set(table
        "ways: mend locate coding container"
        "mend: locate coding container"
        "assemble: coding container"
        "locate: coding container"
        "coding: container"
        "container:"
        "platform:")
    set(owners "raw_mend/: nobody" "zlib.h: coding/ZlibStream.cpp")
    set(common Bytes.h)
elseif(PART STREQUAL "StillMend")
    # StillMend.cpp and Salvage are above all folders.
    set(root libs/still_mend/src)
    set(table
        "output: assessment header jpeg"
        "assessment: progressive header sequential fit jpeg"
        "progressive: header fit jpeg"
        "order: header fit jpeg"
        "header: sequential fit jpeg"
        "sequential: fit jpeg"
        "fit: jpeg"
        "jpeg:")
    set(owners "")
    set(common Bytes.h Work.h)
else()
    message(FATAL_ERROR "no part is named ${PART}")
endif()

set(problems "")
set(rooms "")
foreach(line IN LISTS table)
    string(REGEX MATCH "^([a-z_]+): ?(.*)$" matched "${line}")
    set(room "${CMAKE_MATCH_1}")
    string(REPLACE " " ";" allowed "${CMAKE_MATCH_2}")
    list(APPEND rooms "${room}")
    set(allowed_${room} "${allowed}")
endforeach()

# One way only: what a folder may include comes later in the table.
set(seen "")
foreach(room IN LISTS rooms)
    list(APPEND seen "${room}")
    foreach(other IN LISTS allowed_${room})
        if(other IN_LIST seen)
            list(APPEND problems "the table lets ${room} include ${other}, which is not below it")
        endif()
    endforeach()
endforeach()

file(GLOB folders RELATIVE "${SOURCE_DIR}/${root}" "${SOURCE_DIR}/${root}/*")
foreach(folder IN LISTS folders)
    if(IS_DIRECTORY "${SOURCE_DIR}/${root}/${folder}" AND NOT folder IN_LIST rooms)
        list(APPEND problems "${root}/${folder} is not in the table")
    endif()
endforeach()

foreach(room IN LISTS rooms)
    file(GLOB_RECURSE sources "${SOURCE_DIR}/${root}/${room}/*.h" "${SOURCE_DIR}/${root}/${room}/*.cpp")
    if(NOT sources)
        list(APPEND problems "no sources in ${root}/${room}")
    endif()
    foreach(source IN LISTS sources)
        file(RELATIVE_PATH name "${SOURCE_DIR}/${root}" "${source}")
        file(STRINGS "${source}" lines REGEX "^ *# *include *[<\"]")
        foreach(line IN LISTS lines)
            string(REGEX REPLACE "^ *# *include *[<\"]([^>\"]*)[>\"].*" "\\1" included "${line}")
            string(REGEX REPLACE "/.*" "" target "${included}")
            if(target IN_LIST rooms AND NOT target STREQUAL room AND NOT target IN_LIST allowed_${room})
                list(APPEND problems "${root}/${name} includes ${included}")
            endif()
            if(DEFINED common AND line MATCHES "\"" AND NOT included MATCHES "/" AND NOT included IN_LIST common)
                list(APPEND problems "${root}/${name} includes ${included}, which is in no folder")
            endif()
            if(included MATCHES "\\.\\./")
                list(APPEND problems "${root}/${name} includes ${included}")
            endif()
            foreach(owner IN LISTS owners)
                string(REGEX MATCH "^([^:]*): (.*)$" matched "${owner}")
                string(REPLACE " " ";" owning "${CMAKE_MATCH_2}")
                string(FIND "${included}" "${CMAKE_MATCH_1}" at)
                if(at EQUAL 0 AND NOT name IN_LIST owning)
                    list(APPEND problems "${root}/${name} includes ${included}")
                endif()
            endforeach()
        endforeach()
    endforeach()
endforeach()

foreach(name IN LISTS common)
    file(STRINGS "${SOURCE_DIR}/${root}/${name}" lines REGEX "^ *# *include *\"")
    if(lines)
        list(APPEND problems "${root}/${name}: ${lines}")
    endif()
endforeach()

if(problems)
    list(JOIN problems "\n  " text)
    message(FATAL_ERROR "folders\n  ${text}")
endif()
