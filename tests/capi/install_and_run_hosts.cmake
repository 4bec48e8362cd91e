# Installs the build into a scratch prefix and builds the example C host with
# cc and pkg-config, as a host outside the project would, then runs it; then
# the C and C++ examples of the README.
#   cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=... -DATLAS=... -P install_and_run_hosts.cmake
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
              "^München \\(D\\) 11\\.57549 48\\.13743\n1980-07-01T12:00: MET/S \\(Central European Summer Time\\), UTC\\+2:00\n$"
              ${ATLAS} München D 1980-07-01T12:00)

# The examples of the README, as they stand there: the indented block after
# "<!-- example: TAG -->".
function(readme_example tag file)
  file(READ ${SOURCE_DIR}/README.md readme)
  string(REGEX MATCH "<!-- example: ${tag} -->\n(    [^\n]*\n|\n)+" block "${readme}")
  if(NOT block)
    message(FATAL_ERROR "README.md has no block after <!-- example: ${tag} -->")
  endif()
  string(REGEX REPLACE "^<!-- example: ${tag} -->\n" "" block "${block}")
  string(REGEX REPLACE "(^|\n)    " "\\1" block "${block}")
  file(WRITE ${file} "${block}")
endfunction()

readme_example(c ${WORK_DIR}/readme_example.c)
build_and_run(${WORK_DIR}/readme_example.c "^München MET/S 7200\n$" ${ATLAS})

# The C++ examples, built with find_package as the README says, and run.
function(readme_cpp_example tag expected)
  set(dir ${WORK_DIR}/readme_${tag})
  readme_example(${tag} ${dir}/main.cc)
  file(WRITE ${dir}/CMakeLists.txt [=[
cmake_minimum_required(VERSION 3.25)
project(ReadmeHost LANGUAGES CXX)
find_package(TarvPlaces REQUIRED)
add_executable(my_host main.cc)
target_link_libraries(my_host PRIVATE TarvPlaces::tarvplaces)
]=])
  execute_process(COMMAND ${CMAKE_COMMAND} -S ${dir} -B ${dir}/build
                          -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix
                  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status)
    execute_process(COMMAND ${CMAKE_COMMAND} --build ${dir}/build
                    RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  endif()
  if(status)
    message(FATAL_ERROR "building the README's ${tag} example failed:\n${out}\n${err}")
  endif()
  execute_process(COMMAND ${dir}/build/my_host ${ATLAS} RESULT_VARIABLE status OUTPUT_VARIABLE out)
  if(status OR NOT out STREQUAL "${expected}")
    message(FATAL_ERROR "the README's ${tag} example printed \"${out}\" (status ${status})")
  endif()
  message(STATUS "README ${tag} example: ${out}")
endfunction()

readme_cpp_example(cpp "11.5755 48.1374 MET/S\n")
readme_cpp_example(cpp-atlas "München MET/S 2\n")
