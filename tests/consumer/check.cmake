# cmake -DJTW_BUILD_DIR=... -P check.cmake
# Installs a build into a prefix of its own, moves that elsewhere (a package must not remember where it
# was made), and builds and runs project/ against it: once with find_package, once with pkg-config.

if(NOT EXISTS "${JTW_BUILD_DIR}/CMakeCache.txt")
  message(FATAL_ERROR "JTW_BUILD_DIR='${JTW_BUILD_DIR}' is not a build folder")
endif()
load_cache(${JTW_BUILD_DIR} READ_WITH_PREFIX built_ CMAKE_CXX_COMPILER CMAKE_INSTALL_LIBDIR CMAKE_CXX_FLAGS)

set(project ${CMAKE_CURRENT_LIST_DIR}/project)
set(work ${JTW_BUILD_DIR}/consumer)
set(prefix ${work}/prefix)
file(REMOVE_RECURSE ${work})
file(MAKE_DIRECTORY ${work}/run)

function(step)
  execute_process(COMMAND ${ARGV} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(run_consumer program)
  file(REMOVE_RECURSE ${work}/run/gear.kpak)
  execute_process(COMMAND ${program} WORKING_DIRECTORY ${work}/run COMMAND_ECHO STDOUT
                  COMMAND_ERROR_IS_FATAL ANY)
  file(GLOB written ${work}/run/gear.kpak/*.jt)
  if(NOT written)
    message(FATAL_ERROR "${program} wrote no JT file")
  endif()
endfunction()

step(${CMAKE_COMMAND} --install ${JTW_BUILD_DIR} --prefix ${work}/installed)
file(RENAME ${work}/installed ${prefix})

if(EXISTS ${prefix}/bin/jtw)
  foreach(file share/man/man1/jtw.1 share/man/man1/jtw-set.1 share/doc/Jtw/LICENSE share/doc/Jtw/docs/cli.md
               share/bash-completion/completions/jtw share/zsh/site-functions/_jtw
               share/fish/vendor_completions.d/jtw.fish)
    if(NOT EXISTS ${prefix}/${file})
      message(FATAL_ERROR "${file} is not installed")
    endif()
  endforeach()
endif()

step(${CMAKE_COMMAND} -S ${project} -B ${work}/build -G Ninja -DCMAKE_PREFIX_PATH=${prefix}
     -DCMAKE_CXX_COMPILER=${built_CMAKE_CXX_COMPILER} -DCMAKE_CXX_FLAGS=${built_CMAKE_CXX_FLAGS})
step(${CMAKE_COMMAND} --build ${work}/build)
run_consumer(${work}/build/consumer)

# The examples as a project against the installed package.
step(${CMAKE_COMMAND} -S ${prefix}/share/doc/Jtw/examples -B ${work}/examples -G Ninja
     -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${built_CMAKE_CXX_COMPILER}
     -DCMAKE_CXX_FLAGS=${built_CMAKE_CXX_FLAGS})
step(${CMAKE_COMMAND} --build ${work}/examples)
step(${CMAKE_COMMAND} -DFOLDER=${work}/examples -DWORK=${work}/run-examples
     -P ${CMAKE_CURRENT_LIST_DIR}/examples.cmake)

set(libdir ${prefix}/${built_CMAKE_INSTALL_LIBDIR})
set(ENV{PKG_CONFIG_PATH} ${libdir}/pkgconfig)
execute_process(COMMAND pkg-config --cflags --libs jtw OUTPUT_VARIABLE flags COMMAND_ECHO STDOUT
                COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(built_CMAKE_CXX_FLAGS UNIX_COMMAND "${built_CMAKE_CXX_FLAGS}")
step(${built_CMAKE_CXX_COMPILER} ${built_CMAKE_CXX_FLAGS} -std=c++20 ${project}/main.cpp
     -o ${work}/consumer-pkg-config ${flags} -Wl,-rpath,${libdir})
run_consumer(${work}/consumer-pkg-config)
