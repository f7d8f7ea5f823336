list(APPEND TEMBREL_QML_FILES
  panel/PanelRoot.qml
)
