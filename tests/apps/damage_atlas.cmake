# Copies what the damaged-atlas tests read from the default atlas into OUT and
# damages one file the way files get damaged: cut short in transit, a length
# field that claims more than the data holds, an unknown compression mode.
#   cmake -DSOURCE=atlas -DOUT=dir -DKIND=cut-places|cut-usa|lying-length|unknown-mode|whole
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

# Writes the byte (octal) at `offset` of the file in place.
function(overwrite file offset octal)
  execute_process(COMMAND printf "\\${octal}"
                  COMMAND dd of=${OUT}/${file} bs=1 seek=${offset} conv=notrunc status=none
                  COMMAND_ERROR_IS_FATAL ANY)
endfunction()

if(KIND STREQUAL "cut-places")
  cut(D.dao 50)
elseif(KIND STREQUAL "cut-usa")
  cut(TTUSA.dao 33)
elseif(KIND STREQUAL "lying-length")
  overwrite(D.dao 12 377)  # the length field's third byte: megabytes more than the data
elseif(KIND STREQUAL "unknown-mode")
  overwrite(ttx.dao 8 102)  # "B" where "A" stands
elseif(NOT KIND STREQUAL "whole")
  message(FATAL_ERROR "unknown KIND ${KIND}")
endif()
