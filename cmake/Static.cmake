# libzqspmatrix.a: the objects of the library and of the embedded runtime in one archive, for programs of one file.
find_package(Boost 1.74 REQUIRED)
add_library(zqspmatrix_static STATIC
  $<TARGET_OBJECTS:zqspmatrix_objects> $<TARGET_OBJECTS:kx> $<TARGET_OBJECTS:zqfl>
  ${PROJECT_SOURCE_DIR}/src/core/note_method.cpp)
zqsp_configure_target(zqspmatrix_static)
target_include_directories(zqspmatrix_static PRIVATE ${PROJECT_SOURCE_DIR}/src)
add_library(zqspmatrix::static ALIAS zqspmatrix_static)
set_target_properties(zqspmatrix_static PROPERTIES OUTPUT_NAME zqspmatrix EXPORT_NAME static LINKER_LANGUAGE CXX)
target_link_libraries(zqspmatrix_static INTERFACE Boost::headers)
target_include_directories(zqspmatrix_static INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/platform>
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/runtime>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/zqspmatrix>)
