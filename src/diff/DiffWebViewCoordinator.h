#pragma once
#include <QObject>
#include <QQmlEngine>
#include <QString>
#include <QVariant>

/// Keeps one diff web view's page in step with its two documents and edit index, and turns the
/// page's channel messages into signals. Lives on the UI thread.
class DiffWebViewCoordinator : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString originalHTML READ originalHTML WRITE setOriginalHTML NOTIFY originalHTMLChanged)
    Q_PROPERTY(QString fixedHTML READ fixedHTML WRITE setFixedHTML NOTIFY fixedHTMLChanged)
    Q_PROPERTY(int currentEditIndex READ currentEditIndex WRITE setCurrentEditIndex NOTIFY currentEditIndexChanged)
    Q_PROPERTY(QString hostScript READ hostScript CONSTANT)

public:
    explicit DiffWebViewCoordinator(QObject* parent = nullptr);

    [[nodiscard]] QString originalHTML() const { return m_originalHtml; }
    void setOriginalHTML(const QString& html);
    [[nodiscard]] QString fixedHTML() const { return m_fixedHtml; }
    void setFixedHTML(const QString& html);
    [[nodiscard]] int currentEditIndex() const { return m_currentEditIndex; }
    void setCurrentEditIndex(int index);

    /// The script injected before the page's own: the web channel client and the
    /// window.webkit.messageHandlers object the page posts to.
    [[nodiscard]] QString hostScript() const;

    /// Brings the page up to date now: a new page when a document changed, a scroll when the
    /// edit index changed. Changes to the properties call it once per event-loop turn by themselves.
    Q_INVOKABLE void update();

    /// Receives a message the page posted on one of its channels (called over the web channel).
    Q_INVOKABLE void postMessage(const QString& channel, const QVariant& body);

Q_SIGNALS:
    void originalHTMLChanged();
    void fixedHTMLChanged();
    void currentEditIndexChanged();
    /// The view should load this page (no base URL).
    void loadRequested(const QString& html);
    /// The view should run this script in the loaded page and ignore its result.
    void scriptRequested(const QString& script);
    /// The page counted its edits.
    void editCount(int count);
    /// The page measured its content height, in CSS pixels.
    void contentHeight(double height);

private:
    void scheduleUpdate();

    QString m_originalHtml;
    QString m_fixedHtml;
    int m_currentEditIndex = 0;
    bool m_hasPage = false;
    QString m_lastOriginalHtml;
    QString m_lastFixedHtml;
    int m_lastEditIndex = -1;
    bool m_updateScheduled = false;
};
