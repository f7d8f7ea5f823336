#include "capture/ChromiumCustomData.h"

#include <QtEndian>

namespace {

// The layout is base::Pickle: a 32-bit payload size, then 32-bit little-endian fields, each string
// as its length in UTF-16 code units followed by the units, padded with zeros to a multiple of 4.
class PickleReader
{
public:
    explicit PickleReader(const QByteArray& data)
        : m_data(data)
    {
    }

    bool readUInt32(quint32& value)
    {
        if (remaining() < 4)
            return false;
        value = qFromLittleEndian<quint32>(m_data.constData() + m_pos);
        m_pos += 4;
        return true;
    }

    bool readString16(QString& value)
    {
        quint32 units = 0;
        if (!readUInt32(units))
            return false;
        // 64-bit arithmetic: a hostile length must not wrap around and pass the check.
        const qint64 bytes = qint64(units) * 2;
        if (bytes > remaining())
            return false;
        value.resize(qsizetype(units));
        for (quint32 i = 0; i < units; ++i)
            value[i] = QChar(qFromLittleEndian<quint16>(m_data.constData() + m_pos + 2 * i));
        m_pos += bytes;
        return skipPadding();
    }

    [[nodiscard]] qint64 remaining() const { return m_data.size() - m_pos; }

private:
    bool skipPadding()
    {
        const qint64 aligned = (m_pos + 3) & ~qint64(3);
        if (aligned > m_data.size())
            return false;
        m_pos = aligned;
        return true;
    }

    const QByteArray& m_data;
    qint64 m_pos = 0;
};

void appendUInt32(QByteArray& out, quint32 value)
{
    char bytes[4];
    qToLittleEndian(value, bytes);
    out.append(bytes, 4);
}

void appendString16(QByteArray& out, const QString& text)
{
    appendUInt32(out, quint32(text.size()));
    for (QChar c : text) {
        char bytes[2];
        qToLittleEndian(c.unicode(), bytes);
        out.append(bytes, 2);
    }
    while (out.size() % 4 != 0)
        out.append('\0');
}

} // namespace

std::optional<QMap<QString, QString>> ChromiumCustomData::read(const QByteArray& blob)
{
    PickleReader reader(blob);
    quint32 payloadSize = 0;
    quint32 count = 0;
    if (!reader.readUInt32(payloadSize) || !reader.readUInt32(count))
        return std::nullopt;
    // Each pair takes at least two length fields; a count beyond that is a lie, not a reason to
    // loop four billion times.
    if (qint64(count) * 8 > reader.remaining())
        return std::nullopt;
    QMap<QString, QString> entries;
    for (quint32 i = 0; i < count; ++i) {
        QString key;
        QString value;
        if (!reader.readString16(key) || !reader.readString16(value))
            return std::nullopt;
        entries.insert(key, value);
    }
    return entries;
}

QByteArray ChromiumCustomData::write(const QList<QPair<QString, QString>>& entries)
{
    QByteArray payload;
    appendUInt32(payload, quint32(entries.size()));
    for (const auto& [key, value] : entries) {
        appendString16(payload, key);
        appendString16(payload, value);
    }
    QByteArray blob;
    appendUInt32(blob, quint32(payload.size()));
    blob.append(payload);
    return blob;
}
