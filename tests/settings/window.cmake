# The settings window, the modes editor and the shortcut recorder.
# Under a real X server: trial grabs meet another client's grab.
tembrel_add_test(tst_hotkeyrecorder LABEL platform SOURCES tst_hotkeyrecorder.cpp LIBS tembrel_gui tembrel_platform_x11 X11)
tembrel_add_test(tst_settingswindow LABEL platform TIMEOUT 180
  SOURCES tst_settingswindow.cpp SettingsWindowDriver.h SettingsWindowDriver.cpp
  LIBS tembrel_gui tembrel_guiplugin tembrel_platform_fake)
tembrel_add_test(tst_settingswindowmodes LABEL platform TIMEOUT 180
  SOURCES tst_settingswindowmodes.cpp SettingsWindowDriver.h SettingsWindowDriver.cpp
  LIBS tembrel_gui tembrel_guiplugin tembrel_platform_fake)
