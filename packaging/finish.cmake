# Read by cpack when the packages are there. It has given those with libraries scripts that call ldconfig; dpkg does
# that by itself, once for all that it installs, when a package asks with a trigger.
find_program(DPKG_DEB dpkg-deb REQUIRED)
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(folder "${package}.unpacked")
  file(REMOVE_RECURSE "${folder}")
  execute_process(COMMAND "${DPKG_DEB}" -R "${package}" "${folder}" COMMAND_ERROR_IS_FATAL ANY)
  if(EXISTS "${folder}/DEBIAN/postinst")
    file(REMOVE "${folder}/DEBIAN/postinst" "${folder}/DEBIAN/postrm")
    file(WRITE "${folder}/DEBIAN/triggers" "activate-noawait ldconfig\n")
  endif()
  execute_process(COMMAND "${DPKG_DEB}" -Zxz --root-owner-group -b "${folder}" "${package}"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE "${folder}")
endforeach()
