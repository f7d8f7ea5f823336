#pragma once
#include <QByteArray>
#include <QUrl>
#include <QWebEngineUrlSchemeHandler>

class QQuickWebEngineProfile;

/// Serves the HTML diff pages to the web engine from memory under their own URL scheme, so a
/// page of any size loads (a data: URL stops at 2 MB) and the user's text never touches the disk
/// or the network. Pages are published and withdrawn on the UI thread.
class DiffPageScheme : public QWebEngineUrlSchemeHandler
{
    Q_OBJECT

public:
    static constexpr auto name = "tembrel-diff";

    /// Makes the scheme known to the web engine; call before the application object exists.
    static void registerScheme();
    /// Lets views of this profile load published pages; later calls for the same profile do nothing.
    static void installOn(QQuickWebEngineProfile* profile);

    /// Keeps the page until it is withdrawn and returns the address it is served at.
    [[nodiscard]] static QUrl publish(const QByteArray& page);
    /// Forgets a published page; its address answers "not found" from then on.
    static void withdraw(const QUrl& url);
    /// The page published at this address; empty when there is none.
    [[nodiscard]] static QByteArray page(const QUrl& url);

    void requestStarted(QWebEngineUrlRequestJob* job) override;

private:
    using QWebEngineUrlSchemeHandler::QWebEngineUrlSchemeHandler;
};
