#include "analytics/SessionTracker.h"

#include <QRandomGenerator>
#include <QUuid>

namespace Analytics {

QString createUuidV7(const QDateTime& time)
{
    const quint64 millis = quint64(qMax<qint64>(0, time.toMSecsSinceEpoch())) & 0xFFFFFFFFFFFFull;
    quint64 random[2];
    QRandomGenerator::global()->fillRange(random);

    uchar bytes[16];
    for (int i = 0; i < 6; ++i)
        bytes[i] = uchar(millis >> (8 * (5 - i)));
    for (int i = 6; i < 16; ++i)
        bytes[i] = uchar(random[i / 8] >> (8 * (i % 8)));
    bytes[6] = uchar(0x70 | (bytes[6] & 0x0F)); // version 7
    bytes[8] = uchar(0x80 | (bytes[8] & 0x3F)); // RFC 4122 variant

    return QUuid::fromRfc4122(QByteArrayView(bytes, 16)).toString(QUuid::WithoutBraces);
}

} // namespace Analytics

SessionTracker::SessionTracker(std::chrono::milliseconds idleTimeout)
    : m_idleTimeout(idleTimeout)
{
}

QString SessionTracker::sessionIdFor(const QDateTime& now)
{
    // A clock that steps backwards counts as activity rather than as a long pause.
    const bool idleTooLong = m_lastEvent.isValid() && m_lastEvent.msecsTo(now) > m_idleTimeout.count();
    if (m_sessionId.isEmpty() || idleTooLong)
        m_sessionId = Analytics::createUuidV7(now);
    if (!m_lastEvent.isValid() || now > m_lastEvent)
        m_lastEvent = now;
    return m_sessionId;
}
