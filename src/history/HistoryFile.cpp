#include "history/HistoryFile.h"

#include "core/StoredJson.h"
#include "core/TraceCollector.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QVarLengthArray>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

// Encodes straight from UTF-16 into the output, escaping as it goes: one pass, no UTF-8 copy of
// each string first. Every character that needs escaping is ASCII; a lone surrogate becomes
// U+FFFD, as QString::toUtf8() makes it.
void appendString(QByteArray& out, const QString& text)
{
    out += '"';
    const char16_t* p = reinterpret_cast<const char16_t*>(text.constData());
    const char16_t* const end = p + text.size();
    while (p < end) {
        const char16_t c = *p++;
        if (c < 0x80) {
            if (c >= 0x20 && c != u'"' && c != u'\\') {
                out += char(c);
                continue;
            }
            switch (c) {
            case u'"': out += "\\\""; break;
            case u'\\': out += "\\\\"; break;
            case u'\n': out += "\\n"; break;
            case u'\r': out += "\\r"; break;
            case u'\t': out += "\\t"; break;
            default: {
                static constexpr char hex[] = "0123456789abcdef";
                const char escaped[] = {'\\', 'u', '0', '0', hex[c >> 4], hex[c & 0xf]};
                out.append(escaped, sizeof escaped);
            }
            }
            continue;
        }
        char32_t code = c;
        if (QChar::isHighSurrogate(c) && p < end && QChar::isLowSurrogate(*p))
            code = QChar::surrogateToUcs4(c, *p++);
        else if (QChar::isSurrogate(c))
            code = 0xfffd;
        if (code < 0x800) {
            const char bytes[] = {char(0xc0 | (code >> 6)), char(0x80 | (code & 0x3f))};
            out.append(bytes, 2);
        } else if (code < 0x10000) {
            const char bytes[] = {char(0xe0 | (code >> 12)), char(0x80 | ((code >> 6) & 0x3f)), char(0x80 | (code & 0x3f))};
            out.append(bytes, 3);
        } else {
            const char bytes[] = {char(0xf0 | (code >> 18)), char(0x80 | ((code >> 12) & 0x3f)),
                                  char(0x80 | ((code >> 6) & 0x3f)), char(0x80 | (code & 0x3f))};
            out.append(bytes, 4);
        }
    }
    out += '"';
}

// As a JSON value holding this double prints it: a whole number without a fraction.
void appendNumber(QByteArray& out, double d)
{
    if (d >= -9007199254740992.0 && d <= 9007199254740992.0 && double(qint64(d)) == d)
        out += QByteArray::number(qint64(d));
    else
        out += QByteArray::number(d, 'g', QLocale::FloatingPointShortest);
}

// One entry, written straight from its fields in the order OrderedJson::pretty gives the same
// entry's toJson(): the file is rewritten whole at every change, so this is the hot path.
class EntryWriter
{
public:
    explicit EntryWriter(QByteArray& out)
        : m_out(out)
    {
    }

    void entry(const FixHistoryEntry& entry)
    {
        m_out += "  {\n";
        text("id", StoredJson::uuidString(entry.id));
        key("timestamp");
        appendNumber(m_out, StoredDate::toSeconds(entry.timestamp));
        text("originalText", entry.originalText);
        text("fixedText", entry.fixedText);
        if (entry.editCount) {
            key("editCount");
            m_out += QByteArray::number(*entry.editCount);
        }
        optionalText("sourceApp", entry.sourceApp);
        if (entry.trace)
            trace(*entry.trace);
        optionalText("traceId", entry.traceId);
        optionalText("originalHTML", entry.originalHTML);
        optionalText("fixedHTML", entry.fixedHTML);
        optionalText("sourceFormat", entry.sourceFormat);
        optionalText("modeName", entry.modeName);
        m_out += "\n  }";
    }

private:
    void key(const char* name)
    {
        m_out += m_first ? "    \"" : ",\n    \"";
        m_first = false;
        m_out += name;
        m_out += "\" : ";
    }

    void text(const char* name, const QString& value)
    {
        key(name);
        appendString(m_out, value);
    }

    void optionalText(const char* name, const std::optional<QString>& value)
    {
        if (value)
            text(name, *value);
    }

