# Installs the build into a scratch prefix and builds a host against it.
#   cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=... -DATLAS=... -P install_and_consume.cmake
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
                RESULT_VARIABLE status OUTPUT_QUIET)
if(status)
  message(FATAL_ERROR "install failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build
                        -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix
                RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(status)
  message(FATAL_ERROR "find_package(TarvPlaces) failed:\n${out}\n${err}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build
                RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(status)
  message(FATAL_ERROR "building the host failed:\n${out}\n${err}")
endif()
execute_process(COMMAND ${WORK_DIR}/build/consumer ${ATLAS} RESULT_VARIABLE status OUTPUT_VARIABLE out)
if(status OR NOT out STREQUAL "4\n")
  message(FATAL_ERROR "host printed \"${out}\" (status ${status}), expected 4")
endif()
