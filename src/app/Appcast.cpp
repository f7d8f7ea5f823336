#include "app/Appcast.h"
#include "app/SparkleVersion.h"

#include <QXmlStreamReader>

namespace {

const auto sparkleNamespace = QStringLiteral("http://www.andymatuschak.org/xml-namespaces/sparkle");
const auto thisSystem = QStringLiteral("linux");

bool isSparkle(const QXmlStreamReader& xml, QStringView name)
{
    return xml.namespaceUri() == sparkleNamespace && xml.name() == name;
}

bool isPlain(const QXmlStreamReader& xml, QStringView name)
{
    return xml.namespaceUri().isEmpty() && xml.name() == name;
}

void readEnclosure(const QXmlStreamAttributes& attributes, AppcastItem& item)
{
    item.downloadUrl = QUrl(attributes.value(QStringLiteral("url")).toString().trimmed());
    // Older feeds put the versions on the enclosure; an element in the item wins over them.
    const QString version = attributes.value(sparkleNamespace, QStringLiteral("version")).toString().trimmed();
    if (item.version.isEmpty())
        item.version = version;
    const QString shortVersion =
        attributes.value(sparkleNamespace, QStringLiteral("shortVersionString")).toString().trimmed();
    if (item.shortVersionString.isEmpty())
        item.shortVersionString = shortVersion;
    item.os = attributes.value(sparkleNamespace, QStringLiteral("os")).toString().trimmed();
}

// Reads the current <item> up to its end tag.
AppcastItem readItem(QXmlStreamReader& xml)
{
    AppcastItem item;
    QUrl link;
    bool enclosureSeen = false;
    while (xml.readNextStartElement()) {
        if (isPlain(xml, u"enclosure") && !enclosureSeen) {
            enclosureSeen = true;
            readEnclosure(xml.attributes(), item);
            xml.skipCurrentElement();
        } else if (isSparkle(xml, u"version")) {
            item.version = xml.readElementText().trimmed();
        } else if (isSparkle(xml, u"shortVersionString")) {
            item.shortVersionString = xml.readElementText().trimmed();
        } else if (isSparkle(xml, u"channel")) {
            item.channel = xml.readElementText().trimmed();
        } else if (isSparkle(xml, u"releaseNotesLink")) {
            item.releaseNotesUrl = QUrl(xml.readElementText().trimmed());
        } else if (isPlain(xml, u"title")) {
            item.title = xml.readElementText().trimmed();
        } else if (isPlain(xml, u"description")) {
            item.description = xml.readElementText(QXmlStreamReader::IncludeChildElements).trimmed();
        } else if (isPlain(xml, u"link")) {
            link = QUrl(xml.readElementText().trimmed());
        } else if (isPlain(xml, u"pubDate")) {
            item.publishedAt = QDateTime::fromString(xml.readElementText().trimmed(), Qt::RFC2822Date);
        } else {
            xml.skipCurrentElement();
        }
    }
    if (item.downloadUrl.isEmpty())
        item.downloadUrl = link;
    return item;
}

} // namespace

QString AppcastError::message() const
{
    QString text = kind == Kind::notXml ? QStringLiteral("The update feed is not valid XML: ") + detail
                                        : QStringLiteral("The update feed is not an appcast: ") + detail;
    if (line > 0)
        text += QStringLiteral(" (line %1, column %2)").arg(line).arg(column);
    return text;
}

std::variant<Appcast, AppcastError> Appcast::parse(const QByteArray& bytes)
{
    if (bytes.trimmed().isEmpty())
        return AppcastError{AppcastError::Kind::notAnAppcast, QStringLiteral("the document is empty")};
    QXmlStreamReader xml(bytes);
    auto xmlError = [&xml] {
        return AppcastError{AppcastError::Kind::notXml, xml.errorString(), xml.lineNumber(), xml.columnNumber()};
    };
    if (!xml.readNextStartElement())
        return xmlError();
    if (!isPlain(xml, u"rss"))
        return AppcastError{AppcastError::Kind::notAnAppcast,
                            QStringLiteral("its root element is <%1>, not <rss>").arg(xml.qualifiedName()),
                            xml.lineNumber(), xml.columnNumber()};

    Appcast appcast;
    bool channelSeen = false;
    while (xml.readNextStartElement()) {
        if (!isPlain(xml, u"channel") || channelSeen) {
            xml.skipCurrentElement();
            continue;
        }
        channelSeen = true;
        while (xml.readNextStartElement()) {
            if (!isPlain(xml, u"item")) {
                xml.skipCurrentElement();
                continue;
            }
            AppcastItem item = readItem(xml);
            if (!item.version.isEmpty())
                appcast.items.append(std::move(item));
        }
    }
    // The whole document must be well-formed: a feed cut off in transit is not trusted in part.
    while (!xml.atEnd() && !xml.hasError())
        xml.readNext();
    if (xml.hasError())
        return xmlError();
    if (!channelSeen)
        return AppcastError{AppcastError::Kind::notAnAppcast, QStringLiteral("it has no <channel>")};
    return appcast;
}

std::optional<AppcastItem> Appcast::newestItem(const QSet<QString>& channels) const
{
    std::optional<AppcastItem> newest;
    for (const AppcastItem& item : items) {
        if (!item.channel.isEmpty() && !channels.contains(item.channel))
            continue;
        if (!item.os.isEmpty() && item.os.compare(thisSystem, Qt::CaseInsensitive) != 0)
            continue;
        if (!newest || SparkleVersion::compare(item.version, newest->version) > 0)
            newest = item;
    }
    return newest;
}
