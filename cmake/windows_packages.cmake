# What a build for Windows takes where Debian has a library for the host only: {fmt} and JSON as
# headers, GoogleTest from its sources. Answers find_package() for these three.
set(header_directory ${CMAKE_BINARY_DIR}/include)
file(MAKE_DIRECTORY ${header_directory})

# /usr/include itself must stay out of sight, it belongs to another C library.
function(orb_header_library package folder)
  file(CREATE_LINK /usr/include/${folder} ${header_directory}/${folder} SYMBOLIC)
  add_library(${package}::${package} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${package}::${package} INTERFACE ${header_directory})
endfunction()

function(orb_googletest)
  set(root /usr/src/googletest/googletest)
  add_library(gtest_main STATIC ${root}/src/gtest-all.cc ${root}/src/gtest_main.cc)
  target_include_directories(gtest_main SYSTEM PUBLIC ${root}/include PRIVATE ${root})
  target_compile_options(gtest_main PRIVATE -w)
  add_library(GTest::gtest_main ALIAS gtest_main)
endfunction()

macro(orb_provide_package method package)
  if(${package} STREQUAL fmt)
    orb_header_library(fmt fmt)
    target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY)
    set(fmt_FOUND TRUE)
  elseif(${package} STREQUAL nlohmann_json)
    orb_header_library(nlohmann_json nlohmann)
    set(nlohmann_json_FOUND TRUE)
  elseif(${package} STREQUAL GTest)
    orb_googletest()
    set(GTest_FOUND TRUE)
  endif()
endmacro()
cmake_language(SET_DEPENDENCY_PROVIDER orb_provide_package SUPPORTED_METHODS FIND_PACKAGE)
