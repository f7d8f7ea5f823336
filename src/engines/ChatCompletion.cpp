#include "engines/ChatCompletion.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

namespace ChatCompletion {

std::optional<QUrl> endpointUrl(const QString& baseUrl)
{
    const QString base = baseUrl.trimmed();
    const QString joined = base + (base.endsWith(u'/') ? QStringLiteral("chat/completions") : QStringLiteral("/chat/completions"));
    const QUrl url(joined, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != u"http" && scheme != u"https") || url.host().isEmpty())
        return std::nullopt;
    return url;
}

QByteArray requestBody(const QString& systemPrompt, const QString& userText, const QString& model)
{
    QJsonObject body;
    const QString trimmedModel = model.trimmed();
    if (!trimmedModel.isEmpty())
        body.insert(QStringLiteral("model"), trimmedModel);
    body.insert(QStringLiteral("messages"), QJsonArray{
        QJsonObject{{QStringLiteral("role"), QStringLiteral("system")}, {QStringLiteral("content"), systemPrompt}},
        QJsonObject{{QStringLiteral("role"), QStringLiteral("user")}, {QStringLiteral("content"), userText}},
    });
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

std::optional<QString> stripReasoning(const QString& content)
{
    static const QString open = QStringLiteral("<think>");
    static const QString close = QStringLiteral("</think>");
    qsizetype start = 0;
    while (start < content.size() && content.at(start).isSpace())
        ++start;
    if (!QStringView(content).mid(start).startsWith(open, Qt::CaseInsensitive))
        return content;
    const qsizetype end = content.indexOf(close, start + open.size(), Qt::CaseInsensitive);
    if (end < 0)
        return std::nullopt;
    qsizetype answerStart = end + close.size();
    while (answerStart < content.size() && content.at(answerStart).isSpace())
        ++answerStart;
    return content.mid(answerStart);
}

namespace {

OtherError undecodable(const QString& why)
{
    return OtherError{QStringLiteral("The endpoint's answer could not be read: ") + why,
                      QStringLiteral("The endpoint's answer is not a chat completion (") + why + QStringLiteral(").")};
}

TextFixError noText(const QString& why)
{
    return TextFixError::emptyResponse().withDetail(why);
}

// Some servers send the content as a list of typed parts; only the text parts are the answer.
std::optional<QString> textOfParts(const QJsonArray& parts)
{
    QString text;
    for (const QJsonValue& part : parts) {
        const QJsonObject object = part.toObject();
        if (object.value(QStringLiteral("type")).toString() != u"text" || !object.value(QStringLiteral("text")).isString())
            return std::nullopt;
        text += object.value(QStringLiteral("text")).toString();
    }
    return text;
}

} // namespace

Outcome<QString> decodeAnswer(const QByteArray& body)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return undecodable(parseError.errorString());
    if (!document.isObject())
        return undecodable(QStringLiteral("not a JSON object"));
    const QJsonValue choices = document.object().value(QStringLiteral("choices"));
    if (!choices.isArray())
        return undecodable(QStringLiteral("no \"choices\" list"));
    if (choices.toArray().isEmpty())
        return noText(QStringLiteral("The endpoint answered with an empty list of choices."));
    const QJsonValue message = choices.toArray().first().toObject().value(QStringLiteral("message"));
    if (!message.isObject())
        return undecodable(QStringLiteral("the first choice has no message"));

    // Reasoning models put their thinking in "reasoning_content" or "reasoning"; it is never the
    // answer, so only "content" is read.
    const QJsonValue content = message.toObject().value(QStringLiteral("content"));
    QString text;
    if (content.isUndefined() || content.isNull()) {
        return noText(QStringLiteral("The model's answer holds no text."));
    } else if (content.isString()) {
        text = content.toString();
    } else if (const auto parts = textOfParts(content.toArray()); content.isArray() && parts) {
        text = *parts;
    } else {
        return undecodable(QStringLiteral("the message content is not text"));
    }

    const std::optional<QString> answer = stripReasoning(text);
    if (!answer)
        return noText(QStringLiteral("The model's answer ended inside its <think> reasoning, before any text."));
    if (answer->trimmed().isEmpty())
        return noText(QStringLiteral("The model's answer holds no text."));
    return *answer;
}

} // namespace ChatCompletion
