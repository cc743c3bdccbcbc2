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
else()
  find_package(GTest 1.12 REQUIRED)
endif()
