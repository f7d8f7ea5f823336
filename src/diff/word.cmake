# Word diff, diff computer and styled diff text.
list(APPEND TEMBREL_CORE_SOURCES
  diff/Change.h
  diff/WhiteSpace.h
  diff/Graphemes.h diff/Graphemes.cpp
  diff/WordTokenizer.h diff/WordTokenizer.cpp
  diff/WordInterner.h diff/WordInterner.cpp
  diff/WordLcs.h diff/WordLcs.cpp
  diff/DiffUtils.h diff/DiffUtils.cpp
  diff/DiffComputer.h diff/DiffComputer.cpp
  diff/DiffViewMode.h
  diff/DiffSegment.h
  diff/EditNavigation.h
)
list(APPEND TEMBREL_GUI_SOURCES
  diff/DiffStyledText.h diff/DiffStyledText.cpp
  diff/DiffRenderViewModel.h diff/DiffRenderViewModel.cpp
)
list(APPEND TEMBREL_QML_FILES diff/DiffStrikeLines.qml)
# The generated QML type registrations include DiffRenderViewModel.h by its bare name.
cmake_language(DEFER CALL target_include_directories tembrel_gui PRIVATE ${CMAKE_CURRENT_LIST_DIR})
