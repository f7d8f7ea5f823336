# Interfaces (platform/*.h) are header-only; each backend defines createPlatformServices().
set(TEMBREL_PLATFORM_HEADERS
  platform/AccessibilityTrust.h platform/GlobalShortcuts.h platform/KeyMonitor.h platform/KeySender.h
  platform/LoginItem.h platform/SystemClipboard.h
  platform/PlatformServices.h platform/Workspace.h
)
set(TEMBREL_PLATFORM_X11_SOURCES ${TEMBREL_PLATFORM_HEADERS}
  platform/x11/MacKeyTable.h platform/x11/MacKeyTable.cpp
  platform/x11/X11Display.h platform/x11/X11Display.cpp
  platform/x11/X11GlobalShortcuts.h platform/x11/X11GlobalShortcuts.cpp
  platform/x11/X11Keyboards.h platform/x11/X11Keyboards.cpp
  platform/x11/X11KeySender.h platform/x11/X11KeySender.cpp
  platform/x11/X11AccessibilityTrust.h platform/x11/X11AccessibilityTrust.cpp
  platform/x11/X11Workspace.h platform/x11/X11Workspace.cpp
  platform/x11/X11KeyMonitor.h platform/x11/X11KeyMonitor.cpp
  platform/x11/XdgLoginItem.h platform/x11/XdgLoginItem.cpp
  platform/x11/X11PlatformServices.h platform/x11/X11PlatformServices.cpp
)
set(TEMBREL_PLATFORM_WAYLAND_SOURCES ${TEMBREL_PLATFORM_HEADERS}
  platform/wayland/WaylandConnection.h platform/wayland/WaylandConnection.cpp
  platform/wayland/WaylandClipboard.h platform/wayland/WaylandClipboard.cpp
  platform/wayland/WaylandKeySender.h platform/wayland/WaylandKeySender.cpp
  platform/wayland/WaylandDesktop.h
  platform/wayland/SwayWorkspace.h platform/wayland/SwayWorkspace.cpp
  platform/wayland/WaylandPlatformServices.h platform/wayland/WaylandPlatformServices.cpp
)
# Wayland protocols Debian does not package, generated into C glue at build time.
set(TEMBREL_WAYLAND_PROTOCOLS wlr-data-control-unstable-v1 virtual-keyboard-unstable-v1)
# Linux desktops: X11 and Wayland built together, the session picks one at start.
set(TEMBREL_PLATFORM_LINUX_SOURCES platform/linux/LinuxPlatformServices.cpp)
set(TEMBREL_PLATFORM_FAKE_SOURCES ${TEMBREL_PLATFORM_HEADERS}
  platform/fake/FakePlatform.h platform/fake/FakePlatform.cpp
)
# Reading the session from the environment needs no display: it is decided before Qt connects.
list(APPEND TEMBREL_CORE_SOURCES platform/SessionInfo.h platform/SessionInfo.cpp)
