#include "cli/ClipboardCommand.h"

#include "capture/ClipboardManager.h"
#include "capture/ClipboardTypes.h"
#include "core/CapturedContent.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QTextStream>
#include <cstdio>

namespace {

QString formatName(SourceFormat format)
{
    switch (format) {
    case SourceFormat::plainText: return QStringLiteral("plain text");
    case SourceFormat::html: return QStringLiteral("HTML");
    case SourceFormat::rtf: return QStringLiteral("RTF");
    }
    return {};
}

} // namespace

int runClipboardCommand(const QStringList& args)
{
    QTextStream out(stdout);
    QTextStream err(stderr);
    if (!args.isEmpty()) {
        err << "usage: tembrel-cli clipboard\n";
        return 2;
    }
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        err << "tembrel-cli clipboard: needs a graphical session (no QGuiApplication)\n";
        return 2;
    }
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    out << "Types offered: " << (data ? data->formats().join(QStringLiteral(", ")) : QString()) << '\n';

    ClipboardManager clipboard;
    if (const auto custom = clipboard.readChromiumCustomData())
        out << "Chromium custom data: " << custom->keys().join(QStringLiteral(", ")) << '\n';
    else if (data && data->hasFormat(ClipboardTypes::chromiumCustomData))
        out << "Chromium custom data: present but corrupt, ignored\n";

    const std::optional<ClipboardContent> content = clipboard.readContent();
    if (!content) {
        out << "Nothing Tembrel can read: no text, or only blank text, on the clipboard.\n";
        return 1;
    }
    out << "Format: " << formatName(content->sourceFormat) << '\n';
    out << "From Google Docs: " << (content->isFromGoogleDocs ? "yes" : "no") << '\n';
    if (content->originalRTF)
        out << "RTF: " << content->originalRTF->size() << " bytes\n";
    out << "Plain text:\n" << content->plainText << "\n";
    out << "HTML:\n" << content->html.value_or(QString()) << "\n";
    return 0;
}
