# Install rules and package files: the public headers under include/arbor/ (the target's header
# file set, arbor/CMakeLists.txt), the shared library,
# the CMake package (find_package(Arbor CONFIG) gives Arbor::arbor, and Arbor::xml when
# arbor/xml/CMakeLists.txt adds the loader to the export set), a build-tree export and
# arbor.pc for pkg-config.

include(CMakePackageConfigHelpers)

set(ARBOR_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Arbor)

install(TARGETS arbor EXPORT ArborTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime
    NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development)

install(EXPORT ArborTargets
  NAMESPACE Arbor::
  DESTINATION ${ARBOR_CMAKE_DIR}
  COMPONENT Development)

# The same config file serves the install and the build tree: both keep ArborTargets.cmake
# beside it.
configure_file(cmake/ArborConfig.cmake.in ${PROJECT_BINARY_DIR}/ArborConfig.cmake @ONLY)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ArborConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/ArborConfig.cmake
  ${PROJECT_BINARY_DIR}/ArborConfigVersion.cmake
  DESTINATION ${ARBOR_CMAKE_DIR}
  COMPONENT Development)

# Build-tree package: find_package(Arbor CONFIG) with Arbor_DIR set to the build directory.
export(EXPORT ArborTargets
  NAMESPACE Arbor::
  FILE ${PROJECT_BINARY_DIR}/ArborTargets.cmake)

# pkg-config. The prefix is found from the .pc file's own place, so an install moved elsewhere
# (or made with `cmake --install --prefix`) still points at itself.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(ARBOR_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
  set(ARBOR_PC_LIBDIR "${CMAKE_INSTALL_FULL_LIBDIR}")
  set(ARBOR_PC_INCLUDEDIR "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
else()
  file(RELATIVE_PATH pc_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" pc_to_prefix "${pc_to_prefix}")
  set(ARBOR_PC_PREFIX "\${pcfiledir}/${pc_to_prefix}")
  set(ARBOR_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
  set(ARBOR_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
configure_file(cmake/arbor.pc.in ${PROJECT_BINARY_DIR}/arbor.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/arbor.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT Development)
