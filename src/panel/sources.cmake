list(APPEND TEMBREL_GUI_SOURCES
  panel/InlineDiffPanelController.h panel/InlineDiffPanelController.cpp
)
list(APPEND TEMBREL_QML_FILES
  panel/PanelRoot.qml
)
