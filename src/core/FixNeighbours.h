#pragma once
#include "core/CapturedContent.h"
#include "core/FixResult.h"
#include "core/TraceCollector.h"

#include <QCoro/QCoroTask>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QVariantMap>
#include <functional>
#include <optional>

// What the fix coordinator needs of the components around it, one small interface each. The app
// plugs the real components in through adapters; tests plug in their own recording backends.

/// A mode as the coordinator sees it.
struct ModeSummary
{
    QString id;
    QString name;
    QString prompt;
};

/// The mode catalogue.
class FixModes
{
public:
    virtual ~FixModes() = default;
    /// The current list of modes, in catalogue order.
    [[nodiscard]] virtual QList<ModeSummary> modes() const = 0;
};

/// Captures what the user has selected in the focused application.
class FixSelection
{
public:
    virtual ~FixSelection() = default;
    /// Makes the focused application copy its selection and reads it; nothing when nothing came.
    virtual QCoro::Task<std::optional<CapturedContent>> captureSelection() = 0;
};

/// The clipboard conversions and the write-back of a fixed text.
class FixClipboard
{
public:
    virtual ~FixClipboard() = default;
    /// The captured HTML as it is sent to an engine (heavy inline styling removed).
    [[nodiscard]] virtual QString cleanHtmlForFix(const QString& html) const = 0;
    /// The plain text of an HTML fragment.
    [[nodiscard]] virtual QString htmlToPlainText(const QString& html) const = 0;
    /// Replaces the clipboard with the fixed text, in the flavours the captured content calls for.
    virtual void writeFixedContent(const QString& fixedText, const CapturedContent& captured) = 0;
};

/// Called by the panel with the edit count its diff computed.
using EditCountCallback = std::function<void(qint64 editCount)>;

/// The floating result panel.
class FixPanel
{
public:
    virtual ~FixPanel() = default;
    /// Shows the loading pill.
    virtual void showLoading() = 0;
    /// Shows the error phase with its message and, when known, what actually happened.
    virtual void showError(const QString& message, const QString& detail = {}) = 0;
    /// Shows a result that changed the text; `durationSeconds` is how long the fix took.
    virtual void showSuccess(const FixResult& result, double durationSeconds, EditCountCallback onEditCount) = 0;
    /// Shows that the text needed no changes.
    virtual void showNoChanges(const FixResult& result, double durationSeconds, EditCountCallback onEditCount) = 0;
};

/// The user's settings as far as a fix depends on them.
class FixSettings
{
public:
    virtual ~FixSettings() = default;
    /// The custom endpoint is switched on and its URL is not blank.
    [[nodiscard]] virtual bool isCustomEndpointConfigured() const = 0;
    /// Whether fixes are recorded in the history.
    [[nodiscard]] virtual bool isHistoryEnabled() const = 0;
    /// Whether the user allows analytics events.
    [[nodiscard]] virtual bool isAnalyticsEnabled() const = 0;
};

/// One finished fix as the history keeps it.
struct HistoryRecord
{
    QDateTime timestamp;
    QString originalText;
    QString fixedText;
    std::optional<qint64> editCount;
    std::optional<QString> sourceApp;
    QList<TraceEvent> trace;
    QString traceId;
    std::optional<QString> originalHTML;
    std::optional<QString> fixedHTML;
    QString sourceFormat; // "plainText", "html" or "rtf"
    std::optional<QString> modeName;
};

/// The history store.
class FixHistory
{
public:
    virtual ~FixHistory() = default;
    /// Adds a record at the front of the history; answers the id the history gave it, or nothing
    /// when it recorded nothing. That id is the one to update the edit count under.
    virtual std::optional<QString> addEntry(const HistoryRecord& record) = 0;
    /// Sets the edit count of the record with this id, when there still is one.
    virtual void updateEditCount(const QString& id, qint64 editCount) = 0;
};

/// The local usage counters.
class FixUsage
{
public:
    virtual ~FixUsage() = default;
    /// Counts one completed fix.
    virtual void recordFix(qint64 editCount, qint64 characterCount) = 0;
};

/// The analytics events of a fix.
class FixAnalytics
{
public:
    virtual ~FixAnalytics() = default;
    /// Captures an event with its properties (booleans, integers and texts).
    virtual void capture(const QString& event, const QVariantMap& properties) = 0;
    /// The "text_length_bucket" of a text with this many characters.
    [[nodiscard]] virtual QString textLengthBucket(qint64 characterCount) const = 0;
    /// Sends "tembrel_failed" for a failure of this category code.
    virtual void trackFixFailed(bool customEndpointInUse, int categoryCode) = 0;
};

/// The clock a fix's duration is measured with, in seconds.
class FixClock
{
public:
    virtual ~FixClock() = default;
    /// Seconds since an arbitrary fixed moment; never runs backwards.
    [[nodiscard]] virtual double seconds() const = 0;
};
