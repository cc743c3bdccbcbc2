# Read by cpack before it packs. Of another machine's libraries dpkg-shlibdeps knows the packages for cross-building:
# packaging/shlibdeps says how they are called on that machine.
set(SHLIBDEPS_EXECUTABLE "${CMAKE_CURRENT_LIST_DIR}/shlibdeps")
