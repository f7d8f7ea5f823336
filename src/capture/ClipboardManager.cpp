#include "capture/ClipboardManager.h"

#include "capture/ChromiumCustomData.h"
#include "capture/ClipboardTypes.h"
#include "capture/HtmlDocument.h"
#include "capture/HtmlText.h"
#include "capture/QuillDeltaParser.h"
#include "capture/RtfReader.h"
#include "capture/RtfWriter.h"
#include "core/Logging.h"
#include "core/TextFormat.h"
#include "platform/SystemClipboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace {

std::optional<QByteArray> rtfData(const QMimeData& data)
{
    if (data.hasFormat(ClipboardTypes::rtf))
        return data.data(ClipboardTypes::rtf);
    for (const QString& type : ClipboardTypes::rtfAlternatives) {
        if (data.hasFormat(type))
            return data.data(type);
    }
    return std::nullopt;
}

std::optional<QMap<QString, QString>> customData(const QMimeData& data)
{
    if (!data.hasFormat(ClipboardTypes::chromiumCustomData))
        return std::nullopt;
    const auto entries = ChromiumCustomData::read(data.data(ClipboardTypes::chromiumCustomData));
    if (!entries)
        qCWarning(lcClipboard) << "Ignoring Chromium custom data that does not parse";
    return entries;
}

// Rule 1: Slack's Quill delta. A value means the rule decided (content or nothing at all).
std::optional<std::optional<ClipboardContent>> slackContent(const QMimeData& data)
{
    const auto entries = customData(data);
    if (!entries || entries->isEmpty() || !entries->contains(ClipboardTypes::slackTexty))
        return std::nullopt;
    const std::optional<QString> html = QuillDeltaParser::parse(entries->value(ClipboardTypes::slackTexty));
    if (!html)
        return std::nullopt;
    const QString text = HtmlDocument::toPlainText(*html);
    if (TextFormat::isBlank(text))
        return std::optional<ClipboardContent>();
    return std::optional<ClipboardContent>(ClipboardContent{text, *html, std::nullopt, SourceFormat::html, false});
}

} // namespace

ClipboardManager::ClipboardManager(QClipboard* clipboard)
    : m_clipboard(clipboard ? clipboard : QGuiApplication::clipboard())
{
}

ClipboardManager::~ClipboardManager() = default;

const QMimeData* ClipboardManager::mimeData(bool primary) const
{
    if (!m_system)
        return m_clipboard->mimeData(primary ? QClipboard::Selection : QClipboard::Clipboard);
    m_systemData = m_system->read(primary ? SystemClipboard::Selection::primary : SystemClipboard::Selection::clipboard);
    return m_systemData.get();
}

std::optional<ClipboardContent> ClipboardManager::contentFrom(const QMimeData& data)
{
    if (auto slack = slackContent(data))
        return *slack;

    if (data.hasFormat(ClipboardTypes::html)) {
        const QString html = HtmlText::decode(data.data(ClipboardTypes::html));
        const QString text = htmlToPlainText(html);
        if (TextFormat::isBlank(text))
            return std::nullopt;
        return ClipboardContent{text, html, std::nullopt, SourceFormat::html, HtmlText::isFromGoogleDocs(html)};
    }

    if (const std::optional<QByteArray> rtf = rtfData(data)) {
        if (const std::optional<RichText> rich = RtfReader::read(*rtf)) {
            const QString text = rich->plainText();
            if (TextFormat::isBlank(text))
                return std::nullopt;
            return ClipboardContent{text, HtmlDocument::bodyHtml(*rich), *rtf, SourceFormat::rtf, false};
        }
        qCWarning(lcClipboard) << "Clipboard RTF does not open; falling back to plain text";
    }

    if (data.hasText()) {
        const QString text = data.text();
        if (!TextFormat::isBlank(text))
            return ClipboardContent{text, HtmlText::plainTextToHtml(text), std::nullopt, SourceFormat::plainText, false};
    }
    return std::nullopt;
}

std::optional<ClipboardContent> ClipboardManager::readContent() const
{
    const QMimeData* data = mimeData(false);
    if (!data)
        return std::nullopt;
    return contentFrom(*data);
}

std::optional<ClipboardContent> ClipboardManager::readPrimarySelection() const
{
    if (m_system ? !m_system->supportsPrimary() : !m_clipboard->supportsSelection())
        return std::nullopt;
    const QMimeData* data = mimeData(true);
    if (!data)
        return std::nullopt;
    return contentFrom(*data);
}

std::optional<QString> ClipboardManager::readPlainText() const
{
    const QMimeData* data = mimeData(false);
    if (!data || !data->hasText())
        return std::nullopt;
    const QString text = data->text();
    if (TextFormat::isBlank(text))
        return std::nullopt;
    return text;
}

std::optional<QMap<QString, QString>> ClipboardManager::readChromiumCustomData() const
{
    const QMimeData* data = mimeData(false);
    if (!data)
        return std::nullopt;
    return customData(*data);
}

QMimeData* ClipboardManager::fixedContentData(const QString& fixedText, const CapturedContent& captured)
{
    auto* data = new QMimeData;
    // The answer to a plain selection is plain text already, and pastes back exactly as it came.
    const bool rich = captured.sourceFormat != SourceFormat::plainText;
    data->setText(rich ? htmlToPlainText(fixedText) : fixedText);
    if (rich) {
        const QString html = captured.isFromGoogleDocs ? HtmlText::stripGoogleDocsIds(fixedText) : fixedText;
        data->setHtml(html);
        if (const std::optional<QByteArray> rtf = htmlToRTF(html))
            data->setData(ClipboardTypes::rtf, *rtf);
    }
    if (captured.isFromGoogleDocs) {
        // Chromium hands a page the custom types of its pickle, not separate targets: this is
        // where Docs looks for its clip id. The bare type is for readers that do look for targets.
        data->setData(ClipboardTypes::chromiumCustomData,
                      ChromiumCustomData::write({{ClipboardTypes::googleDocsClipId, QString()}}));
        data->setData(ClipboardTypes::googleDocsClipId, QByteArray());
    }
    return data;
}

bool ClipboardManager::writeFixedContent(const QString& fixedText, const CapturedContent& captured)
{
    if (m_system) {
        if (!m_system->write(std::unique_ptr<QMimeData>(fixedContentData(fixedText, captured)),
                             SystemClipboard::Selection::clipboard))
            qCWarning(lcClipboard) << "The system clipboard refused the fixed text";
    } else {
        m_clipboard->setMimeData(fixedContentData(fixedText, captured), QClipboard::Clipboard);
    }
    return captured.isFromGoogleDocs;
}

QString ClipboardManager::htmlToPlainText(const QString& html)
{
    return HtmlDocument::toPlainText(html);
}

QString ClipboardManager::attributedStringToHTML(const QTextDocument& document)
{
    return HtmlDocument::bodyHtml(document);
}

std::optional<QByteArray> ClipboardManager::htmlToRTF(const QString& html)
{
    const RichText rich = HtmlDocument::toRichText(html);
    if (rich.paragraphs.isEmpty())
        return std::nullopt;
    return RtfWriter::write(rich);
}

QString ClipboardManager::cleanHTMLForFix(const QString& html)
{
    return HtmlText::cleanForFix(html);
}
