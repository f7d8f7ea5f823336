list(APPEND TEMBREL_CORE_SOURCES
  core/Logging.h core/Logging.cpp
  core/Cancellation.h core/Cancellation.cpp
)
