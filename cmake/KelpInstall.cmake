# Installation: headers, the three shared libraries, a CMake package giving
# Kelp::Core, Kelp::ImageLoad and Kelp::FileIO, and a pkg-config file.
include(CMakePackageConfigHelpers)

set(KELP_CMAKE_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KelpFileIO)

# The libraries find each other beside themselves wherever the prefix is,
# since a host's own RUNPATH does not reach the libraries' dependencies.
set_target_properties(KelpCore KelpImageLoad KelpFileIO PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS KelpCore KelpImageLoad KelpFileIO
  EXPORT KelpFileIOTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${KELP_INSTALL_INCLUDEDIR})

install(FILES
  ${PROJECT_SOURCE_DIR}/include/KelpFileIO.h
  ${PROJECT_SOURCE_DIR}/include/KelpFileIOHost.h
  ${PROJECT_SOURCE_DIR}/include/KelpReport.h
  ${KELP_CORE_PUBLIC_HEADERS}
  ${KELP_IMAGELOAD_PUBLIC_HEADERS}
  DESTINATION ${KELP_INSTALL_INCLUDEDIR})

install(EXPORT KelpFileIOTargets
  NAMESPACE Kelp::
  DESTINATION ${KELP_CMAKE_INSTALL_DIR})

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/KelpFileIOConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KelpFileIOConfig.cmake
  INSTALL_DESTINATION ${KELP_CMAKE_INSTALL_DIR})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/KelpFileIOConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/KelpFileIOConfig.cmake
  ${PROJECT_BINARY_DIR}/KelpFileIOConfigVersion.cmake
  DESTINATION ${KELP_CMAKE_INSTALL_DIR})

# The pkg-config file finds the prefix from its own place, so the tree can be
# installed with --prefix or moved without breaking it.
file(RELATIVE_PATH KELP_PC_TO_PREFIX
  /root/${CMAKE_INSTALL_LIBDIR}/pkgconfig /root)
configure_file(${PROJECT_SOURCE_DIR}/cmake/kelpfileio.pc.in
  ${PROJECT_BINARY_DIR}/kelpfileio.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kelpfileio.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
