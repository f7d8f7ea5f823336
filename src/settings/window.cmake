# The settings window, the modes editor and the shortcut recorder.
list(APPEND TEMBREL_CORE_SOURCES
  modes/QtKeyTranslation.h modes/QtKeyTranslation.cpp
  settings/HotkeyRecorderConflicts.h settings/HotkeyRecorderConflicts.cpp
)
list(APPEND TEMBREL_GUI_SOURCES
  settings/SettingsWindowTexts.h
  settings/SettingsWindowTypes.h
  settings/ModesModel.h settings/ModesModel.cpp
  settings/HotkeyRecorder.h settings/HotkeyRecorder.cpp
  settings/DesktopShortcuts.h settings/DesktopShortcuts.cpp
  settings/ShortcutAvailability.h settings/ShortcutAvailability.cpp
  settings/FixedWindow.h settings/FixedWindow.cpp
  settings/SettingsWindowController.h settings/SettingsWindowController.cpp
)
list(APPEND TEMBREL_QML_FILES
  settings/SettingsWindowView.qml
  settings/SettingsWindowSection.qml
  settings/SettingsWindowSwitchRow.qml
  settings/SettingsWindowHelp.qml
  settings/SettingsWindowConfirm.qml
  settings/ModesSection.qml
  settings/ModesSectionRow.qml
  settings/ModesAddSheet.qml
  settings/InlineHotkeyRecorder.qml
  settings/ConnectionTestButton.qml
)
list(APPEND TEMBREL_GUI_RESOURCES
  settings/fonts/Pacifico-Regular.woff
  settings/fonts/OFL.txt
)
# The generated QML type registrations include these headers by their bare names.
cmake_language(DEFER CALL target_include_directories tembrel_gui PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/settings)
