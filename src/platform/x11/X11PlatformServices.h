#pragma once
#include <memory>

struct PlatformServices;
struct SessionInfo;

/// The X11 backend; on a Wayland session it serves X11 applications through XWayland.
std::unique_ptr<PlatformServices> createX11PlatformServices(const SessionInfo& session);
