# One interface target carries the flags that every target of ours compiles with.
add_library(tvn_flags INTERFACE)
target_compile_options(tvn_flags INTERFACE
  -Wall -Wextra -Wshadow
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion>
  $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:Clang>>:-Wno-sign-conversion>
  # Same input, same bits: no contraction of a*b+c behind our back.
  -ffp-contract=off)
if(TOVAN_WERROR)
  target_compile_options(tvn_flags INTERFACE -Werror)
endif()
if(TOVAN_SANITIZE)
  target_compile_options(tvn_flags INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tvn_flags INTERFACE -fsanitize=address,undefined)
endif()
if(TOVAN_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL Clang)
    message(FATAL_ERROR "TOVAN_FUZZ needs clang: the preset fuzz chooses it")
  endif()
  target_compile_options(tvn_flags INTERFACE
    -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tvn_flags INTERFACE -fsanitize=address,undefined)
endif()
if(TOVAN_SANITIZE_THREAD)
  target_compile_options(tvn_flags INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
  target_link_options(tvn_flags INTERFACE -fsanitize=thread)
endif()
if(TOVAN_CHECK_LEVEL STREQUAL "")
  target_compile_definitions(tvn_flags INTERFACE TVN_CHECK_LEVEL=$<IF:$<CONFIG:Debug>,2,0>)
else()
  target_compile_definitions(tvn_flags INTERFACE TVN_CHECK_LEVEL=${TOVAN_CHECK_LEVEL})
endif()
