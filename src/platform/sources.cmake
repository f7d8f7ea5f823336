# Interfaces (platform/*.h) are header-only; each backend defines createPlatformServices().
set(TEMBREL_PLATFORM_HEADERS
  platform/AccessibilityTrust.h platform/GlobalShortcuts.h platform/KeySender.h
  platform/PlatformServices.h platform/Workspace.h
)
set(TEMBREL_PLATFORM_X11_SOURCES ${TEMBREL_PLATFORM_HEADERS}
  platform/x11/X11PlatformServices.cpp
)
set(TEMBREL_PLATFORM_FAKE_SOURCES ${TEMBREL_PLATFORM_HEADERS}
  platform/fake/FakePlatformServices.cpp
)
