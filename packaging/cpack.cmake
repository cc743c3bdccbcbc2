# Read by cpack before it packs: what finds out which packages a library or program depends on, for each machine.
set(SHLIBDEPS_EXECUTABLE "${CMAKE_CURRENT_LIST_DIR}/shlibdeps")
