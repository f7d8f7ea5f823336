# Word diff benchmarks: the product's diff against the full-table reference of the tests.
add_executable(bench_worddiff
  bench_worddiff.cpp
  CountingAllocator.h CountingAllocator.cpp
  ${PROJECT_SOURCE_DIR}/tests/diff/ReferenceWordDiff.h ${PROJECT_SOURCE_DIR}/tests/diff/ReferenceWordDiff.cpp
  ${PROJECT_SOURCE_DIR}/tests/diff/TextGenerator.h ${PROJECT_SOURCE_DIR}/tests/diff/TextGenerator.cpp
)
target_include_directories(bench_worddiff PRIVATE ${PROJECT_SOURCE_DIR}/tests)
target_link_libraries(bench_worddiff PRIVATE tembrel_core)
