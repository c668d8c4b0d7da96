# The warnings that every target of the project is built with, by each of its compilers.
add_library(zelva-warnings INTERFACE)
target_compile_options(zelva-warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wcast-qual
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast>
  $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wthread-safety>
  $<$<BOOL:${ZELVA_CORE_WERROR}>:-Werror>)
