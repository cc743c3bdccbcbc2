# The target yaml-cpp: this machine's library, or built here with this build's own flags, for another machine or
# where the flags change the layout of the standard library's types. Include it where the target is linked.
set(LCMP_YAML_CPP_SOURCE_DIR "" CACHE PATH
    "Source folder of yaml-cpp 0.7 (scripts/setup --all: build/sources/yaml-cpp); empty: the installed library")
if(TARGET yaml-cpp)
  return()
endif()
if(LCMP_YAML_CPP_SOURCE_DIR)
  if(NOT EXISTS "${LCMP_YAML_CPP_SOURCE_DIR}/CMakeLists.txt")
    message(FATAL_ERROR "LCMP_YAML_CPP_SOURCE_DIR=${LCMP_YAML_CPP_SOURCE_DIR} holds no CMakeLists.txt; "
                        "scripts/setup --all fetches the sources to build/sources/yaml-cpp")
  endif()
  set(YAML_CPP_BUILD_TESTS OFF CACHE BOOL "" FORCE)
  set(YAML_CPP_BUILD_TOOLS OFF CACHE BOOL "" FORCE)
  set(YAML_CPP_BUILD_CONTRIB OFF CACHE BOOL "" FORCE)
  set(YAML_CPP_INSTALL OFF CACHE BOOL "" FORCE)
  set(YAML_CPP_CLANG_FORMAT_EXE "" CACHE STRING "" FORCE)  # no target of theirs that formats
  set(YAML_BUILD_SHARED_LIBS OFF CACHE BOOL "" FORCE)
  add_subdirectory("${LCMP_YAML_CPP_SOURCE_DIR}" "${PROJECT_BINARY_DIR}/yaml-cpp" EXCLUDE_FROM_ALL SYSTEM)
else()
  find_package(yaml-cpp 0.7 REQUIRED)
endif()
