# Debian packages by cpack -G DEB: the library, its development files, and the shell. scripts/package drives it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "zqspmatrix developers <zqspmatrix@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development)
if(ZQSP_BUILD_SHELL)
  list(APPEND CPACK_COMPONENTS_ALL shell)
endif()
if(ZQSP_BUILD_PYTHON)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src ${PROJECT_BINARY_DIR}/runtime)
set(this_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(library_package libzqspmatrix${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "The shared library, with an embedded runtime for programs without one.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzqspmatrix-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} ${this_version}, libboost-dev (>= 1.74)")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers, CMake package and pkg-config file.")

set(CPACK_DEBIAN_SHELL_PACKAGE_NAME kxsh)
set(CPACK_DEBIAN_SHELL_PACKAGE_SECTION math)
set(CPACK_DEBIAN_SHELL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_SHELL_PACKAGE_DEPENDS "${library_package} ${this_version}")
set(CPACK_COMPONENT_SHELL_DESCRIPTION "A shell that reads, changes and draws sparse matrices by subscripts.")

# The extension is for one minor version of Python; Debian's has no more than one.
if(ZQSP_BUILD_PYTHON)
  math(EXPR next_python_minor "${python_minor} + 1")
endif()
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-zqspmatrix)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA # compiled modules come and go with the package
  ${CMAKE_CURRENT_LIST_DIR}/debian-python/postinst ${CMAKE_CURRENT_LIST_DIR}/debian-python/prerm)
string(CONCAT CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${library_package} ${this_version}, python3-numpy, python3-scipy, "
  "python3 (>= 3.${python_minor}), python3 (<< 3.${next_python_minor})")
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "The Python package, for SciPy's sparse matrices.")

# Debian wants the licence in each package; in an installation by hand it would only be in the way.
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright COMPONENT library EXCLUDE_FROM_ALL
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${library_package})
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright COMPONENT development EXCLUDE_FROM_ALL
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libzqspmatrix-dev)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright COMPONENT shell EXCLUDE_FROM_ALL
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kxsh)
if(NOT ZQSP_PYTHON_WHEEL)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright COMPONENT python EXCLUDE_FROM_ALL
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/python3-zqspmatrix)
endif()

include(CPack)
