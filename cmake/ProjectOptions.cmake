# What every target of the project is compiled with: zqsp_configure_target(<target>).

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

# A static library needs objects that are no bytecode alone, which clang++ does not make.
if(ZQSP_LTO AND CMAKE_BUILD_TYPE STREQUAL "Release" AND (CMAKE_CXX_COMPILER_ID STREQUAL "GNU" OR NOT ZQSP_BUILD_STATIC))
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
  # Where multiplying and adding is one instruction, ranges would have other values than elsewhere.
  target_compile_options(${target} PRIVATE -ffp-contract=off)
  # Embedded in a project that says nothing of it, the library is optimised all the same.
  if(NOT PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES
     AND NOT CMAKE_CXX_FLAGS MATCHES "-O")
    target_compile_options(${target} PRIVATE -O3)
    target_compile_definitions(${target} PRIVATE NDEBUG)
  endif()
  if(ZQSP_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  # What is to be covered, not what drives it: libFuzzer's bookkeeping grows with each place that it counts.
  if(ZQSP_FUZZ AND NOT CMAKE_CURRENT_SOURCE_DIR MATCHES "/tests(/|$)")
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
      if(ZQSP_BUILD_STATIC) # whose users may link without
        target_compile_options(${target} PRIVATE -ffat-lto-objects)
      endif()
    endif()
  endif()
endfunction()
