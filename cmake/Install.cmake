# The installed package: libraries, headers, shell, and what find_package() and pkg-config read.
# Install components: library, development, shell, python.
option(ZQSP_INSTALL "Generate install rules" ${PROJECT_IS_TOP_LEVEL})
if(NOT ZQSP_INSTALL)
  return()
endif()
include(CMakePackageConfigHelpers)

# The names of the embedded runtime carry no version, so that an interpreter's own can stand in its place; where such
# names are not welcome (the Debian packages), a folder of this library's own keeps them apart.
set(ZQSP_INSTALL_RUNTIME_DIR ${CMAKE_INSTALL_LIBDIR} CACHE STRING "Where libkx and libzqfl are installed")
set(libraries zqspmatrix zqspmatrix_cpp)
if(ZQSP_BUILD_STATIC)
  list(APPEND libraries zqspmatrix_static)
endif()
install(TARGETS ${libraries} EXPORT zqspmatrixTargets
  LIBRARY COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development)
install(TARGETS kx zqfl EXPORT zqspmatrixTargets
  LIBRARY DESTINATION ${ZQSP_INSTALL_RUNTIME_DIR} COMPONENT library)
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

# Every part finds the others relative to itself. In /usr the loader looks into its own folder unasked, and the other one
# is named in full, as $ORIGIN needs /proc, which a chroot may lack.
set(library_folders ${CMAKE_INSTALL_LIBDIR} ${ZQSP_INSTALL_RUNTIME_DIR})
list(REMOVE_DUPLICATES library_folders)
function(set_install_rpath target folder) # of a TARGET that is installed into FOLDER
  set(rpath "")
  foreach(library_folder ${library_folders})
    file(RELATIVE_PATH relative /prefix/${folder} /prefix/${library_folder})
    string(REGEX REPLACE "/$" "" found "$ORIGIN/${relative}")
    if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
      set(found /usr/${library_folder})
    endif()
    if(NOT found STREQUAL "/usr/${CMAKE_INSTALL_LIBDIR}")
      list(APPEND rpath ${found})
    endif()
  endforeach()
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "${rpath}")
endfunction()
set_install_rpath(zqspmatrix ${CMAKE_INSTALL_LIBDIR})
set_install_rpath(kx ${ZQSP_INSTALL_RUNTIME_DIR})
set_install_rpath(zqfl ${ZQSP_INSTALL_RUNTIME_DIR})
if(ZQSP_BUILD_SHELL)
  set_install_rpath(kxsh ${CMAKE_INSTALL_BINDIR})
endif()
if(ZQSP_BUILD_PYTHON)
  include(${CMAKE_CURRENT_LIST_DIR}/InstallPython.cmake)
endif()
# So do programs that are linked against the installed package.
set(runtime_link_flags "")
if(NOT ZQSP_INSTALL_RUNTIME_DIR STREQUAL CMAKE_INSTALL_LIBDIR)
  target_link_options(kx INTERFACE
    "$<INSTALL_INTERFACE:LINKER:-rpath,$<INSTALL_PREFIX>/${ZQSP_INSTALL_RUNTIME_DIR}>")
  set(runtime_link_flags
    "-L\${prefix}/${ZQSP_INSTALL_RUNTIME_DIR} -Wl,-rpath,\${prefix}/${ZQSP_INSTALL_RUNTIME_DIR} ")
endif()

# The manual page of the interface, made of its header.
add_custom_command(OUTPUT zqspmatrix.3
  COMMAND ${PROJECT_SOURCE_DIR}/scripts/man-page ${PROJECT_SOURCE_DIR}/include/zqspmatrix.h ${PROJECT_VERSION}
          zqspmatrix.3
  DEPENDS ${PROJECT_SOURCE_DIR}/scripts/man-page ${PROJECT_SOURCE_DIR}/include/zqspmatrix.h VERBATIM)
add_custom_target(zqspmatrix_manual ALL DEPENDS zqspmatrix.3)
install(FILES ${PROJECT_BINARY_DIR}/zqspmatrix.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)

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
