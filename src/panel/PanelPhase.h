#pragma once
#include "core/FixResult.h"

#include <QString>
#include <optional>

/// What the result panel shows: the loading pill, a result with its edits, a note that nothing
/// needed changing, or an error.
struct PanelPhase
{
    enum class Kind { success, noChanges, error, loading };

    Kind kind = Kind::loading;
    FixResult result;      ///< success only
    double duration = 0.0; ///< seconds the fix took; success and noChanges
    QString message;       ///< error only
    QString detail;        ///< error only: what actually happened, when known

    /// The loading pill.
    [[nodiscard]] static PanelPhase loading();
    /// A fix that changed the text, and how long it took.
    [[nodiscard]] static PanelPhase success(const FixResult& result, double duration);
    /// A fix that needed no changes, and how long it took.
    [[nodiscard]] static PanelPhase noChanges(double duration);
    /// A failed fix with the message shown to the user and, when known, what actually happened.
    [[nodiscard]] static PanelPhase error(const QString& message, const QString& detail = {});

    /// Seconds the countdown of this phase runs; none for loading, which never counts down.
    [[nodiscard]] std::optional<double> countdownDuration() const;

    /// The case's name for logs: "success", "noChanges", "error" or "loading".
    [[nodiscard]] QString kindName() const;

    /// Successes compare their texts and durations only; other payloads compare whole.
    friend bool operator==(const PanelPhase& a, const PanelPhase& b);
};
