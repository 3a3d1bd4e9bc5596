# cmake -DPROGRAM=... -DFOLDER=... -P WriteManual.cmake
# Writes the program's manual and its completions for three shells to the folder. The program itself generates them.
cmake_minimum_required(VERSION 3.25)

function(write name)
    execute_process(COMMAND "${PROGRAM}" ${ARGN} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
    file(WRITE "${FOLDER}/${name}" "${text}")
endfunction()

write(plate-mend.1 man)
file(ARCHIVE_CREATE OUTPUT "${FOLDER}/plate-mend.1.gz" PATHS "${FOLDER}/plate-mend.1" FORMAT raw
    COMPRESSION GZip COMPRESSION_LEVEL 9)
write(plate-mend.bash completion bash)
write(plate-mend.zsh completion zsh)
write(plate-mend.fish completion fish)
