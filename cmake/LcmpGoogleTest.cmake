# GTest::gtest, GTest::gtest_main and GTest::gmock: this machine's libraries, or built here with this build's own
# flags, for another machine or where the flags change the layout of the standard library's types.
set(LCMP_GOOGLETEST_SOURCE_DIR "" CACHE PATH
    "Source folder of GoogleTest (Debian's googletest: /usr/src/googletest); empty: the installed libraries")
if(LCMP_GOOGLETEST_SOURCE_DIR)
  if(NOT EXISTS "${LCMP_GOOGLETEST_SOURCE_DIR}/CMakeLists.txt")
    message(FATAL_ERROR "LCMP_GOOGLETEST_SOURCE_DIR=${LCMP_GOOGLETEST_SOURCE_DIR} holds no CMakeLists.txt; "
                        "scripts/setup --all installs the package googletest, which puts it there")
  endif()
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory("${LCMP_GOOGLETEST_SOURCE_DIR}" "${PROJECT_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL SYSTEM)
  # Built soon: it is not what is examined. The layout of the library's types stays as the flags make it.
  foreach(library IN ITEMS gtest gmock)
    target_compile_options(${library} PRIVATE -O0 -g0)
    if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
      target_compile_options(${library} PRIVATE -fno-sanitize=all)
    endif()
  endforeach()
else()
  find_package(GTest 1.12 REQUIRED)
endif()
