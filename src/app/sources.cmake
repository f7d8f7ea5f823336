# Update feed reading and the single-instance lock need no GUI; the rest is the desktop shell.
list(APPEND TEMBREL_CORE_SOURCES
  app/BuildConfig.h.in
  app/SparkleVersion.h app/SparkleVersion.cpp
  app/Appcast.h app/Appcast.cpp
  app/UpdateChecker.h app/UpdateChecker.cpp
  app/UpdateNotice.h app/UpdateNotice.cpp
  app/SingleInstance.h app/SingleInstance.cpp
)
list(APPEND TEMBREL_GUI_SOURCES
  app/FixAdapters.h app/FixAdapters.cpp
  app/TaskbarPolicy.h app/TaskbarPolicy.cpp
  app/StatusMenu.h app/StatusMenu.cpp
  app/UpdateController.h app/UpdateController.cpp
  app/TembrelApp.h app/TembrelApp.cpp
  app/QuitSignals.h app/QuitSignals.cpp
)
list(APPEND TEMBREL_GUI_RESOURCES
  app/MenuBarIcon.svg
)
