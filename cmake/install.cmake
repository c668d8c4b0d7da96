# What is installed, by component. "runtime": the shared library. "development": its headers, and what programs need to
# link it and to find it by pkg-config or find_package. "tests", for devices under test: the conformance program and the
# library that it links.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

install(TARGETS zelva-core zelva-interfaces EXPORT zelva-core
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zelva COMPONENT development
  PRIVATE_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zelva COMPONENT tests EXCLUDE_FROM_ALL)
install(EXPORT zelva-core FILE zelva-core-config.cmake NAMESPACE zelva::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zelva-core COMPONENT development)
write_basic_package_version_file(zelva-core-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zelva-core-config-version.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zelva-core COMPONENT development)

# The prefix may still change when the project is installed, and after that: it is where the file is found, unless the
# library's folder does not lie in it.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  cmake_path(APPEND pc_folder "\${pcfiledir}" ${pc_prefix})
  string(REGEX REPLACE "/$" "" pc_prefix ${pc_folder})
endif()
cmake_path(APPEND pc_includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})
cmake_path(APPEND pc_libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
configure_file(cmake/zelva-core.pc.in zelva-core.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zelva-core.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(TARGET testSettings)
  set(library_folder $ORIGIN/..)
  cmake_path(APPEND library_folder ${CMAKE_INSTALL_LIBDIR})
  set_target_properties(testSettings PROPERTIES INSTALL_RPATH "${library_folder}")
  install(TARGETS testSettings zelva-core-test COMPONENT tests EXCLUDE_FROM_ALL)
endif()
