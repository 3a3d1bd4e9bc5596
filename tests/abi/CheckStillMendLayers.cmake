# cmake -DSOURCE_DIR=... -P CheckStillMendLayers.cmake
# Fails where a folder of libs/still_mend/src includes one that it must not know. Each folder may include those named
# beside it, itself, and what is common to all: Bytes.h and Work.h.
#
#   StillMend.cpp, Salvage -> output -> assessment -> progressive -> header -> sequential -> fit -> jpeg
#                             output -> platform
cmake_minimum_required(VERSION 3.25)

set(common Bytes.h Work.h)
set(folders platform jpeg fit sequential header progressive assessment output)
set(allowed_platform)
set(allowed_jpeg)
set(allowed_fit jpeg)
set(allowed_sequential fit jpeg)
set(allowed_header sequential fit jpeg)
set(allowed_progressive header fit jpeg)
set(allowed_assessment progressive header sequential fit jpeg)
set(allowed_output assessment header jpeg platform)

set(root "${SOURCE_DIR}/libs/still_mend/src")
set(problems "")

# Every folder has a line above, and sources.
file(GLOB entries RELATIVE "${root}" "${root}/*")
foreach(entry IN LISTS entries)
    if(IS_DIRECTORY "${root}/${entry}" AND NOT entry IN_LIST folders)
        list(APPEND problems "${entry} has no place among the layers")
    endif()
endforeach()

foreach(folder IN LISTS folders)
    file(GLOB_RECURSE sources "${root}/${folder}/*.h" "${root}/${folder}/*.cpp")
    if(NOT sources)
        list(APPEND problems "no sources in ${folder}")
    endif()
    foreach(source IN LISTS sources)
        file(STRINGS "${source}" lines REGEX "^ *# *include *\"")
        foreach(line IN LISTS lines)
            string(REGEX REPLACE "^[^\"]*\"([^\"]*)\".*" "\\1" included "${line}")
            string(REGEX REPLACE "/.*" "" first "${included}")
            if(NOT included IN_LIST common AND NOT first STREQUAL folder AND NOT first IN_LIST allowed_${folder})
                list(APPEND problems "${source} includes ${included}")
            endif()
        endforeach()
    endforeach()
endforeach()

# What is common to all knows none of them.
foreach(name IN LISTS common)
    file(STRINGS "${root}/${name}" lines REGEX "^ *# *include *\"")
    if(lines)
        list(APPEND problems "${name}: ${lines}")
    endif()
endforeach()

if(problems)
    list(JOIN problems "\n  " text)
    message(FATAL_ERROR "layers of still_mend\n  ${text}")
endif()
