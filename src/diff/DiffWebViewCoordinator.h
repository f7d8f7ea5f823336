#pragma once
#include <QObject>
#include <QQmlEngine>
#include <QString>
#include <QUrl>
#include <QVariant>

class QQuickWebEngineProfile;
Q_MOC_INCLUDE(<QtWebEngineQuick/QQuickWebEngineProfile>)

/// Keeps one diff web view's page in step with its two documents and edit index, and turns the
/// page's channel messages into signals. Lives on the UI thread.
class DiffWebViewCoordinator : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString originalHTML READ originalHTML WRITE setOriginalHTML NOTIFY originalHTMLChanged)
    Q_PROPERTY(QString fixedHTML READ fixedHTML WRITE setFixedHTML NOTIFY fixedHTMLChanged)
    Q_PROPERTY(int currentEditIndex READ currentEditIndex WRITE setCurrentEditIndex NOTIFY currentEditIndexChanged)
    Q_PROPERTY(bool dark READ dark WRITE setDark NOTIFY darkChanged)
    Q_PROPERTY(QString hostScript READ hostScript CONSTANT)

public:
    explicit DiffWebViewCoordinator(QObject* parent = nullptr);
    ~DiffWebViewCoordinator() override;

    [[nodiscard]] QString originalHTML() const { return m_originalHtml; }
    void setOriginalHTML(const QString& html);
    [[nodiscard]] QString fixedHTML() const { return m_fixedHtml; }
    void setFixedHTML(const QString& html);
    [[nodiscard]] int currentEditIndex() const { return m_currentEditIndex; }
    void setCurrentEditIndex(int index);
    /// Whether the page shows in the dark appearance.
    [[nodiscard]] bool dark() const { return m_dark; }
    void setDark(bool dark);

    /// The script injected before the page's own: the web channel client and the
    /// window.webkit.messageHandlers object the page posts to.
    [[nodiscard]] QString hostScript() const;

    /// Lets the view's profile load the pages this coordinator publishes.
    Q_INVOKABLE void servePagesTo(QQuickWebEngineProfile* profile) const;

    /// Brings the page up to date now: a new page when a document changed, a script when the
    /// edit index or the appearance changed. Changes to the properties call it once per
    /// event-loop turn by themselves.
    Q_INVOKABLE void update();

    /// Receives a message the page posted on one of its channels (called over the web channel).
    Q_INVOKABLE void postMessage(const QString& channel, const QVariant& body);

Q_SIGNALS:
    void originalHTMLChanged();
    void fixedHTMLChanged();
    void currentEditIndexChanged();
    void darkChanged();
    /// The view should load the page at this address (served from memory).
    void loadRequested(const QUrl& url);
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
    bool m_dark = false;
    QUrl m_pageUrl;
    QString m_lastOriginalHtml;
    QString m_lastFixedHtml;
    int m_lastEditIndex = -1;
    bool m_pageDark = false;
    bool m_updateScheduled = false;
};
