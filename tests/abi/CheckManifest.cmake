# cmake -DPROGRAM=... -P CheckManifest.cmake
# Fails unless the program carries the manifest that asks for UTF-8 and for long paths.
file(STRINGS "${PROGRAM}" lines REGEX "<(activeCodePage|longPathAware)[ >]")
list(LENGTH lines count)
if(NOT count EQUAL 2 OR NOT "${lines}" MATCHES ">UTF-8</activeCodePage>" OR NOT "${lines}" MATCHES ">true</longPathAware>")
    message(FATAL_ERROR "manifest of ${PROGRAM}: ${lines}")
endif()
