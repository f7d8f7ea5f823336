# HTML diff tests.

# The diff script runs in the page, so its tests run in Node's own test runner.
find_program(TEMBREL_NODE node)
if(TEMBREL_NODE)
  add_test(NAME htmldiff_js COMMAND ${TEMBREL_NODE} --test ${CMAKE_CURRENT_LIST_DIR}/js/)
  set_tests_properties(htmldiff_js PROPERTIES LABELS unit TIMEOUT 60)
else()
  message(WARNING "node not found: the HTML diff script tests are not registered")
endif()
