list(APPEND TEMBREL_GUI_SOURCES
  app/BuildConfig.h.in
  app/FixAdapters.h app/FixAdapters.cpp
  app/TembrelApp.h app/TembrelApp.cpp
)
