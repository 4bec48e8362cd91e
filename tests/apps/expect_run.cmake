# Runs one command and checks its exit status and output.
#   cmake -DCOMMAND="a|b|c" -DEXIT=0 [-DSTDOUT=regex] [-DSTDERR=regex] -P expect_run.cmake
# "%FF%" stands for the byte 0xFF, which is no UTF-8 and so cannot be written
# in the CMake file that registers the test.
string(ASCII 255 byte_ff)
string(REPLACE "%FF%" "${byte_ff}" COMMAND "${COMMAND}")
string(REPLACE "|" ";" COMMAND "${COMMAND}")
execute_process(COMMAND ${COMMAND}
                RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT "${status}" STREQUAL "${EXIT}")
  message(FATAL_ERROR "exit status ${status}, expected ${EXIT}\nstdout:\n${out}\nstderr:\n${err}")
endif()
if(DEFINED STDOUT AND NOT out MATCHES "${STDOUT}")
  message(FATAL_ERROR "stdout does not match \"${STDOUT}\":\n${out}")
endif()
if(DEFINED STDERR AND NOT err MATCHES "${STDERR}")
  message(FATAL_ERROR "stderr does not match \"${STDERR}\":\n${err}")
endif()
