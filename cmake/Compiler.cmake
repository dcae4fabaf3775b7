# The compiler, its warnings and its sanitizers, for every target.

if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang" OR CMAKE_CXX_COMPILER_VERSION VERSION_LESS 19)
  message(FATAL_ERROR
    "Tavrin Assistant is built with clang 19 or newer; found ${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}. "
    "Debian 12 and 13 package it as clang-19; './tavrin' installs it and uses the presets that select it. "
    "gcc 12 is refused on purpose: it destroys temporaries inside co_await expressions twice.")
endif()

set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor -Wno-missing-designated-field-initializers -Werror)
add_link_options(-fuse-ld=lld)

set(TAVRIN_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined or thread")
if(TAVRIN_SANITIZE)
  add_compile_options(-fsanitize=${TAVRIN_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TAVRIN_SANITIZE})
endif()
