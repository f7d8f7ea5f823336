// HTML from other applications on its way to plain text: decoding, laying out, tag stripping and
// the cleaning applied before a fix and before writing back.
#include "capture/HtmlDocument.h"
#include "capture/HtmlText.h"

#include <QGuiApplication>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    // QTextDocument needs a GUI application; the offscreen platform needs no display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static QGuiApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const QString html = HtmlText::decode(bytes);
    (void)HtmlDocument::toPlainText(html);
    (void)HtmlText::stripTags(html);
    (void)HtmlText::cleanForFix(html);
    (void)HtmlText::stripGoogleDocsIds(html);
    (void)HtmlDocument::toRichText(html).toHtml();
    return 0;
}
