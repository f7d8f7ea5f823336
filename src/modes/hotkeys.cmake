# The global shortcuts of the modes (kept apart from the catalogue's own list).
list(APPEND TEMBREL_CORE_SOURCES
  modes/HotkeyManager.h modes/HotkeyManager.cpp
  modes/ShortcutRecording.h modes/ShortcutRecording.cpp
)
