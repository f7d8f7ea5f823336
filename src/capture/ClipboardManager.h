#pragma once
#include "capture/ClipboardContent.h"
#include "core/CapturedContent.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <memory>
#include <optional>

class QClipboard;
class QMimeData;
class QTextDocument;
class SystemClipboard;

/// The only code that reads and interprets the system clipboard, and writes the fixed text back.
/// Lives on the UI thread: the clipboard is not thread-safe.
class ClipboardManager
{
public:
    /// Works on the application's clipboard unless given another.
    explicit ClipboardManager(QClipboard* clipboard = nullptr);
    ~ClipboardManager();
    /// Reads and writes through the platform's clipboard instead of Qt's, where Qt's cannot reach
    /// other applications from the background; null goes back to Qt's. Must outlive this.
    void setSystemClipboard(SystemClipboard* system) { m_system = system; }

    /// The current clipboard in its richest form (Slack delta, HTML, RTF, plain text); none when
    /// it holds no text.
    [[nodiscard]] std::optional<ClipboardContent> readContent() const;
    /// The primary selection (the text selected last, where the system has one) read the same way.
    [[nodiscard]] std::optional<ClipboardContent> readPrimarySelection() const;
    /// The clipboard's plain text, untrimmed; none when there is none or it is blank.
    [[nodiscard]] std::optional<QString> readPlainText() const;
    /// The key/value pairs of Chromium's custom data on the clipboard; none when absent or corrupt.
    [[nodiscard]] std::optional<QMap<QString, QString>> readChromiumCustomData() const;
    /// Puts the fixed text on the clipboard as one item: plain text always; HTML and RTF too when
    /// the captured selection was rich; Google Docs' clip cache invalidated when it came from Docs.
    /// Returns whether the Google Docs invalidation was written.
    bool writeFixedContent(const QString& fixedText, const CapturedContent& captured);

    /// readContent() over any MIME data (the clipboard's, or a drop's).
    [[nodiscard]] static std::optional<ClipboardContent> contentFrom(const QMimeData& data);
    /// The MIME data writeFixedContent() puts on the clipboard.
    [[nodiscard]] static QMimeData* fixedContentData(const QString& fixedText, const CapturedContent& captured);

    /// The plain text of an HTML fragment: line breaks as "\n", trimmed.
    [[nodiscard]] static QString htmlToPlainText(const QString& html);
    /// The HTML fragment of a document's body, or its escaped text as a paragraph.
    [[nodiscard]] static QString attributedStringToHTML(const QTextDocument& document);
    /// RTF of an HTML fragment; none when the HTML holds nothing to write.
    [[nodiscard]] static std::optional<QByteArray> htmlToRTF(const QString& html);
    /// The HTML to send to the engine: heavily Tailwind-styled HTML loses its styles.
    [[nodiscard]] static QString cleanHTMLForFix(const QString& html);

private:
    /// The selection's data as last read; owned here when it came from the platform's clipboard.
    [[nodiscard]] const QMimeData* mimeData(bool primary) const;

    QClipboard* m_clipboard;
    SystemClipboard* m_system = nullptr;
    mutable std::unique_ptr<QMimeData> m_systemData;
};
