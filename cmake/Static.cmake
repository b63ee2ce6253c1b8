# libzqspmatrix.a: the sources of the library and of the embedded runtime in one archive, for programs of one file.
add_library(zqspmatrix_static STATIC)
add_library(zqspmatrix::static ALIAS zqspmatrix_static)
zqsp_configure_target(zqspmatrix_static)
set_target_properties(zqspmatrix_static PROPERTIES OUTPUT_NAME zqspmatrix EXPORT_NAME static)
foreach(part zqfl kx zqspmatrix)
  get_target_property(folder ${part} SOURCE_DIR)
  get_target_property(sources ${part} SOURCES)
  foreach(source ${sources})
    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${folder})
    target_sources(zqspmatrix_static PRIVATE ${source})
  endforeach()
  get_target_property(definitions ${part} COMPILE_DEFINITIONS)
  if(definitions)
    target_compile_definitions(zqspmatrix_static PRIVATE ${definitions})
  endif()
endforeach()
target_link_libraries(zqspmatrix_static PUBLIC Boost::headers)
target_include_directories(zqspmatrix_static
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
         $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/platform>
         $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/runtime>
         $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/zqspmatrix>
  PRIVATE ${PROJECT_SOURCE_DIR}/src)
