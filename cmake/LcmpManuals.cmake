# The manual pages, where there is scdoc to make them. SOURCE_DATE_EPOCH dates them, if that is set.
find_program(SCDOC scdoc)
find_program(GZIP gzip)
mark_as_advanced(SCDOC GZIP)
if(NOT LCMP_BUILD_TOOLS)
  return()
endif()
if(NOT SCDOC OR NOT GZIP)
  if(LCMP_PACKAGES)
    message(FATAL_ERROR "Packages have manuals, and scdoc is missing: scripts/setup --all installs it")
  endif()
  message(STATUS "Manuals: not made, for there is no scdoc; scripts/setup --all installs it")
  return()
endif()

file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/docs/man/*.scd")
set(manuals "")
foreach(source IN LISTS sources)
  get_filename_component(name "${source}" NAME_WLE)
  string(REGEX REPLACE ".*\\." "" section "${name}")
  set(manual "${PROJECT_BINARY_DIR}/man/man${section}/${name}.gz")
  add_custom_command(OUTPUT "${manual}" DEPENDS "${source}"
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${PROJECT_BINARY_DIR}/man/man${section}"
    COMMAND "${SCDOC}" < "${source}" > "${PROJECT_BINARY_DIR}/man/${name}"
    COMMAND "${GZIP}" -9nc "${PROJECT_BINARY_DIR}/man/${name}" > "${manual}"
    VERBATIM)
  list(APPEND manuals "${manual}")
  install(FILES "${manual}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man${section}" COMPONENT tools)
endforeach()
add_custom_target(lcmp_manuals ALL DEPENDS ${manuals})
