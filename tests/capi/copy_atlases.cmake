# A fresh copy of the atlas for the tests that write to one.
#   cmake -DATLAS=... -DSCRATCH=... -P copy_atlases.cmake
if(NOT EXISTS ${ATLAS}/Country.dat)
  message(FATAL_ERROR "no atlas at ${ATLAS}: run scripts/build-atlas.sh")
endif()
file(REMOVE_RECURSE ${SCRATCH})
file(COPY ${ATLAS}/ DESTINATION ${SCRATCH}/writable)
