# Installs the build into a scratch prefix and builds the example C host with
# cc and pkg-config, as a host outside the project would, then runs it.
#   cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=... -DATLAS=... -P install_and_run_c_host.cmake
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
                RESULT_VARIABLE status OUTPUT_QUIET)
if(status)
  message(FATAL_ERROR "install failed")
endif()
file(GLOB_RECURSE pc_files ${WORK_DIR}/prefix/*/tarvplaces.pc)
list(LENGTH pc_files count)
if(NOT count EQUAL 1)
  message(FATAL_ERROR "expected one installed tarvplaces.pc, found: ${pc_files}")
endif()
get_filename_component(pc_dir ${pc_files} DIRECTORY)
get_filename_component(lib_dir ${pc_dir} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})

function(build_and_run source expected)
  get_filename_component(name ${source} NAME_WE)
  execute_process(
    COMMAND sh -c "cc -std=c99 -Wall -Wextra -Wpedantic -Werror '${source}' -o '${WORK_DIR}/${name}' $(pkg-config --cflags --libs tarvplaces)"
    RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(status)
    message(FATAL_ERROR "building ${source} failed:\n${out}\n${err}")
  endif()
  set(ENV{LD_LIBRARY_PATH} ${lib_dir})
  execute_process(COMMAND ${WORK_DIR}/${name} ${ARGN}
                  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(status OR NOT out MATCHES "${expected}")
    message(FATAL_ERROR "${name} printed \"${out}\" \"${err}\" (status ${status}), expected \"${expected}\"")
  endif()
  message(STATUS "${name}: ${out}")
endfunction()

build_and_run(${SOURCE_DIR}/examples/c/host.c
              "^München \\(D\\) 11\\.57549 48\\.13743\n1980-07-01T12:00: MET/S \\(Middle European Time, summer time\\), UTC\\+2:00\n$"
              ${ATLAS} München D 1980-07-01T12:00)
