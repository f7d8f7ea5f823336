#include "history/HistoryFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

// Escaping works on the UTF-8 bytes: every character that needs it is ASCII, and multi-byte
// sequences never contain ASCII bytes. Runs that need no escaping are copied in one go.
void appendString(QByteArray& out, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    out += '"';
    qsizetype runStart = 0;
    for (qsizetype i = 0; i < utf8.size(); ++i) {
        const uchar c = uchar(utf8[i]);
        if (c >= 0x20 && c != '"' && c != '\\')
            continue;
        out.append(utf8.constData() + runStart, i - runStart);
        runStart = i + 1;
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            out += "\\u" + QByteArray::number(c, 16).rightJustified(4, '0');
        }
    }
    out.append(utf8.constData() + runStart, utf8.size() - runStart);
    out += '"';
}

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
    void indent(int depth) { m_out += QByteArray(depth * 2, ' '); }

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
        QStringList keys = members.keys();
        std::stable_sort(keys.begin(), keys.end(), [this](const QString& a, const QString& b) {
            return rank(a) < rank(b);
        });
        m_out += "{\n";
        for (qsizetype i = 0; i < keys.size(); ++i) {
            indent(depth + 1);
            appendString(m_out, keys.at(i));
            m_out += " : ";
            value(members.value(keys.at(i)), depth + 1);
            m_out += i + 1 < keys.size() ? ",\n" : "\n";
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
    QJsonArray array;
    for (const FixHistoryEntry& entry : entries)
        array.append(entry.toJson());
    return OrderedJson::pretty(array, HistoryJson::keyOrder());
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
