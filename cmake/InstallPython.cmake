# The Python package: beside the libraries of the same prefix or, in a wheel, together with them in the package itself.
option(ZQSP_PYTHON_WHEEL "Install the package's compiled part and its libraries into the prefix, as setup.py does" OFF)
if(ZQSP_PYTHON_WHEEL)
  set(python_package .)
  set_target_properties(zqspmatrix_python PROPERTIES INSTALL_RPATH $ORIGIN)
  set_target_properties(zqspmatrix PROPERTIES VERSION ${PROJECT_VERSION_MAJOR}) # one file instead of a link and a file
  install(TARGETS zqspmatrix kx zqfl LIBRARY DESTINATION . COMPONENT python NAMELINK_SKIP)
else()
  set(python_dir lib/python3.${python_minor}/site-packages)
  if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(python_dir lib/python3/dist-packages) # where Debian has the packages of its own Python
  endif()
  set(ZQSP_PYTHON_INSTALL_DIR ${python_dir} CACHE STRING "Where Python packages are installed, below the prefix")
  set(python_package ${ZQSP_PYTHON_INSTALL_DIR}/zqspmatrix)
  set_install_rpath(zqspmatrix_python ${python_package})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/zqspmatrix/ DESTINATION ${python_package} COMPONENT python
    FILES_MATCHING PATTERN "*.py" PATTERN "*.pyi" PATTERN "py.typed")
endif()
install(TARGETS zqspmatrix_python LIBRARY DESTINATION ${python_package} COMPONENT python)
