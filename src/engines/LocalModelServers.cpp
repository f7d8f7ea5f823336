#include "engines/LocalModelServers.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QRegularExpression>

namespace {

QUrl modelsUrl(const QUrl& baseUrl)
{
    QUrl url = baseUrl;
    QString path = url.path();
    while (path.endsWith(u'/'))
        path.chop(1);
    url.setPath(path + QStringLiteral("/models"));
    return url;
}

} // namespace

LocalModelServers::LocalModelServers(QObject* parent)
    : QObject(parent)
{
}

QList<LocalModelServers::Candidate> LocalModelServers::defaultCandidates()
{
    const QString configured = qEnvironmentVariable("TEMBREL_LOCAL_SERVERS");
    if (!configured.trimmed().isEmpty()) {
        QList<Candidate> candidates;
        static const QRegularExpression separators(QStringLiteral("[,\\s]+"));
        for (const QString& entry : configured.split(separators, Qt::SkipEmptyParts)) {
            const qsizetype equals = entry.indexOf(u'=');
            const QString url = equals < 0 ? entry : entry.mid(equals + 1);
            candidates.append({equals < 0 ? url : entry.left(equals), QUrl(url)});
        }
        return candidates;
    }
    const auto local = [](int port) { return QUrl(QStringLiteral("http://127.0.0.1:%1/v1").arg(port)); };
    return {{QStringLiteral("Ollama"), local(11434)},
            {QStringLiteral("llama.cpp"), local(8080)},
            {QStringLiteral("LM Studio"), local(1234)},
            {QStringLiteral("vLLM"), local(8000)},
            {QStringLiteral("Jan"), local(1337)},
            {QStringLiteral("KoboldCpp"), local(5001)},
            {QStringLiteral("text-generation-webui"), local(5000)}};
}

std::optional<QStringList> LocalModelServers::parseModels(const QByteArray& body)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    const QJsonValue data = document.object().value(QStringLiteral("data"));
    if (!data.isArray())
        return std::nullopt;
    QStringList ids;
    for (const QJsonValue& model : data.toArray()) {
        const QString id = model.toObject().value(QStringLiteral("id")).toString();
        if (!id.isEmpty())
            ids.append(id);
    }
    return ids;
}

QNetworkReply* LocalModelServers::get(const QUrl& baseUrl, const QString& apiKey)
{
    QNetworkRequest request(modelsUrl(baseUrl));
    request.setTransferTimeout(int(m_timeout.count()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    if (!apiKey.isEmpty())
        request.setRawHeader("Authorization", "Bearer " + apiKey.toUtf8());
    return m_network.get(request);
}

void LocalModelServers::scan()
{
    const quint64 generation = ++m_scanGeneration;
    const bool wasScanning = isScanning();
    m_pendingScan = int(m_candidates.size());
    if (!m_servers.isEmpty()) {
        m_servers.clear();
        Q_EMIT serversChanged();
    }
    if (wasScanning != isScanning())
        Q_EMIT isScanningChanged();
    for (const Candidate& candidate : std::as_const(m_candidates)) {
        QNetworkReply* reply = get(candidate.baseUrl, QString());
        connect(reply, &QNetworkReply::finished, this, [this, reply, candidate, generation] {
            reply->deleteLater();
            if (generation != m_scanGeneration)
                return; // a newer scan replaced this one
            const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
            const std::optional<QStringList> models =
                reply->error() == QNetworkReply::NoError && status == 200 ? parseModels(reply->readAll()) : std::nullopt;
            if (models) {
                m_servers.append(QVariantMap{{QStringLiteral("name"), candidate.name},
                                             {QStringLiteral("url"), candidate.baseUrl.toString()},
                                             {QStringLiteral("models"), *models}});
                Q_EMIT serversChanged();
            }
            if (--m_pendingScan == 0)
                Q_EMIT isScanningChanged();
        });
    }
}

void LocalModelServers::listModels(const QString& baseUrl, const QString& apiKey)
{
    const quint64 generation = ++m_modelsGeneration;
    const QUrl url(baseUrl.trimmed());
    if (!url.isValid() || url.scheme().isEmpty() || url.host().isEmpty()) {
        if (!m_models.isEmpty()) {
            m_models.clear();
            Q_EMIT modelsChanged();
        }
        return;
    }
    QNetworkReply* reply = get(url, apiKey);
    connect(reply, &QNetworkReply::finished, this, [this, reply, generation] {
        reply->deleteLater();
        if (generation != m_modelsGeneration)
            return;
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        const QStringList models = reply->error() == QNetworkReply::NoError && status == 200
                                       ? parseModels(reply->readAll()).value_or(QStringList())
                                       : QStringList();
        if (models != m_models) {
            m_models = models;
            Q_EMIT modelsChanged();
        }
    });
}
