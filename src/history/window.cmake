# The history window: list and window models, the controller, and the views.
list(APPEND TEMBREL_CORE_SOURCES
  history/HistoryGrouping.h history/HistoryGrouping.cpp
)
list(APPEND TEMBREL_GUI_SOURCES
  history/HistoryListModel.h history/HistoryListModel.cpp
  history/HistoryWindowModel.h history/HistoryWindowModel.cpp
  history/HistoryWindowController.h history/HistoryWindowController.cpp
)
list(APPEND TEMBREL_QML_FILES
  history/HistoryWindow.qml
  history/HistoryWindowTheme.qml
  history/HistoryWindowButton.qml
  history/HistoryWindowConfirm.qml
  history/HistoryListPane.qml
  history/HistoryListRow.qml
  history/HistoryWindowDetail.qml
  history/HistoryWindowTracePopover.qml
)
list(APPEND TEMBREL_GUI_RESOURCES
  history/HistoryWindowIcons/search.svg
  history/HistoryWindowIcons/xmark.svg
  history/HistoryWindowIcons/checkmark.svg
  history/HistoryWindowIcons/wrench.svg
  history/HistoryWindowIcons/copy.svg
)
# The generated QML type registrations include the models' headers by their bare names.
cmake_language(DEFER CALL target_include_directories tembrel_gui PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/history)
