#include "HistoryWindowFixture.h"

#include <QRandomGenerator>

namespace {

const QStringList sentences = {
    QStringLiteral("Their going to the meeting tomorow, so we should prepare the slides."),
    QStringLiteral("i think its a good idea but we need to check with the team first"),
    QStringLiteral("Please find attached the report wich covers the last quarter results."),
    QStringLiteral("The quick brown fox jump over the lazy dog, it was very quick."),
    QStringLiteral("Could you send me the the updated version of the contract by friday?"),
    QStringLiteral("We has finished the migration and everything seem to work fine now."),
    QStringLiteral("Thanks for you're help yesterday, the demo went really well."),
    QStringLiteral("Lets grab lunch next week if your free, I know a great place downtown."),
    QStringLiteral("The server was down for an hour because of a misconfigured certificate."),
    QStringLiteral("Her and me went to the conference and learned alot about accessibility."),
};

const QStringList fixes = {
    QStringLiteral("They're going to the meeting tomorrow, so we should prepare the slides."),
    QStringLiteral("I think it's a good idea, but we need to check with the team first."),
    QStringLiteral("Please find attached the report, which covers the last quarter's results."),
    QStringLiteral("The quick brown fox jumped over the lazy dog; it was very quick."),
    QStringLiteral("Could you send me the updated version of the contract by Friday?"),
    QStringLiteral("We have finished the migration, and everything seems to work fine now."),
    QStringLiteral("Thanks for your help yesterday; the demo went really well."),
    QStringLiteral("Let's grab lunch next week if you're free. I know a great place downtown."),
    QStringLiteral("The server was down for an hour because of a misconfigured certificate."),
    QStringLiteral("She and I went to the conference and learned a lot about accessibility."),
};

const QStringList apps = {
    QStringLiteral("Chromium"), QStringLiteral("Slack"), QStringLiteral("Thunderbird"),
    QStringLiteral("Kate"), QStringLiteral("LibreOffice Writer"),
};

QString paragraph(const QString& text)
{
    return QStringLiteral("<p>") + text.toHtmlEscaped() + QStringLiteral("</p>");
}

QList<TraceEvent> traceAt(const QDateTime& end, int chars)
{
    return {
        {end.addMSecs(-1480), QStringLiteral("hotkey_pressed"), std::nullopt},
        {end.addMSecs(-1370), QStringLiteral("clipboard_read"), QString::number(chars) + QStringLiteral(" chars (plain)")},
        {end.addMSecs(-1369), QStringLiteral("engine_selected"), QStringLiteral("cloud")},
        {end.addMSecs(-1368), QStringLiteral("request_started"), QStringLiteral("POST /api/fix")},
        {end.addMSecs(-40), QStringLiteral("response_received"), QStringLiteral("HTTP 200 (1328 ms)")},
        {end.addMSecs(-12), QStringLiteral("clipboard_written"), std::nullopt},
        {end, QStringLiteral("panel_shown"), QStringLiteral("success (1.5s)")},
    };
}

} // namespace

namespace HistoryWindowFixture {

FixHistoryEntry plainEntry(const QDateTime& when, const QString& original, const QString& fixed)
{
    FixHistoryEntry entry;
    entry.id = QUuid::createUuid();
    entry.timestamp = when;
    entry.originalText = original;
    entry.fixedText = fixed;
    entry.editCount = 3;
    entry.sourceApp = QStringLiteral("Kate");
    entry.traceId = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    entry.trace = QList<TraceEvent>{
        {when.addMSecs(-900), QStringLiteral("hotkey_pressed"), std::nullopt},
        {when.addMSecs(-850), QStringLiteral("clipboard_read"), QStringLiteral("42 chars (plain)")},
        {when, QStringLiteral("panel_shown"), QStringLiteral("success (0.9s)")},
    };
    entry.sourceFormat = QStringLiteral("plainText");
    entry.modeName = QStringLiteral("Tembrel");
    return entry;
}

QList<FixHistoryEntry> generate(int count, const QDateTime& now, quint32 seed)
{
    QRandomGenerator random(seed);
    QList<FixHistoryEntry> entries;
    entries.reserve(count);
    QDateTime when = now.addSecs(-120);
    for (int i = 0; i < count; ++i) {
        const int pick = int(random.bounded(sentences.size()));
        // A handful of fixes a day at first, then sparser: a few hundred reach back months.
        const qint64 gap = i < 12 ? 3 * 3600 : 6 * 3600 + random.bounded(30 * 3600);
        FixHistoryEntry entry;
        entry.id = QUuid(QStringLiteral("00000000-0000-4000-8000-%1").arg(i + 1, 12, 10, QLatin1Char('0')));
        entry.timestamp = when;
        entry.originalText = sentences.at(pick);
        entry.fixedText = fixes.at(pick);
        if (i % 11 != 10)
            entry.editCount = qint64(random.bounded(1, 6));
        if (i % 13 != 12)
            entry.sourceApp = apps.at(random.bounded(apps.size()));
        if (i % 5 != 4) {
            entry.trace = traceAt(when, int(entry.originalText.size()));
            entry.traceId = QUuid::fromRfc4122(QByteArray::number(i).rightJustified(16, '0'))
                                .toString(QUuid::WithoutBraces).toUpper();
        }
        if (i % 7 == 1) {
            entry.originalHTML = paragraph(entry.originalText) + QStringLiteral("<ul><li><b>Owner:</b> Sam</li><li>Due <i>soon</i></li></ul>");
            entry.fixedHTML = paragraph(entry.fixedText) + QStringLiteral("<ul><li><b>Owner:</b> Sam</li><li>Due <i>soon</i>.</li></ul>");
            entry.sourceFormat = QStringLiteral("html");
        } else {
            entry.sourceFormat = QStringLiteral("plainText");
        }
        entry.modeName = QStringLiteral("Tembrel");
        entries.append(entry);
        when = when.addSecs(-gap);
    }
    return entries;
}

} // namespace HistoryWindowFixture
