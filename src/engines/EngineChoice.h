#pragma once
#include <QString>
#include <optional>

/// The engines that can fix a text.
enum class EngineKind { offline, custom, cloud };

/// Which engine fixes text: the user's own endpoint when it is configured; otherwise the cloud
/// service when this build (or TEMBREL_CLOUD_URL) names one, else proofreading on this computer.
[[nodiscard]] EngineKind chooseEngine(bool customEndpointConfigured, const QString& cloudBaseUrl);
/// "offline", "custom" or "cloud".
[[nodiscard]] QString engineKindName(EngineKind kind);
/// The engine named so; nothing for an unknown name.
[[nodiscard]] std::optional<EngineKind> engineKindFromName(const QString& name);
/// In words, for Settings: which engine fixes text now.
[[nodiscard]] QString engineDescription(EngineKind kind);