    void trace(const QList<TraceEvent>& events)
    {
        key("trace");
        if (events.isEmpty()) {
            m_out += "[]";
            return;
        }
        m_out += "[\n";
        for (qsizetype i = 0; i < events.size(); ++i) {
            const TraceEvent& event = events.at(i);
            m_out += "      {\n        \"timestamp\" : ";
            appendNumber(m_out, StoredDate::toSeconds(event.timestamp));
            m_out += ",\n        \"event\" : ";
            appendString(m_out, event.event);
            if (event.detail) {
                m_out += ",\n        \"detail\" : ";
                appendString(m_out, *event.detail);
            }
            m_out += i + 1 < events.size() ? "\n      },\n" : "\n      }\n";
        }
        m_out += "    ]";
    }

    QByteArray& m_out;
    bool m_first = true;
};

class Writer
{
public:
    explicit Writer(const QStringList& keyOrder)
        : m_keyOrder(keyOrder)
    {
    }

    void value(const QJsonValue& v, int depth)
    {
        switch (v.type()) {
        case QJsonValue::Null:
        case QJsonValue::Undefined:
            m_out += "null";
            break;
        case QJsonValue::Bool:
            m_out += v.toBool() ? "true" : "false";
            break;
        case QJsonValue::Double:
            number(v);
            break;
        case QJsonValue::String:
            appendString(m_out, v.toString());
            break;
        case QJsonValue::Array:
            array(v.toArray(), depth);
            break;
        case QJsonValue::Object:
            object(v.toObject(), depth);
            break;
        }
    }

    QByteArray take() { return std::move(m_out); }

private:
    void indent(int depth) { m_out.append(qsizetype(depth) * 2, ' '); }

    void number(const QJsonValue& v)
    {
        const double d = v.toDouble();
        const qint64 whole = v.toInteger(std::numeric_limits<qint64>::min());
        if (whole != std::numeric_limits<qint64>::min() && double(whole) == d)
            m_out += QByteArray::number(whole);
        else
            m_out += QByteArray::number(d, 'g', QLocale::FloatingPointShortest);
    }

    void array(const QJsonArray& items, int depth)
    {
        if (items.isEmpty()) {
            m_out += "[]";
            return;
        }
        m_out += "[\n";
        for (qsizetype i = 0; i < items.size(); ++i) {
            indent(depth + 1);
            value(items.at(i), depth + 1);
            m_out += i + 1 < items.size() ? ",\n" : "\n";
        }
        indent(depth);
        m_out += ']';
    }

    void object(const QJsonObject& members, int depth)
    {
        if (members.isEmpty()) {
            m_out += "{}";
            return;
        }
        // The object's own order is sorted, so a stable sort by rank leaves unlisted keys sorted.
        struct Member
        {
            qsizetype rank;
            QJsonObject::const_iterator it;
        };
        QVarLengthArray<Member, 16> ordered;
        for (auto it = members.constBegin(); it != members.constEnd(); ++it)
            ordered.append({rank(it.key()), it});
        std::stable_sort(ordered.begin(), ordered.end(), [](const Member& a, const Member& b) { return a.rank < b.rank; });
        m_out += "{\n";
        for (qsizetype i = 0; i < ordered.size(); ++i) {
            indent(depth + 1);
            appendString(m_out, ordered[i].it.key());
            m_out += " : ";
            value(ordered[i].it.value(), depth + 1);
            m_out += i + 1 < ordered.size() ? ",\n" : "\n";
        }
        indent(depth);
        m_out += '}';
    }

    qsizetype rank(const QString& key) const
    {
        const qsizetype index = m_keyOrder.indexOf(key);
        return index < 0 ? m_keyOrder.size() : index;
    }

    const QStringList& m_keyOrder;
    QByteArray m_out;
};

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// Closes a descriptor on every way out.
struct Descriptor
{
    int fd = -1;
    ~Descriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

} // namespace

QByteArray OrderedJson::pretty(const QJsonValue& value, const QStringList& keyOrder)
{
    Writer writer(keyOrder);
    writer.value(value, 0);
    return writer.take();
}

