# Copies what the damaged-atlas tests read from the default atlas into OUT and
# cuts one file short, as a copy broken off in transit leaves it (but for
# KIND whole).
#   cmake -DSOURCE=atlas -DOUT=dir -DKIND=cut-places|cut-usa|whole
#         -P damage_atlas.cmake
file(REMOVE_RECURSE ${OUT})
file(MAKE_DIRECTORY ${OUT})
foreach(name Country.dat Zones13.bin DstRules.dat ttx.dao TTUSA.dao D.dao D.IDX D.NDX A.dao A.IDX
             A.NDX USCA.dao USCA.IDX USCA.NDX)
  file(COPY ${SOURCE}/${name} DESTINATION ${OUT})
endforeach()

function(cut file fraction)
  file(SIZE ${OUT}/${file} size)
  math(EXPR size "${size} * ${fraction} / 100")
  execute_process(COMMAND truncate -s ${size} ${OUT}/${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

if(KIND STREQUAL "cut-places")
  cut(D.dao 50)
elseif(KIND STREQUAL "cut-usa")
  cut(TTUSA.dao 33)
elseif(NOT KIND STREQUAL "whole")
  message(FATAL_ERROR "unknown KIND ${KIND}")
endif()
