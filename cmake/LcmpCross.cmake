# What a build for another machine takes from this one: libraries that are headers alone. The folder holds links
# to them and nothing else, for beside them in /usr/include lie headers that are right for this machine only.
set(LCMP_HEADERS_FROM /usr CACHE PATH "Prefix of the Boost, CLI11 and nlohmann-json headers to build with")
set(prefix "${PROJECT_BINARY_DIR}/headers")
file(MAKE_DIRECTORY "${prefix}/include" "${prefix}/share/cmake")
foreach(entry include/boost include/CLI include/nlohmann share/cmake/CLI11 share/cmake/nlohmann_json)
  file(CREATE_LINK "${LCMP_HEADERS_FROM}/${entry}" "${prefix}/${entry}" SYMBOLIC)
endforeach()
list(APPEND CMAKE_FIND_ROOT_PATH "${prefix}")
list(APPEND CMAKE_PREFIX_PATH "${prefix}")
set(BOOST_INCLUDEDIR "${prefix}/include")
# Boost's own package description resolves links, and would name /usr/include.
set(Boost_NO_BOOST_CMAKE ON)

# AddressSanitizer's library for 32-bit PowerPC needs atomic operations of eight bytes: most are libatomic's, the
# last is ours.
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
  set(is_program "$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>")
  target_sources(lcmp_build_options INTERFACE "$<${is_program}:${CMAKE_CURRENT_LIST_DIR}/wideAtomics.cpp>")
  target_link_libraries(lcmp_build_options INTERFACE "$<${is_program}:atomic>")
endif()
