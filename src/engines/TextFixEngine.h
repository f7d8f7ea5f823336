#pragma once
#include "core/Cancellation.h"
#include "core/TextFixError.h"
#include "core/TraceCollector.h"

#include <QCoro/QCoroTask>

/// What both engines offer: turn a text and a mode's prompt into fixed text through a service.
class TextFixEngine
{
public:
    virtual ~TextFixEngine() = default;
    /// Whether the engine can be used right now.
    virtual QCoro::Task<bool> isAvailable() = 0;
    /// Fixes `text` under `systemPrompt`, recording its steps into `trace` (may be null). The
    /// result's originalText is `text`; its HTML fields and source format are absent. Stops early,
    /// with any outcome, once `cancel` is cancelled.
    virtual QCoro::Task<FixOutcome> fix(QString text, QString systemPrompt, TracePtr trace,
                                        CancellationToken cancel) = 0;
};
