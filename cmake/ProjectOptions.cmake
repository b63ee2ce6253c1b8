# What every target of the project is compiled with: zqsp_configure_target(<target>).

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

if(ZQSP_LTO AND CMAKE_BUILD_TYPE STREQUAL "Release")
  include(CheckIPOSupported)
  check_ipo_supported(RESULT ZQSP_HAVE_LTO OUTPUT ZQSP_LTO_WHY LANGUAGES CXX)
endif()

function(zqsp_configure_target target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  if(ZQSP_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(ZQSP_FUZZ)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
  if(ZQSP_SANITIZE)
    set(sanitizers $<IF:$<STREQUAL:${ZQSP_SANITIZE},thread>,thread,address$<COMMA>undefined>)
    target_compile_options(${target} PRIVATE -fsanitize=${sanitizers} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${sanitizers})
  elseif(ZQSP_HAVE_LTO)
    # The libraries hold the loops that matter; programs and tests would only link more slowly.
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "SHARED_LIBRARY" OR type STREQUAL "OBJECT_LIBRARY")
      set_target_properties(${target} PROPERTIES INTERPROCEDURAL_OPTIMIZATION ON)
    endif()
  endif()
endfunction()
