list(APPEND TEMBREL_GUI_SOURCES
  app/BuildConfig.h.in
)
