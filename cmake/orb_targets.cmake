# orb_use_prefix(<target> <prefix>): puts a header of cmake/prefix/ before each source of the target.
# GCC 12 sees the precompiled strings of the library write beyond their ends, so these warnings are
# left to Clang, which builds without.
function(orb_use_prefix target prefix)
  if(TARGET ${prefix})
    add_dependencies(${target} ${prefix}-precompiled)
    target_compile_options(${target} PRIVATE -I${CMAKE_BINARY_DIR}/prefix -I${CMAKE_SOURCE_DIR}/cmake/prefix
                           "SHELL:-include ${prefix}.h" -Wno-array-bounds -Wno-restrict
                           -Wno-stringop-overflow)
  endif()
endfunction()

# orb_library(<folder> DEPENDS <libraries> [EXCLUDE <files>]): the static library orb_<folder> from
# every .cpp below the folder. A folder without sources yet becomes an empty interface.
function(orb_library folder)
  cmake_parse_arguments(ARG "" "" "DEPENDS;EXCLUDE" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${folder}/*.cpp)
  foreach(name IN LISTS ARG_EXCLUDE)
    list(REMOVE_ITEM sources ${CMAKE_SOURCE_DIR}/${folder}/${name})
  endforeach()
  if(sources)
    add_library(orb_${folder} STATIC ${sources})
    target_include_directories(orb_${folder} PUBLIC ${CMAKE_SOURCE_DIR})
    target_link_libraries(orb_${folder} PUBLIC ${ARG_DEPENDS})
    orb_use_prefix(orb_${folder} orb_prefix)
  else()
    add_library(orb_${folder} INTERFACE)
    target_link_libraries(orb_${folder} INTERFACE ${ARG_DEPENDS})
  endif()
endfunction()

# orb_tests(<folder>): the GoogleTest program orb_<folder>_tests from tests/<folder>/*.cpp.
function(orb_tests folder)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/${folder}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(orb_${folder}_tests ${sources})
  target_include_directories(orb_${folder}_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(orb_${folder}_tests PRIVATE orb_${folder} GTest::gtest_main)
  orb_use_prefix(orb_${folder}_tests orb_tests_prefix)
  add_test(NAME ${folder} COMMAND orb_${folder}_tests --gtest_brief=1)
endfunction()
