# The settings window, the modes editor and the shortcut recorder.
tembrel_add_test(tst_hotkeyrecorder LABEL unit SOURCES tst_hotkeyrecorder.cpp LIBS tembrel_gui)
tembrel_add_test(tst_settingswindow LABEL platform TIMEOUT 180
  SOURCES tst_settingswindow.cpp SettingsWindowDriver.h SettingsWindowDriver.cpp
  LIBS tembrel_gui tembrel_guiplugin tembrel_platform_fake)
tembrel_add_test(tst_settingswindowmodes LABEL platform TIMEOUT 180
  SOURCES tst_settingswindowmodes.cpp SettingsWindowDriver.h SettingsWindowDriver.cpp
  LIBS tembrel_gui tembrel_guiplugin tembrel_platform_fake)
