# bm_library(NAME SOURCES ... DEPS ...) makes the static library brindlemoor_NAME
# with the alias brindlemoor::NAME; headers are included from the repository
# root as "core/<module>/<file>.h".
function(bm_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_library(brindlemoor_${name} STATIC ${ARG_SOURCES})
  add_library(brindlemoor::${name} ALIAS brindlemoor_${name})
  target_include_directories(brindlemoor_${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(brindlemoor_${name} PUBLIC ${ARG_DEPS})
endfunction()

# bm_test(SOURCE DEPS ...) makes one test executable from one test file and
# registers its tests with CTest; the executable is named after the file.
function(bm_test source)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  get_filename_component(name ${source} NAME_WE)
  add_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} brindlemoor::testing GTest::gtest GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60)
endfunction()

# bm_benchmark(SOURCE DEPS ...) makes one Google Benchmark executable.
function(bm_benchmark source)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  get_filename_component(name ${source} NAME_WE)
  add_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} benchmark::benchmark)
endfunction()
