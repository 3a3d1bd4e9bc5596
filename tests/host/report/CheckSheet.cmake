# Loads a contact sheet in a browser and compares what the page's script made of it.
#   MAKER    the program that writes the sheet
#   BROWSER  Chromium; empty where there is none
#   FOLDER   an empty folder of the test's own is made here
if(NOT BROWSER)
    message("SKIP: needs Chromium")
    return()
endif()
file(REMOVE_RECURSE "${FOLDER}")
file(MAKE_DIRECTORY "${FOLDER}")
execute_process(COMMAND "${MAKER}" "${FOLDER}/sheet.html" 16 COMMAND_ERROR_IS_FATAL ANY)

# shown(<variable> <fragment>): the names of the cards on display, in their order, and the page's own count.
function(shown variable fragment)
    file(REMOVE_RECURSE "${FOLDER}/profile")
    execute_process(
        COMMAND "${BROWSER}" --headless --no-sandbox --disable-gpu --disable-quic --no-first-run
            --disable-background-networking --disable-component-update --disable-sync
            "--user-data-dir=${FOLDER}/profile" --dump-dom "file://${FOLDER}/sheet.html#${fragment}"
        TIMEOUT 120 OUTPUT_VARIABLE dom ERROR_VARIABLE errors RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "the browser gave ${result}: ${errors}")
    endif()
    string(REPLACE ";" "," dom "${dom}") # They would part lists.
    if(dom MATCHES "<img src=\"?x" OR dom MATCHES "<title>run</title>" OR NOT dom MATCHES "<title>Recovered photographs</title>")
        message(FATAL_ERROR "a file's name became markup")
    endif()
    string(REGEX MATCHALL "<li class=\"card[^>]*>" cards "${dom}")
    set(names "")
    foreach(card IN LISTS cards)
        if(NOT card MATCHES " hidden=")
            string(REGEX REPLACE ".* data-name=\"([^\"]*)\".*" "\\1" name "${card}")
            list(APPEND names "${name}")
        endif()
    endforeach()
    string(REGEX MATCH "<output[^>]*>([^<]*)" ignored "${dom}")
    list(APPEND names "${CMAKE_MATCH_1}")
    set(${variable} "${names}" PARENT_SCOPE)
endfunction()

function(expect fragment)
    shown(names "${fragment}")
    if(NOT names STREQUAL "${ARGN}")
        message(SEND_ERROR "#${fragment} shows\n  ${names}\nand not\n  ${ARGN}")
    endif()
endfunction()

set(evil "&lt,img src=x onerror=document.title='run'&gt,.arw") # As the browser writes it.
expect("verdict=partial&sort=name" IMG_11.ARW IMG_19.ARW "2 of 16 shown")
expect("verdict=partial&sort=rows" IMG_11.ARW IMG_19.ARW "2 of 16 shown")
expect("verdict=partial,preview-only&sort=size" IMG_21.ARW IMG_19.ARW IMG_13.ARW IMG_11.ARW "4 of 16 shown")
expect("verdict=not-repaired" IMG_15.ARW "${evil}" IMG_23.ARW "3 of 16 shown")
expect("find=img_1&sort=verdict" IMG_10.ARW IMG_12.ARW IMG_14.ARW IMG_17.ARW IMG_18.ARW IMG_11.ARW IMG_19.ARW
    IMG_13.ARW IMG_15.ARW "9 of 16 shown")
expect("sort=name&find=IMG_9" IMG_9.ARW "1 of 16 shown")
expect("find=nothing" "0 of 16 shown")
expect("verdict=unheard&sort=of" IMG_9.ARW IMG_10.ARW IMG_11.ARW IMG_12.ARW IMG_13.ARW IMG_14.ARW IMG_15.ARW
    "${evil}" IMG_17.ARW IMG_18.ARW IMG_19.ARW IMG_20.ARW IMG_21.ARW IMG_22.ARW IMG_23.ARW IMG_24.ARW
    "all 16 shown")
