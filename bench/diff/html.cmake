# HTML diff benchmarks.

# The diff script runs in the page; it is timed in Node, by hand: cmake --build <dir> --target bench_htmldiff
find_program(TEMBREL_BENCH_NODE node)
if(TEMBREL_BENCH_NODE)
  add_custom_target(bench_htmldiff
    COMMAND ${TEMBREL_BENCH_NODE} ${CMAKE_CURRENT_LIST_DIR}/htmldiff_bench.js
    USES_TERMINAL
    COMMENT "Timing the HTML diff script")
endif()