QString HistorySaveError::description() const
{
    switch (kind) {
    case Kind::createDirectory:
        return QStringLiteral("The folder could not be created (") + detail + QLatin1Char(')');
    case Kind::open:
        return QStringLiteral("The file could not be opened for writing (") + detail + QLatin1Char(')');
    case Kind::write:
        return QStringLiteral("The file could not be written (") + detail + QLatin1Char(')');
    case Kind::commit:
        return QStringLiteral("The new file could not replace the old one (") + detail + QLatin1Char(')');
    }
    return {};
}

QByteArray HistoryFile::encode(const QList<FixHistoryEntry>& entries)
{
    if (entries.isEmpty())
        return QByteArrayLiteral("[]");
    QByteArray out;
    qsizetype estimate = 16;
    for (const FixHistoryEntry& entry : entries)
        estimate += 512 + entry.originalText.size() + entry.fixedText.size() + entry.originalHTML.value_or(QString()).size()
                    + entry.fixedHTML.value_or(QString()).size() + 96 * (entry.trace ? entry.trace->size() : 0);
    out.reserve(estimate);
    out += "[\n";
    for (qsizetype i = 0; i < entries.size(); ++i) {
        EntryWriter(out).entry(entries.at(i));
        out += i + 1 < entries.size() ? ",\n" : "\n";
    }
    out += ']';
    return out;
}

std::variant<QList<FixHistoryEntry>, HistoryDecodeError> HistoryFile::decode(const QByteArray& data)
{
    using Kind = HistoryDecodeError::Kind;
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(data, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return HistoryDecodeError{Kind::notJson, -1, {}, parseError.errorString() + QStringLiteral(" at offset ")
                                      + QString::number(parseError.offset)};
    if (!document.isArray())
        return HistoryDecodeError{Kind::notArray, -1, {}, {}};
    const QJsonArray array = document.array();
    QList<FixHistoryEntry> entries;
    entries.reserve(array.size());
    for (qsizetype i = 0; i < array.size(); ++i) {
        auto decoded = HistoryJson::decodeEntry(array.at(i), i);
        if (auto* error = std::get_if<HistoryDecodeError>(&decoded))
            return *error;
        entries.append(std::get<FixHistoryEntry>(std::move(decoded)));
    }
    return entries;
}

std::variant<QList<FixHistoryEntry>, HistoryDecodeError> HistoryFile::read(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return HistoryDecodeError{HistoryDecodeError::Kind::unreadable, -1, {}, file.errorString()};
    const QByteArray data = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return HistoryDecodeError{HistoryDecodeError::Kind::unreadable, -1, {}, file.errorString()};
    return decode(data);
}

std::optional<HistorySaveError> HistoryFile::write(const QString& path, const QList<FixHistoryEntry>& entries)
{
    // Written by hand rather than through QSaveFile, to name the system's reason when the disk is
    // full and to make the folder's new entry durable too: the data reaches the disk before the
    // rename, and the rename before this returns.
    using Kind = HistorySaveError::Kind;
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder))
        return HistorySaveError{Kind::createDirectory, folder};
    const QByteArray data = encode(entries);
    const QByteArray target = QFile::encodeName(path);
    const QByteArray temporary = target + ".saving-" + QByteArray::number(qint64(::getpid()));

    Descriptor file{::open(temporary.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)};
    if (file.fd < 0)
        return HistorySaveError{Kind::open, systemError(errno)};
    const auto fail = [&](Kind kind, int error) {
        ::unlink(temporary.constData());
        return HistorySaveError{kind, systemError(error)};
    };
    for (qsizetype written = 0; written < data.size();) {
        const ssize_t n = ::write(file.fd, data.constData() + written, size_t(data.size() - written));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return fail(Kind::write, n < 0 ? errno : ENOSPC);
        written += n;
    }
    if (::fsync(file.fd) != 0)
        return fail(Kind::write, errno);
    const int closed = ::close(std::exchange(file.fd, -1));
    if (closed != 0)
        return fail(Kind::write, errno);
    if (::rename(temporary.constData(), target.constData()) != 0)
        return fail(Kind::commit, errno);
    Descriptor directory{::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (directory.fd >= 0)
        ::fsync(directory.fd);
    return std::nullopt;
}
