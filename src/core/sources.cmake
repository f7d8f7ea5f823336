list(APPEND TEMBREL_CORE_SOURCES
  core/Logging.h core/Logging.cpp
  core/Cancellation.h core/Cancellation.cpp
  core/TextFormat.h core/TextFormat.cpp
  core/StoredJson.h core/StoredJson.cpp
  core/VariantKinds.h
  core/FixResult.h
  core/CapturedContent.h
  core/NetworkFailure.h core/NetworkFailure.cpp
  core/TextFixError.h core/TextFixError.cpp
  core/TraceCollector.h core/TraceCollector.cpp
  core/FixNeighbours.h
  core/FixCoordinator.h core/FixCoordinator.cpp
)
