# HTML diff benchmarks.

# The diff script runs in the page; it is timed in Node, by hand: cmake --build <dir> --target bench_htmldiff
find_program(TEMBREL_BENCH_NODE node)
if(TEMBREL_BENCH_NODE)
  add_custom_target(bench_htmldiff
    COMMAND ${TEMBREL_BENCH_NODE} ${CMAKE_CURRENT_LIST_DIR}/htmldiff_bench.js
    USES_TERMINAL
    COMMENT "Timing the HTML diff script")
endif()

# The web view: first and later pages shown, UI-thread stalls and memory. Run it under a display:
#   scripts/with-desktop.sh --no-keyring <dir>/bench/diff/htmldiff_view_bench cold|warm
add_executable(htmldiff_view_bench ${CMAKE_CURRENT_LIST_DIR}/htmldiff_view_bench.cpp)
target_link_libraries(htmldiff_view_bench PRIVATE tembrel_gui tembrel_guiplugin tembrel_test_support)
