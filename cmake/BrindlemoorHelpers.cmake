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

# bm_test(SOURCE [READS_TEXT] DEPS ...) makes one test executable from one
# test file and registers its tests with CTest; the executable is named after
# its folder under tests/ and the file ("store_database_test" for
# tests/store/database_test.cc), so units of one name in different modules
# never collide, and bm_test_target(VAR SOURCE) gives that name. READS_TEXT runs the tests with OMP_THREAD_LIMIT=1: text
# recognition's OpenMP threads make it several times slower, and the limit
# must be in the environment before the process starts.
function(bm_test source)
  cmake_parse_arguments(ARG "READS_TEXT" "" "DEPS" ${ARGN})
  bm_test_target(name ${source})
  add_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} brindlemoor::testing GTest::gtest GTest::gtest_main)
  set(environment "")
  if(ARG_READS_TEXT)
    set(environment PROPERTIES ENVIRONMENT OMP_THREAD_LIMIT=1)
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 ${environment})
endfunction()

function(bm_test_target variable source)
  get_filename_component(file ${source} NAME_WE)
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR}/tests ${CMAKE_CURRENT_SOURCE_DIR})
  string(REPLACE "/" "_" folder "${folder}")
  set(${variable} ${folder}_${file} PARENT_SCOPE)
endfunction()

# bm_benchmark(SOURCE DEPS ...) makes one Google Benchmark executable.
function(bm_benchmark source)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  get_filename_component(name ${source} NAME_WE)
  add_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} benchmark::benchmark)
endfunction()
