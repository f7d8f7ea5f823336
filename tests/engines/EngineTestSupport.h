#pragma once
#include "core/TextFixError.h"
#include "core/TraceCollector.h"
#include "support/TestHttpServer.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>
#include <QCoro/QCoroTask>
#include <QStringList>
#include <QTest>
#include <algorithm>
#include <functional>

Q_DECLARE_METATYPE(FixError)
Q_DECLARE_METATYPE(CannedResponse)

namespace EngineTest {

/// Runs a task to its end on this thread's event loop and hands back its result.
template<typename T>
T finish(QCoro::Task<T>&& task)
{
    std::optional<T> result;
    QEventLoop loop;
    auto run = [&]() -> QCoro::Task<> {
        result.emplace(co_await std::move(task));
        loop.quit();
    };
    QCoro::Task<> running = run();
    if (!result)
        loop.exec();
    return std::move(*result);
}

/// A chat-completions answer whose first choice says `content`.
inline QJsonObject chatAnswer(const QString& content)
{
    const QJsonObject message{{"role", "assistant"}, {"content", content}};
    return {{"choices", QJsonArray{QJsonObject{{"message", message}}}}};
}

/// The user's message in a chat-completions request.
inline QString userContent(const RecordedRequest& request)
{
    return request.json().value("messages").toArray().at(1).toObject().value("content").toString();
}

/// An address on 127.0.0.1 where nothing listens: a port that was just free.
inline QString refusedUrl(const QString& path = {})
{
    TestHttpServer probe;
    if (!probe.listen())
        return {};
    const QString url = probe.url(path).toString();
    probe.close();
    return url;
}

/// An answer that is not HTTP at all.
inline CannedResponse garbage()
{
    CannedResponse response;
    response.garbage = true;
    return response;
}

/// The trace as "event: detail" lines, with the milliseconds of response_received blanked out so
/// that a sequence can be compared exactly.
inline QStringList traceLines(const TracePtr& trace)
{
    QStringList lines;
    for (const TraceEvent& event : trace->events()) {
        QString detail = event.detail.value_or(QString());
        if (event.event == u"response_received")
            detail.replace(QRegularExpression(QStringLiteral("\\(\\d+ ms\\)")), QStringLiteral("(… ms)"));
        lines.append(event.detail ? event.event + QStringLiteral(": ") + detail : event.event);
    }
    return lines;
}

/// Holds every answer back until `expected` requests have arrived, then releases them newest
/// first, so concurrency is seen at the server and completion order differs from sending order.
/// `arrivedWhileNoneReleased` tells afterwards whether each request came before any answer left.
class AnswerGate
{
public:
    AnswerGate(TestHttpServer& server, int expected, std::function<CannedResponse(const RecordedRequest&)> respond)
        : m_server(server), m_expected(expected), m_respond(std::move(respond))
    {
        server.setHandler([this](const RecordedRequest& request) {
            m_releasedAtArrival.append(m_released);
            // Serving other connections from a nested loop keeps this answer until all are in.
            if (!QTest::qWaitFor([this] { return m_server.requestCount() >= m_expected; }, 10000))
                qWarning("only %d of %d requests arrived", m_server.requestCount(), m_expected);
            ++m_released;
            return m_respond(request);
        });
    }

    [[nodiscard]] bool arrivedWhileNoneReleased() const
    {
        return m_releasedAtArrival.size() == m_expected
            && std::all_of(m_releasedAtArrival.begin(), m_releasedAtArrival.end(), [](int n) { return n == 0; });
    }

private:
    TestHttpServer& m_server;
    int m_expected;
    std::function<CannedResponse(const RecordedRequest&)> m_respond;
    QList<int> m_releasedAtArrival;
    int m_released = 0;
};

} // namespace EngineTest
