list(APPEND TEMBREL_CORE_SOURCES
  engines/TextFixEngine.h
)
