# HTML diff tests.

# The diff script runs in the page, so its tests run in Node's own test runner.
find_program(TEMBREL_NODE node)
if(TEMBREL_NODE)
  add_test(NAME htmldiff_js COMMAND ${TEMBREL_NODE} --test ${CMAKE_CURRENT_LIST_DIR}/js/)
  set_tests_properties(htmldiff_js PROPERTIES LABELS unit TIMEOUT 60)
else()
  message(WARNING "node not found: the HTML diff script tests are not registered")
endif()

tembrel_add_test(tst_htmldiffpage LABEL unit
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_htmldiffpage.cpp LIBS tembrel_gui tembrel_guiplugin)
tembrel_add_test(tst_diffwebview LABEL platform TIMEOUT 180
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_diffwebview.cpp LIBS tembrel_gui tembrel_guiplugin)
