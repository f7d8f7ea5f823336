# Files of the modes subsystem; see src/CMakeLists.txt for the lists.
list(APPEND TEMBREL_CORE_SOURCES
  modes/Hotkey.h modes/Hotkey.cpp modes/HotkeyText.cpp
  modes/BuiltInPrompts.h modes/BuiltInPrompts.cpp
  modes/Mode.h modes/Mode.cpp
  modes/ModeManager.h modes/ModeManager.cpp
)
