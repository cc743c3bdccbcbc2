# What every target of this project is compiled with. Carried by an interface target, so that a project
# which includes this one keeps its own settings.
add_library(lcmp_build_options INTERFACE)
target_compile_options(lcmp_build_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  $<$<BOOL:${LCMP_WERROR}>:-Werror>
  # It takes sources that are compiled together for headers.
  $<$<AND:$<BOOL:${CMAKE_UNITY_BUILD}>,$<CXX_COMPILER_ID:GNU>>:-Wno-subobject-linkage>
  # Log lines and debug information name files relative to the source folder, wherever it stands.
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
