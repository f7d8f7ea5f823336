#pragma once
#include <QNetworkAccessManager>
#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QVariantList>
#include <chrono>

/// Finds OpenAI-compatible servers already running on this computer (Ollama, llama.cpp, LM Studio,
/// vLLM, Jan, KoboldCpp, text-generation-webui) by asking each known address for "/models", and
/// lists the models of any one endpoint. All requests are asynchronous; lives on the UI thread.
class LocalModelServers : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantList servers READ servers NOTIFY serversChanged)
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY isScanningChanged)
    Q_PROPERTY(QStringList models READ models NOTIFY modelsChanged)

public:
    /// A place where a server may listen: its name and its OpenAI-compatible base URL (".../v1").
    struct Candidate
    {
        QString name;
        QUrl baseUrl;
    };

    static constexpr std::chrono::milliseconds defaultTimeout{800};

    explicit LocalModelServers(QObject* parent = nullptr);

    /// The well-known ports on 127.0.0.1, or the list in TEMBREL_LOCAL_SERVERS when set
    /// ("Name=http://host:port/v1" entries separated by commas or spaces).
    [[nodiscard]] static QList<Candidate> defaultCandidates();
    void setCandidates(QList<Candidate> candidates) { m_candidates = std::move(candidates); }
    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }

    /// The servers found by the last scan: maps with "name", "url" and "models" (a string list).
    [[nodiscard]] const QVariantList& servers() const { return m_servers; }
    [[nodiscard]] bool isScanning() const { return m_pendingScan > 0; }
    /// The models of the endpoint last asked with listModels().
    [[nodiscard]] const QStringList& models() const { return m_models; }

    /// Asks every candidate; `servers` fills as answers arrive and `isScanning` ends it.
    Q_INVOKABLE void scan();
    /// Asks the endpoint at `baseUrl` for its models, with `apiKey` when not empty.
    Q_INVOKABLE void listModels(const QString& baseUrl, const QString& apiKey = QString());

Q_SIGNALS:
    void serversChanged();
    void isScanningChanged();
    void modelsChanged();

private:
    /// The model ids of a "/models" answer; nothing when it is not one.
    [[nodiscard]] static std::optional<QStringList> parseModels(const QByteArray& body);
    class QNetworkReply* get(const QUrl& baseUrl, const QString& apiKey);

    QList<Candidate> m_candidates = defaultCandidates();
    std::chrono::milliseconds m_timeout = defaultTimeout;
    QNetworkAccessManager m_network;
    QVariantList m_servers;
    QStringList m_models;
    int m_pendingScan = 0;
    quint64 m_scanGeneration = 0;
    quint64 m_modelsGeneration = 0;
};
