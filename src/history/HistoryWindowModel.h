#pragma once
#include "history/FixHistoryEntry.h"
#include "history/HistoryListModel.h"

#include <QLocale>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QtQml/qqmlregistration.h>
#include <functional>

class HistoryManager;

/// The state of one history window: search, selection, the detail of the selected entry, the
/// view mode, the trace popover with its copy action and the two confirmations. UI thread only.
class HistoryWindowModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the history window controller")
    Q_PROPERTY(HistoryListModel* list READ list CONSTANT)
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(bool isHistoryEmpty READ isHistoryEmpty NOTIFY listChanged)
    Q_PROPERTY(bool hasNoMatches READ hasNoMatches NOTIFY listChanged)
    Q_PROPERTY(QString shortcutHint READ shortcutHint NOTIFY shortcutHintChanged)
    Q_PROPERTY(QString storageNotice READ storageNotice NOTIFY storageNoticeChanged)

    Q_PROPERTY(QString selectedId READ selectedId WRITE setSelectedId NOTIFY selectionChanged)
    Q_PROPERTY(bool hasSelection READ hasSelection NOTIFY selectionChanged)
    Q_PROPERTY(QStringList headerParts READ headerParts NOTIFY selectionChanged)
    Q_PROPERTY(QString originalText READ originalText NOTIFY selectionChanged)
    Q_PROPERTY(QString fixedText READ fixedText NOTIFY selectionChanged)
    Q_PROPERTY(QString originalHTML READ originalHTML NOTIFY selectionChanged)
    Q_PROPERTY(QString fixedHTML READ fixedHTML NOTIFY selectionChanged)
    Q_PROPERTY(bool isRich READ isRich NOTIFY selectionChanged)
    Q_PROPERTY(int viewMode READ viewMode WRITE setViewMode NOTIFY viewModeChanged)
    Q_PROPERTY(QStringList viewModeLabels READ viewModeLabels CONSTANT)

    Q_PROPERTY(bool isTraceOpen READ isTraceOpen WRITE setTraceOpen NOTIFY traceOpenChanged)
    Q_PROPERTY(bool hasTrace READ hasTrace NOTIFY selectionChanged)
    Q_PROPERTY(QString traceText READ traceText NOTIFY selectionChanged)
    Q_PROPERTY(bool isTraceCopied READ isTraceCopied NOTIFY traceCopiedChanged)

    Q_PROPERTY(bool isConfirmingDelete READ isConfirmingDelete NOTIFY confirmationChanged)
    Q_PROPERTY(bool isConfirmingClear READ isConfirmingClear NOTIFY confirmationChanged)
    Q_PROPERTY(QString clearMessage READ clearMessage NOTIFY confirmationChanged)

public:
    /// How long "Copied" stays before the button reads "Copy" again.
    static constexpr int copiedMilliseconds = 1500;

    /// `store` must outlive the model; `clientId` gives the analytics id shown in the trace;
    /// `shortcutText` gives the primary mode's shortcut for the empty list (empty when none).
    HistoryWindowModel(HistoryManager& store, std::function<QString()> clientId,
                       std::function<QString()> shortcutText, QObject* parent = nullptr);

    [[nodiscard]] HistoryListModel* list() { return &m_list; }

    [[nodiscard]] QString searchText() const { return m_list.query(); }
    void setSearchText(const QString& text);
    [[nodiscard]] bool isHistoryEmpty() const;
    [[nodiscard]] bool hasNoMatches() const;
    /// "Press <shortcut> to get started", or nothing when the primary mode has no shortcut.
    [[nodiscard]] QString shortcutHint() const;
    /// What the user should know about the history file, such as a copy of one that could not be
    /// read; empty when all is well.
    [[nodiscard]] QString storageNotice() const;

    [[nodiscard]] QString selectedId() const;
    /// Selects the entry with this id; an unknown or empty id clears the selection.
    void setSelectedId(const QString& id);
    [[nodiscard]] bool hasSelection() const { return m_selected.has_value(); }
    /// "N edits", the source application and the date, each only when known.
    [[nodiscard]] QStringList headerParts() const;
    /// The locale's long date pattern without the weekday: "MMMM d, yyyy" for American English.
    [[nodiscard]] static QString longDateWithoutWeekday(const QLocale& locale);
    [[nodiscard]] QString originalText() const;
    [[nodiscard]] QString fixedText() const;
    [[nodiscard]] QString originalHTML() const;
    [[nodiscard]] QString fixedHTML() const;
    /// Whether the selected entry carries both HTML documents and shows the HTML diff.
    [[nodiscard]] bool isRich() const;
    /// The chosen mode as an index of viewModeLabels().
    [[nodiscard]] int viewMode() const { return m_viewMode; }
    void setViewMode(int mode);
    /// "Original", "Tembreled", "Diff": the mode switch, left to right.
    [[nodiscard]] static QStringList viewModeLabels();
    /// Index of "Diff" in viewModeLabels().
    static constexpr int diffMode = 2;

    [[nodiscard]] bool isTraceOpen() const { return m_traceOpen; }
    void setTraceOpen(bool open);
    [[nodiscard]] bool hasTrace() const;
    /// The selected entry's trace as text, with its trace id and the client id on top.
    [[nodiscard]] QString traceText() const;
    [[nodiscard]] bool isTraceCopied() const { return m_traceCopied; }

    [[nodiscard]] bool isConfirmingDelete() const { return m_pendingDeletion.has_value(); }
    [[nodiscard]] bool isConfirmingClear() const { return m_confirmingClear; }
    /// "Delete all N tembrel(s) from history? This can't be undone."
    [[nodiscard]] QString clearMessage() const;

    /// Replaces the clock that relative dates and headings use (tests).
    void setClock(std::function<QDateTime()> now);

public Q_SLOTS:
    /// Puts the trace on the clipboard as plain text; the button reads "Copied" for a moment.
    void copyTrace();
    /// Asks before deleting the entry with this id.
    void requestDelete(const QString& id);
    void confirmDelete();
    void cancelDelete();
    /// Asks before clearing the whole history.
    void requestClear();
    void confirmClear();
    void cancelClear();

Q_SIGNALS:
    void searchTextChanged();
    void listChanged();
    void shortcutHintChanged();
    void storageNoticeChanged();
    void selectionChanged();
    void viewModeChanged();
    void traceOpenChanged();
    void traceCopiedChanged();
    void confirmationChanged();

private:
    void followStore();
    void setTraceCopied(bool copied);

    HistoryManager& m_store;
    HistoryListModel m_list;
    std::function<QString()> m_clientId;
    std::function<QString()> m_shortcutText;
    std::optional<FixHistoryEntry> m_selected;
    std::optional<QUuid> m_pendingDeletion;
    bool m_confirmingClear = false;
    int m_viewMode = diffMode;
    bool m_traceOpen = false;
    bool m_traceCopied = false;
    QTimer m_copiedTimer;
};
