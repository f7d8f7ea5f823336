#include "diff/DiffPageScheme.h"

#include "core/Logging.h"

#include <QBuffer>
#include <QHash>
#include <QUuid>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>
#include <QtWebEngineQuick/QQuickWebEngineProfile>

namespace {

QHash<QString, QByteArray>& pages()
{
    static QHash<QString, QByteArray> published;
    return published;
}

} // namespace

void DiffPageScheme::registerScheme()
{
    QWebEngineUrlScheme scheme(name);
    // One host for every page: one site, so a new page reuses the renderer of the one before.
    scheme.setSyntax(QWebEngineUrlScheme::Syntax::Host);
    scheme.setFlags(QWebEngineUrlScheme::SecureScheme | QWebEngineUrlScheme::LocalScheme);
    QWebEngineUrlScheme::registerScheme(scheme);
}

void DiffPageScheme::installOn(QQuickWebEngineProfile* profile)
{
    if (!profile || profile->urlSchemeHandler(name)) {
        return;
    }
    // The profile's child: it goes when the profile does, never before.
    profile->installUrlSchemeHandler(name, new DiffPageScheme(profile));
}

QUrl DiffPageScheme::publish(const QByteArray& page)
{
    const QString id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    const QUrl url(QLatin1String(name) + QLatin1String("://page/") + id);
    pages().insert(url.path(), page);
    return url;
}

void DiffPageScheme::withdraw(const QUrl& url)
{
    pages().remove(url.path());
}

QByteArray DiffPageScheme::page(const QUrl& url)
{
    return pages().value(url.path());
}

void DiffPageScheme::requestStarted(QWebEngineUrlRequestJob* job)
{
    const auto found = pages().constFind(job->requestUrl().path());
    if (job->requestMethod() != "GET" || found == pages().constEnd()) {
        qCDebug(lcDiff) << "Diff page request for an address that serves nothing";
        job->fail(QWebEngineUrlRequestJob::UrlNotFound);
        return;
    }
    // The job reads the buffer after this returns; the buffer shares the page's bytes, no copy.
    auto* body = new QBuffer(job);
    body->setData(*found);
    body->open(QIODevice::ReadOnly);
    job->reply("text/html; charset=utf-8", body);
}
