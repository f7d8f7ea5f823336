# Files of the analytics subsystem; see src/CMakeLists.txt for the lists.
list(APPEND TEMBREL_CORE_SOURCES
  analytics/AnalyticsVocabulary.h analytics/AnalyticsVocabulary.cpp
  analytics/AnalyticsManager.h analytics/AnalyticsManager.cpp
  analytics/PostHogConfig.h analytics/PostHogConfig.cpp
  analytics/PostHogClient.h analytics/PostHogClient.cpp
  analytics/BatchSender.h analytics/BatchSender.cpp
  analytics/BatchPolicy.h analytics/BatchPolicy.cpp
  analytics/EventQueue.h analytics/EventQueue.cpp
  analytics/InstallationState.h analytics/InstallationState.cpp
  analytics/SessionTracker.h analytics/SessionTracker.cpp
  analytics/Gzip.h analytics/Gzip.cpp
)
