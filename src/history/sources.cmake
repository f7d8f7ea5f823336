# Files of the history subsystem; see src/CMakeLists.txt for the lists.
list(APPEND TEMBREL_CORE_SOURCES
  history/FixHistoryEntry.h history/FixHistoryEntry.cpp
  history/RelativeDate.h history/RelativeDate.cpp
  history/HistoryFile.h history/HistoryFile.cpp
  history/HistoryManager.h history/HistoryManager.cpp
)
include(history/window.cmake)
