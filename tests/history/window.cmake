# The history window: grouping, the list and window models, and the window itself.
tembrel_add_test(tst_historygrouping LABEL unit SOURCES tst_historygrouping.cpp LIBS tembrel_core)
tembrel_add_test(tst_historywindow LABEL platform
  SOURCES tst_historywindow.cpp HistoryWindowFixture.h HistoryWindowFixture.cpp
  LIBS tembrel_gui tembrel_guiplugin)
add_executable(historywindow_harness historywindow_harness.cpp HistoryWindowFixture.h HistoryWindowFixture.cpp)
target_link_libraries(historywindow_harness PRIVATE tembrel_gui tembrel_guiplugin tembrel_test_support)
tembrel_add_test(tst_historylistmodel LABEL unit SOURCES tst_historylistmodel.cpp LIBS tembrel_gui)
