# cmake -DFOLDER=... -DWORK=... -P examples.cmake
# Runs the examples that were built in FOLDER, in the folder WORK, and checks what they print.

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

# run(EXPECTED_EXIT PATTERN PROGRAM ARGUMENT): PATTERN is for both output streams together.
function(run expected pattern)
  list(JOIN ARGN " " line)
  execute_process(COMMAND ${FOLDER}/${ARGN} WORKING_DIRECTORY ${WORK} RESULT_VARIABLE exit
                  OUTPUT_VARIABLE text ERROR_VARIABLE text)
  if(NOT exit EQUAL expected OR NOT text MATCHES "${pattern}")
    message(FATAL_ERROR "${line}: exit code ${exit}, expected ${expected} and '${pattern}':\n${text}")
  endif()
endfunction()

run(0 "saved stand.kpak/stand.jt: [1-9][0-9]* bytes, 2 segments" build_component stand.kpak)
run(1 "stand.kpak is there already" build_component stand.kpak)
run(0 "^1 Stand at 0 0 0 mm\n  2 Arm at 100 0 50 mm\n    3 Cover at 100 20 50 mm\n    4 Tip at 100 0 130 mm\n$"
    list_component stand.kpak)
run(0 "^Cover: 4 primitives from 100 20 50 to 130 60 110\n$" read_meshes stand.kpak/stand.jt)
file(WRITE ${WORK}/bad.jt "this is no JT file, whatever its name says")
run(1 "bad.jt, offset 0: .*\\(not_jt\\)" list_component bad.jt)
run(1 "missing.kpak: there is no such document \\(not_found\\)" list_component missing.kpak)
run(1 "bad.jt" read_meshes bad.jt)
