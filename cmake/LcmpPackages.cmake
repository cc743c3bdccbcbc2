# Debian packages of a build for /usr; scripts/package makes it and runs cpack. Include it before anything that is
# installed: packages decide where documents go.
set(LCMP_PACKAGE_runtime liblcmp0)
set(LCMP_PACKAGE_model liblcmpmodel0)
set(LCMP_PACKAGE_development liblcmp-dev)
set(LCMP_PACKAGE_tools lcmp)
set(LCMP_PACKAGE_dissector lcmp-dissector)
set(LCMP_PACKAGE_COMPONENTS runtime model development tools dissector)

set(LCMP_PACKAGE_MACHINE "" CACHE STRING "Debian's name of the machine that the packages are for")
set(LCMP_PACKAGE_CONTACT "LCMP maintainers <maintainers@example.org>" CACHE STRING "Who answers for the packages")

file(STRINGS packaging/changelog first_line LIMIT_COUNT 1)
if(NOT first_line MATCHES "^lcmp \\((([0-9.]+)-[^)]+)\\) ")
  message(FATAL_ERROR "packaging/changelog: the first line, '${first_line}', names no version")
endif()
set(version "${CMAKE_MATCH_1}")
if(NOT CMAKE_MATCH_2 VERSION_EQUAL PROJECT_VERSION)
  message(FATAL_ERROR "packaging/changelog tells of ${CMAKE_MATCH_2}, and this is ${PROJECT_VERSION}")
endif()
set(LCMP_PACKAGE_VERSION "${version}")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lcmp)
set(CPACK_PACKAGE_VENDOR "LCMP")
set(CPACK_PACKAGE_CONTACT "${LCMP_PACKAGE_CONTACT}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL ${LCMP_PACKAGE_COMPONENTS})
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SOURCE lcmp)
set(CPACK_DEBIAN_PACKAGE_VERSION "${version}")
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE "${LCMP_PACKAGE_MACHINE}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    "${PROJECT_BINARY_DIR}/components/lcmp" "${PROJECT_BINARY_DIR}/components/lcmpudp"
    "${PROJECT_BINARY_DIR}/components/lcmpmodel" "${PROJECT_BINARY_DIR}/components/platform")
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/packaging/cpack.cmake")
set(CPACK_POST_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/packaging/finish.cmake")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has one of its own

# It calls no function of libc, which Debian wants to be named even so.
if(NOT LCMP_PLATFORM_DIR)
  target_link_options(lcmp_platform PRIVATE LINKER:--push-state,--no-as-needed,-lc,--pop-state)
endif()

# lcmp_package(COMPONENT SECTION SUMMARY DESCRIPTION [FIELD VALUE]...)
function(lcmp_package component section summary description)
  string(TOUPPER ${component} key)
  set(prefix CPACK_DEBIAN_${key})
  set(${prefix}_PACKAGE_NAME ${LCMP_PACKAGE_${component}} PARENT_SCOPE)
  set(${prefix}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(${prefix}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
  while(ARGN)
    list(POP_FRONT ARGN field value)
    set(${prefix}_PACKAGE_${field} "${value}" PARENT_SCOPE)
  endwhile()
endfunction()

set(about [[
LCMP is the management protocol between the controller of a
telecommunications shelf and its interface cards: a card shows what can be
managed as numbered variables, the controller reads and writes them, and the
card reports changes by itself.
]])

lcmp_package(runtime libs "management protocol of a telecom shelf - libraries" "${about}
This package holds the protocol for both sides, without I/O and threads, and
a transport for it over UDP."
  SHLIBDEPS ON)
lcmp_package(model libs "management protocol of a telecom shelf - card models" "${about}
This package holds the library that makes objects and names of a card's
description in YAML."
  SHLIBDEPS ON DEPENDS "liblcmp0 (= ${version})")
lcmp_package(development libdevel "management protocol of a telecom shelf - development files" "${about}
This package holds headers, what CMake and pkg-config need to find the
libraries, documents, and the smallest card and controller as examples."
  DEPENDS "liblcmp0 (= ${version}), liblcmpmodel0 (= ${version}), libboost-dev (>= 1.74)")
lcmp_package(tools net "management protocol of a telecom shelf - command line" "${about}
This package holds the program lcmp, which simulates cards, reads and writes
variables, watches events and explains captured frames, with card models,
manuals and completions for bash, zsh and fish."
  SHLIBDEPS ON DEPENDS "liblcmp0 (= ${version}), liblcmpmodel0 (= ${version})" SUGGESTS lcmp-dissector)
# Debian's Wireshark looks for plugins in the machine's own folder and in no other, even for those in Lua.
lcmp_package(dissector net "management protocol of a telecom shelf - dissector for Wireshark" "${about}
This package holds a dissector in Lua that shows LCMP in Wireshark and
tshark."
  DEPENDS "wireshark-common (>= 4.0)" ENHANCES "wireshark, tshark")

# Each package says whose it is and what has changed.
find_program(GZIP gzip REQUIRED)
set(changelog "${PROJECT_BINARY_DIR}/packaging/changelog.Debian.gz")
add_custom_command(OUTPUT "${changelog}" DEPENDS "${PROJECT_SOURCE_DIR}/packaging/changelog"
  COMMAND "${GZIP}" -9nc "${PROJECT_SOURCE_DIR}/packaging/changelog" > "${changelog}" VERBATIM)
add_custom_target(lcmp_package_documents ALL DEPENDS "${changelog}")
foreach(component IN LISTS LCMP_PACKAGE_COMPONENTS)
  install(FILES packaging/copyright "${changelog}"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${LCMP_PACKAGE_${component}}" COMPONENT ${component})
endforeach()

include(CPack)
