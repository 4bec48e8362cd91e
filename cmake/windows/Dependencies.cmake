# The Windows cross build's dependencies. Debian's packages for the build
# machine cannot be used here (their CMake files add /usr/include, whose glibc
# headers break every mingw compile), so each is provided as mingw needs it:
#  - ICU: Debian's sources built once for mingw (scripts/build-icu-mingw.sh),
#    static, with the data the component needs built in;
#  - CLI11, nlohmann-json and Boost (Boost.Geometry, headers only): Debian's
#    headers, through a folder that holds only them;
#  - GoogleTest: Debian's sources (/usr/src/googletest), built here with the
#    same compiler.

# Everything links the C and C++ runtimes and winpthread statically: a
# program needs no DLL beside it but tarvplaces.dll, and under Wine a missing
# one would end the program without a word.
add_link_options(-static)
# Programs and tarvplaces.dll in one folder, where Windows looks for a DLL.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
# windows.h without the rarely used parts (and without min/max macros).
add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX)

set(TARV_ICU_ROOT "" CACHE PATH "ICU built for mingw (empty: build or reuse it with scripts/build-icu-mingw.sh)")
if(NOT TARV_ICU_ROOT)
  message(STATUS "ICU for mingw: scripts/build-icu-mingw.sh (a few minutes the first time)")
  execute_process(COMMAND bash ${PROJECT_SOURCE_DIR}/scripts/build-icu-mingw.sh
                  OUTPUT_VARIABLE icu_root OUTPUT_STRIP_TRAILING_WHITESPACE
                  RESULT_VARIABLE icu_result)
  if(NOT icu_result EQUAL 0 OR NOT EXISTS "${icu_root}/.complete")
    message(FATAL_ERROR "Building ICU for mingw failed (scripts/build-icu-mingw.sh)")
  endif()
  set(TARV_ICU_ROOT "${icu_root}" CACHE PATH "ICU built for mingw" FORCE)
endif()
foreach(lib icuin icuuc icudt)
  add_library(tarv_${lib} STATIC IMPORTED GLOBAL)
  set_target_properties(tarv_${lib} PROPERTIES IMPORTED_LOCATION "${TARV_ICU_ROOT}/lib/lib${lib}.a")
endforeach()
add_library(tarv_icu INTERFACE IMPORTED GLOBAL)
target_include_directories(tarv_icu SYSTEM INTERFACE "${TARV_ICU_ROOT}/include")
target_compile_definitions(tarv_icu INTERFACE U_STATIC_IMPLEMENTATION)
target_link_libraries(tarv_icu INTERFACE tarv_icuin tarv_icuuc tarv_icudt)

set(tarv_headers "${CMAKE_BINARY_DIR}/debian-headers")
file(MAKE_DIRECTORY "${tarv_headers}")
foreach(dir CLI nlohmann boost)
  file(CREATE_LINK /usr/include/${dir} "${tarv_headers}/${dir}" SYMBOLIC)
endforeach()
add_library(CLI11::CLI11 INTERFACE IMPORTED GLOBAL)
target_include_directories(CLI11::CLI11 SYSTEM INTERFACE "${tarv_headers}")
add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED GLOBAL)
target_include_directories(nlohmann_json::nlohmann_json SYSTEM INTERFACE "${tarv_headers}")
add_library(Boost::headers INTERFACE IMPORTED GLOBAL)
target_include_directories(Boost::headers SYSTEM INTERFACE "${tarv_headers}")

if(TARV_BUILD_TESTS)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()
