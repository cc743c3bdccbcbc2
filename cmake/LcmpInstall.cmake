# What users of the installed libraries find them by. The libraries and programs themselves are installed beside
# where they are built. Components: runtime, model (the library that needs yaml-cpp), development, tools, dissector.

# find_package(lcmp)
install(EXPORT lcmpTargets NAMESPACE lcmp:: COMPONENT development
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/lcmp")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/lcmpConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/lcmpConfig.cmake" INSTALL_DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/lcmp")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/lcmpConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/lcmpConfig.cmake" "${PROJECT_BINARY_DIR}/lcmpConfigVersion.cmake"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/lcmp" COMPONENT development)

# pkg-config. The files name everything from where they stand, so that a prefix can be moved.
function(lcmp_install_pkg_config pc_library pc_description pc_requires pc_libs)
  file(RELATIVE_PATH pc_prefix "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
  string(REGEX REPLACE "/$" "" pc_prefix "${pc_prefix}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/lcmp.pc.in" "${PROJECT_BINARY_DIR}/${pc_library}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${pc_library}.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endfunction()

set(platform_libs -llcmpplatform)
if(LCMP_PLATFORM_DIR)
  string(JOIN " " platform_libs ${LCMP_PLATFORM_LIBRARIES})
endif()
lcmp_install_pkg_config(lcmp "The management protocol of a telecom shelf, without I/O and threads" ""
  "-llcmp ${platform_libs}")
lcmp_install_pkg_config(lcmpudp "LCMP over UDP" lcmp -llcmpudp)
if(TARGET lcmpmodel)
  lcmp_install_pkg_config(lcmpmodel "Card models for LCMP from YAML files" lcmp -llcmpmodel)
endif()

# Completions, where the shells look for them
set(LCMP_ZSH_COMPLETIONS_DIR "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" CACHE STRING
    "Where zsh finds completions; Debian's packages have theirs in share/zsh/vendor-completions")
if(LCMP_BUILD_TOOLS)
  install(FILES completions/lcmp.bash DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
    RENAME lcmp COMPONENT tools)
  install(FILES completions/_lcmp DESTINATION "${LCMP_ZSH_COMPLETIONS_DIR}" COMPONENT tools)
  install(FILES completions/lcmp.fish DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d"
    COMPONENT tools)
endif()

# The dissector, where Wireshark looks for plugins in Lua that all users have
set(LCMP_WIRESHARK_PLUGIN_DIR "${CMAKE_INSTALL_LIBDIR}/wireshark/plugins" CACHE STRING
    "Wireshark's \"Global Lua Plugins\" (Help, About, Folders)")
install(FILES tools/wireshark/lcmp.lua tools/wireshark/lcmp_names_standard.lua
  DESTINATION "${LCMP_WIRESHARK_PLUGIN_DIR}" COMPONENT dissector)

# Documents. Packages have a folder each.
foreach(component IN ITEMS development tools dissector)
  set(doc_${component} "${CMAKE_INSTALL_DOCDIR}")
  if(LCMP_PACKAGES)
    set(doc_${component} "${CMAKE_INSTALL_DATADIR}/doc/${LCMP_PACKAGE_${component}}")
  endif()
endforeach()
install(FILES docs/event-loop.md docs/first-card.md docs/first-controller.md docs/overview.md docs/porting.md
        docs/security.md docs/wire.md DESTINATION "${doc_development}" COMPONENT development)
install(FILES examples/smallest_card.cpp examples/smallest_controller.cpp
  DESTINATION "${doc_development}/examples" COMPONENT development)
install(FILES tools/wireshark/README.md DESTINATION "${doc_dissector}" RENAME dissector.md COMPONENT dissector)
if(LCMP_BUILD_TOOLS)
  install(FILES docs/card-models.md docs/command-line.md docs/decode.md DESTINATION "${doc_tools}" COMPONENT tools)
  install(FILES components/lcmpmodel/README.md DESTINATION "${doc_tools}" RENAME models.md COMPONENT tools)
endif()
