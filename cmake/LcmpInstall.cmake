# find_package(lcmp) for whoever links the installed libraries.
install(EXPORT lcmpTargets NAMESPACE lcmp:: COMPONENT development
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/lcmp")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/lcmpConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/lcmpConfig.cmake" INSTALL_DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/lcmp")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/lcmpConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/lcmpConfig.cmake" "${PROJECT_BINARY_DIR}/lcmpConfigVersion.cmake"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/lcmp" COMPONENT development)
