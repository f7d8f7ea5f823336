#pragma once
#include <memory>

struct PlatformServices;
struct SessionInfo;

/// The Wayland backend (data-control clipboard, virtual keyboard); null when no compositor answers.
std::unique_ptr<PlatformServices> createWaylandPlatformServices(const SessionInfo& session);
