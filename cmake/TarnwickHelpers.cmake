# tarnwick_add_library(NAME [DIRECTORY dir] [SOURCES ...] [PUBLIC deps...] [PRIVATE deps...] [MODULE_DIR dir])
# Declares a shared library from the sources listed and every .cpp under DIRECTORY (default: the
# calling folder). Include paths are rooted at host/ and plugins/.
function(tarnwick_add_library name)
  cmake_parse_arguments(ARG "" "DIRECTORY;OUTPUT_DIRECTORY" "SOURCES;EXCLUDE;PUBLIC;PRIVATE" ${ARGN})
  if(NOT ARG_DIRECTORY)
    set(ARG_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
  endif()
  file(GLOB_RECURSE globbed CONFIGURE_DEPENDS ${ARG_DIRECTORY}/*.cpp)
  foreach(pattern IN LISTS ARG_EXCLUDE)
    list(FILTER globbed EXCLUDE REGEX "${pattern}")
  endforeach()
  add_library(${name} SHARED ${globbed} ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/host ${PROJECT_SOURCE_DIR}/plugins)
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
  if(ARG_OUTPUT_DIRECTORY)
    set_target_properties(${name} PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${ARG_OUTPUT_DIRECTORY})
  endif()
endfunction()

# tarnwick_add_test(NAME [SOURCES ...] [DIRECTORY dir] [LIBS ...] [LABELS ...])
# Declares one GoogleTest executable from the listed sources and every .cpp under DIRECTORY,
# registers each test case with CTest and tags it with LABELS (default: unit).
function(tarnwick_add_test name)
  cmake_parse_arguments(ARG "" "DIRECTORY" "SOURCES;LIBS;LABELS" ${ARGN})
  set(globbed "")
  if(ARG_DIRECTORY)
    file(GLOB_RECURSE globbed CONFIGURE_DEPENDS ${ARG_DIRECTORY}/*.cpp)
  endif()
  if(NOT ARG_LABELS)
    set(ARG_LABELS unit)
  endif()
  add_executable(${name} ${globbed} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gmock TarnwickTestSupport)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
  gtest_discover_tests(${name}
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/tests
    PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT 600
    DISCOVERY_TIMEOUT 120)
endfunction()
