# Fresh copies of the atlas for the tests that write to one: SCRATCH/writable,
# SCRATCH/mapped for a small zone map of the tests' own, SCRATCH/unmapped
# without a zone map.
#   cmake -DATLAS=... -DSCRATCH=... -P copy_atlases.cmake
if(NOT EXISTS ${ATLAS}/Country.dat)
  message(FATAL_ERROR "no atlas at ${ATLAS}: run scripts/build-atlas.sh")
endif()
file(REMOVE_RECURSE ${SCRATCH})
file(COPY ${ATLAS}/ DESTINATION ${SCRATCH}/writable)
file(COPY ${ATLAS}/ DESTINATION ${SCRATCH}/mapped)
file(COPY ${ATLAS}/ DESTINATION ${SCRATCH}/unmapped)
file(REMOVE ${SCRATCH}/unmapped/Zones.map)
