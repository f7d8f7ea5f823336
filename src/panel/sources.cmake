# The result panel: its phases and model, the window and controller, and the views.
list(APPEND TEMBREL_GUI_SOURCES
  panel/PanelPhase.h panel/PanelPhase.cpp
  panel/PanelTexts.h panel/PanelTexts.cpp
  panel/PanelViewModel.h panel/PanelViewModel.cpp
  panel/DiffSegments.h panel/DiffSegments.cpp
  panel/NavigableDiffText.h panel/NavigableDiffText.cpp
  panel/PanelKeyFilter.h panel/PanelKeyFilter.cpp
  panel/InlineDiffPanelController.h panel/InlineDiffPanelController.cpp
)
list(APPEND TEMBREL_QML_FILES
  panel/PanelRoot.qml
  panel/PanelTheme.qml
  panel/PanelBackground.qml
  panel/LoadingPillView.qml
  panel/AnimatedTembrel.qml
  panel/SuccessPanelView.qml
  panel/NavigableDiffView.qml
  panel/EditNavigationFooter.qml
  panel/DismissFooter.qml
  panel/KeyboardHint.qml
  panel/NavigationButton.qml
  panel/PanelButton.qml
  panel/NoChangesPanelView.qml
  panel/ErrorPanelView.qml
  panel/CircularCountdownRing.qml
  panel/IconWithCountdown.qml
  panel/PanelIcon.qml
)
list(APPEND TEMBREL_GUI_RESOURCES
  panel/icons/checkmark-circle.svg
  panel/icons/warning-triangle.svg
  panel/icons/chevron-up.svg
  panel/icons/chevron-down.svg
)
# The generated QML type registrations include the panel's headers by their bare names.
cmake_language(DEFER CALL target_include_directories tembrel_gui PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/panel)
