# The installed package: libraries, headers, shell, and what find_package() and pkg-config read.
# Install components, which the Debian packages follow: library, development, shell.
option(ZQSP_INSTALL "Generate install rules" ${PROJECT_IS_TOP_LEVEL})
if(NOT ZQSP_INSTALL)
  return()
endif()
include(CMakePackageConfigHelpers)

set(libraries zqspmatrix kx zqfl)
install(TARGETS ${libraries} zqspmatrix_cpp EXPORT zqspmatrixTargets
  LIBRARY COMPONENT library NAMELINK_COMPONENT development)
install(FILES
    ${PROJECT_SOURCE_DIR}/include/zqspmatrix.h
    ${PROJECT_SOURCE_DIR}/include/zqspmatrix.hpp
    ${PROJECT_SOURCE_DIR}/include/zqspmatrix_eigen.hpp
    ${PROJECT_SOURCE_DIR}/platform/kx_array.hpp
    ${PROJECT_SOURCE_DIR}/platform/fl_except.hpp
    ${PROJECT_SOURCE_DIR}/runtime/kx_runtime.hpp
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zqspmatrix COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/zqspmatrix_cpp
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zqspmatrix COMPONENT development)

if(ZQSP_BUILD_SHELL)
  install(TARGETS kxsh RUNTIME COMPONENT shell)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/man/kxsh.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT shell)
  file(GLOB examples ${PROJECT_SOURCE_DIR}/examples/*.kx ${PROJECT_SOURCE_DIR}/examples/*.mtx)
  install(FILES ${examples} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kxsh/examples COMPONENT shell)
endif()

# Under any prefix of its own the package finds its parts relative to itself; in /usr the loader looks anyway.
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set_target_properties(${libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
  if(ZQSP_BUILD_SHELL)
    file(RELATIVE_PATH libraries_from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(kxsh PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_bin}")
  endif()
endif()

# find_package(zqspmatrix CONFIG)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zqspmatrix)
install(EXPORT zqspmatrixTargets NAMESPACE zqspmatrix:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/zqspmatrixConfig.cmake.in
  ${PROJECT_BINARY_DIR}/zqspmatrixConfig.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zqspmatrixConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/zqspmatrixConfig.cmake
    ${PROJECT_BINARY_DIR}/zqspmatrixConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

# pkg-config
file(RELATIVE_PATH prefix_from_pc ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${CMAKE_CURRENT_LIST_DIR}/zqspmatrix.pc.in ${PROJECT_BINARY_DIR}/zqspmatrix.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zqspmatrix.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(PROJECT_IS_TOP_LEVEL)
  include(cmake/Packaging.cmake)
endif()
