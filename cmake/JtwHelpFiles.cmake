# cmake -DJTW=... -DFOLDER=... -P JtwHelpFiles.cmake
# Has the program print its manual pages into FOLDER/man1 and the completion of each shell into FOLDER.

function(print file)
  execute_process(COMMAND ${JTW} ${ARGN} OUTPUT_FILE ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER}/man1)
execute_process(COMMAND ${JTW} help --json OUTPUT_VARIABLE help COMMAND_ERROR_IS_FATAL ANY)
string(JSON count LENGTH "${help}" commands)
math(EXPR last "${count} - 1")
print(${FOLDER}/man1/jtw.1 help --man)
foreach(i RANGE ${last})
  string(JSON name GET "${help}" commands ${i} name)
  print(${FOLDER}/man1/jtw-${name}.1 help --man ${name})
endforeach()
print(${FOLDER}/jtw completion bash)
print(${FOLDER}/_jtw completion zsh)
print(${FOLDER}/jtw.fish completion fish)
file(TOUCH ${FOLDER}/done)
