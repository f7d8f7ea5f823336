# Files of the settings subsystem; see src/CMakeLists.txt for the lists.
list(APPEND TEMBREL_CORE_SOURCES
  settings/UserDefaults.h settings/UserDefaults.cpp
  settings/SettingsManager.h settings/SettingsManager.cpp
  settings/UsageStatsManager.h settings/UsageStatsManager.cpp
)
include(settings/window.cmake)
include(settings/onboarding.cmake)
