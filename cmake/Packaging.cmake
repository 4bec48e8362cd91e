# What the packages hold besides the build's targets (the atlas, the
# notices) and how CPack makes them: on Linux one Debian package per
# component (libtarvplaces3, libtarvplaces-dev, tarvplaces, tarvplaces-data),
# on Windows one ZIP archive of everything.
#
#   cmake --preset package && cmake --build --preset package
#   cd build/package && cpack

set(TARV_PACKAGE_ATLAS "" CACHE PATH "atlas folder installed as share/tarvplaces/atlas (empty: none)")
if(TARV_PACKAGE_ATLAS)
  if(NOT EXISTS "${TARV_PACKAGE_ATLAS}/Country.dat")
    message(FATAL_ERROR "TARV_PACKAGE_ATLAS: no atlas in ${TARV_PACKAGE_ATLAS}")
  endif()
  # The user's places never go into a package.
  install(DIRECTORY ${TARV_PACKAGE_ATLAS}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/tarvplaces/atlas
          COMPONENT data
          FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
          PATTERN USER EXCLUDE)
endif()

file(READ ${PROJECT_SOURCE_DIR}/packaging/NOTICE tarv_notice)
set(CPACK_PACKAGE_NAME tarvplaces)
set(CPACK_PACKAGE_VENDOR "TarvPlaces2")
set(CPACK_PACKAGE_CONTACT "TarvPlaces2 developers <tarvplaces2@users.noreply.github.com>")
# The synopsis of every package; each says its part in its description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "places, coordinates and time-zone history for astrology programs")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development tool)
if(TARV_PACKAGE_ATLAS)
  list(APPEND CPACK_COMPONENTS_ALL data)
endif()

if(WIN32)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/NOTICE DESTINATION . RENAME NOTICE.txt
          COMPONENT data)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)
  set(CPACK_PACKAGE_FILE_NAME tarvplaces-${PROJECT_VERSION}-windows-x64)
else()
  # Each Debian package documents itself: copyright (with the data's
  # notices) and a changelog, compressed as Debian wants it.
  set(tarv_packages runtime libtarvplaces3 development libtarvplaces-dev tool tarvplaces
                    data tarvplaces-data)
  while(tarv_packages)
    list(POP_FRONT tarv_packages tarv_component tarv_package)
    set(tarv_doc ${PROJECT_BINARY_DIR}/packaging/${tarv_package})
    configure_file(${PROJECT_SOURCE_DIR}/packaging/copyright.in ${tarv_doc}/copyright @ONLY)
    configure_file(${PROJECT_SOURCE_DIR}/packaging/changelog.Debian.in ${tarv_doc}/changelog.Debian
                   @ONLY)
    execute_process(COMMAND gzip -9nf ${tarv_doc}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${tarv_doc}/copyright ${tarv_doc}/changelog.Debian.gz
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${tarv_package}
            COMPONENT ${tarv_component})
  endwhile()

  set(CPACK_GENERATOR DEB)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
  set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  set(tarv_deb_version "${PROJECT_VERSION}-1")

  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libtarvplaces3)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS tarvplaces-data)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  # The loader's cache is renewed by dpkg's trigger, as Debian asks.
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
  string(CONCAT CPACK_COMPONENT_RUNTIME_DESCRIPTION
                "The C interface of TarvPlaces2 as a shared library: which places match a\n"
                "typed name, their coordinates, and the zone and daylight-saving time in\n"
                "force there at a date.")

  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtarvplaces-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
      "libtarvplaces3 (= ${tarv_deb_version}), libicu-dev, pkg-config")
  string(CONCAT CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
                "Headers of the C and C++ interfaces, the static libraries, the CMake\n"
                "package (find_package(TarvPlaces)) and the pkg-config file tarvplaces.pc.")

  set(CPACK_DEBIAN_TOOL_PACKAGE_NAME tarvplaces)
  set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
  set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "tarvplaces-data (= ${tarv_deb_version})")
  string(CONCAT CPACK_COMPONENT_TOOL_DESCRIPTION
                "The command tarvplaces: look places up by name in any script, find the\n"
                "place nearest to coordinates, see the zone at a date, add the user's own\n"
                "places and export the atlas as text.")

  set(CPACK_DEBIAN_DATA_PACKAGE_NAME tarvplaces-data)
  set(CPACK_DEBIAN_DATA_PACKAGE_SECTION misc)
  set(CPACK_DEBIAN_DATA_PACKAGE_ARCHITECTURE all)
  set(CPACK_DEBIAN_DATA_PACKAGE_SHLIBDEPS OFF)
  string(CONCAT CPACK_COMPONENT_DATA_DESCRIPTION
                "The default atlas, made from GeoNames (CC BY 4.0), the IANA time zone\n"
                "database and the time zone boundaries of OpenStreetMap contributors (ODbL):\n"
                "the places of GeoNames' cities500 with their zone histories and a map of\n"
                "the zones, in /usr/share/tarvplaces/atlas, where the library and the tool\n"
                "find it.")
endif()

include(CPack)
