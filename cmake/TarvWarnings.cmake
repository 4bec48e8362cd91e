# Warnings and sanitizers are set per target, never through global flags.
function(tarv_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                         -Wno-sign-conversion)
  # GCC 12 reports -Wrestrict for plain std::string assignments at -O2
  # (GCC bug 105329, fixed in GCC 13); the diagnostic is noise there.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  if(TARV_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(TARV_SANITIZE)
    # The sanitizers' instrumentation hides initialisation from GCC's flow
    # analysis; -Wmaybe-uninitialized then fires on std::optional members.
    # Clang has no such warning and rejects the flag.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
    endif()
    # GCC leaves out of "undefined" the check on converting a floating-point
    # value to an integer type too small for it; atlas files carry doubles.
    # (Optimised GCC still misses casts of floor() and the like, which it
    # turns into builtins; clang's "undefined" and the fuzz build catch them.)
    target_compile_options(${target} PRIVATE -fsanitize=address,undefined,float-cast-overflow
                           -fno-sanitize-recover=undefined,float-cast-overflow
                           -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=address,undefined,float-cast-overflow)
  endif()
  if(TARV_SANITIZE_THREAD)
    target_compile_options(${target} PRIVATE -fsanitize=thread -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=thread)
  endif()
endfunction()
