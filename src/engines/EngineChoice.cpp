#include "engines/EngineChoice.h"

EngineKind chooseEngine(bool customEndpointConfigured, const QString& cloudBaseUrl)
{
    if (customEndpointConfigured)
        return EngineKind::custom;
    return cloudBaseUrl.trimmed().isEmpty() ? EngineKind::offline : EngineKind::cloud;
}

QString engineKindName(EngineKind kind)
{
    switch (kind) {
    case EngineKind::offline: return QStringLiteral("offline");
    case EngineKind::custom: return QStringLiteral("custom");
    case EngineKind::cloud: return QStringLiteral("cloud");
    }
    Q_UNREACHABLE();
    return QString();
}

std::optional<EngineKind> engineKindFromName(const QString& name)
{
    for (const EngineKind kind : {EngineKind::offline, EngineKind::custom, EngineKind::cloud}) {
        if (engineKindName(kind) == name)
            return kind;
    }
    return std::nullopt;
}

QString engineDescription(EngineKind kind)
{
    switch (kind) {
    case EngineKind::offline:
        return QStringLiteral("Text is proofread on this computer (spelling and simple grammar). Add an "
                              "OpenAI-compatible endpoint for the other modes.");
    case EngineKind::custom: return QStringLiteral("Text is fixed by your OpenAI-compatible endpoint.");
    case EngineKind::cloud: return QStringLiteral("Text is fixed by Tembrel's server.");
    }
    Q_UNREACHABLE();
    return QString();
}
