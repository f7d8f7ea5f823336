#include "panel/PanelPhase.h"

PanelPhase PanelPhase::loading()
{
    return {};
}

PanelPhase PanelPhase::success(const FixResult& result, double duration)
{
    PanelPhase phase;
    phase.kind = Kind::success;
    phase.result = result;
    phase.duration = duration;
    return phase;
}

PanelPhase PanelPhase::noChanges(double duration)
{
    PanelPhase phase;
    phase.kind = Kind::noChanges;
    phase.duration = duration;
    return phase;
}

PanelPhase PanelPhase::error(const QString& message, const QString& detail)
{
    PanelPhase phase;
    phase.kind = Kind::error;
    phase.message = message;
    phase.detail = detail;
    return phase;
}

std::optional<double> PanelPhase::countdownDuration() const
{
    switch (kind) {
    case Kind::loading:
        return std::nullopt;
    case Kind::noChanges:
        return 3.0;
    case Kind::error:
        return 5.0;
    case Kind::success:
        break;
    }
    // More edits take longer to read, so the panel stays longer.
    if (!result.editCount)
        return 5.0;
    const qint64 edits = *result.editCount;
    if (edits <= 0)
        return 3.0;
    if (edits <= 5)
        return 5.0;
    if (edits <= 15)
        return 7.0;
    if (edits <= 30)
        return 9.0;
    return 10.0;
}

QString PanelPhase::kindName() const
{
    switch (kind) {
    case Kind::success: return QStringLiteral("success");
    case Kind::noChanges: return QStringLiteral("noChanges");
    case Kind::error: return QStringLiteral("error");
    case Kind::loading: return QStringLiteral("loading");
    }
    return {};
}

bool operator==(const PanelPhase& a, const PanelPhase& b)
{
    if (a.kind != b.kind)
        return false;
    switch (a.kind) {
    case PanelPhase::Kind::success:
        return a.result.originalText == b.result.originalText && a.result.fixedText == b.result.fixedText
            && a.duration == b.duration;
    case PanelPhase::Kind::noChanges:
        return a.duration == b.duration;
    case PanelPhase::Kind::error:
        return a.message == b.message && a.detail == b.detail;
    case PanelPhase::Kind::loading:
        return true;
    }
    return false;
}
