# What makes faults in memory harder to exploit: the flags that Debian builds its packages with. Of the 150 KB that the
# library may take, the stack protector costs 10, protected branches 3, and all else next to nothing.
include(CheckCXXCompilerFlag)
option(ZELVA_CORE_HARDENED "Build with checks of buffers and the stack" ON)
if(NOT ZELVA_CORE_HARDENED)
  return()
endif()

add_compile_options(-Wdate-time -Wformat -Werror=format-security)
add_link_options(LINKER:-z,relro,-z,now,-z,noexecstack)

# Some are for one kind of processor only; clang passes those of others over with a warning.
set(CMAKE_REQUIRED_FLAGS -Werror)
foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER "ZELVA_CORE_HAS_${flag}" has_flag)
  check_cxx_compiler_flag(${flag} ${has_flag})
  if(${has_flag})
    add_compile_options(${flag})
  endif()
endforeach()
unset(CMAKE_REQUIRED_FLAGS)

# Takes an optimised build. Sanitizers look at the same calls, and see more; a level that the caller has chosen stays.
if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize|_FORTIFY_SOURCE")
  add_compile_definitions($<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
endif()
