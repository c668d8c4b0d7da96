# What is installed: the library, its headers, and what programs need to find them by pkg-config or find_package. The
# conformance program and the library that it links are a component of their own, "tests", for devices under test.
include(CMakePackageConfigHelpers)

install(TARGETS zelva-core zelva-interfaces EXPORT zelva-core
  LIBRARY NAMELINK_COMPONENT Unspecified
  FILE_SET HEADERS
  FILE_SET debug_headers COMPONENT tests EXCLUDE_FROM_ALL)
install(EXPORT zelva-core FILE zelva-core-config.cmake NAMESPACE zelva::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zelva-core)
write_basic_package_version_file(zelva-core-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zelva-core-config-version.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zelva-core)

# The prefix may still change when the project is installed, hence the replacement then.
install(CODE "
  set(CMAKE_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
  set(CMAKE_INSTALL_LIBDIR ${CMAKE_INSTALL_LIBDIR})
  set(PROJECT_NAME ${PROJECT_NAME})
  set(PROJECT_DESCRIPTION \"${PROJECT_DESCRIPTION}\")
  set(PROJECT_VERSION ${PROJECT_VERSION})
  configure_file(${CMAKE_CURRENT_LIST_DIR}/zelva-core.pc.in
    \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig/zelva-core.pc\" @ONLY)")

if(TARGET testSettings)
  install(TARGETS testSettings zelva-core-test COMPONENT tests EXCLUDE_FROM_ALL)
endif()
