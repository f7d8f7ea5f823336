#include "PanelViewHarness.h"

#include <QGuiApplication>
#include <QPalette>
#include <QQuickItem>
#include <QQuickView>

namespace {

QQuickItem* findVisible(QQuickItem* root, const QString& name)
{
    if (!root)
        return nullptr;
    if (root->objectName() == name)
        return root;
    for (QQuickItem* child : root->childItems()) {
        if (QQuickItem* found = findVisible(child, name))
            return found;
    }
    return nullptr;
}

} // namespace

PanelViewHarness::PanelViewHarness()
    : services(createFakePlatformServices(&fakes))
    , controller(std::make_unique<InlineDiffPanelController>(*services->workspace, services->keyMonitor.get()))
{
}

PanelViewHarness::~PanelViewHarness() = default;

QQuickItem* PanelViewHarness::item(const QString& objectName) const
{
    QQuickView* window = controller->window();
    return window ? findVisible(window->rootObject(), objectName) : nullptr;
}

QString PanelViewHarness::text(const QString& objectName) const
{
    QQuickItem* found = item(objectName);
    return found ? found->property("text").toString() : QString();
}

bool PanelViewHarness::isShown(const QString& objectName) const
{
    QQuickItem* found = item(objectName);
    return found && found->isVisible();
}

void PanelViewHarness::setDarkAppearance(bool dark)
{
    QPalette palette;
    if (dark) {
        palette.setColor(QPalette::Window, QColor(0x20, 0x21, 0x24));
        palette.setColor(QPalette::WindowText, QColor(0xf1, 0xf3, 0xf4));
        palette.setColor(QPalette::Base, QColor(0x18, 0x19, 0x1b));
        palette.setColor(QPalette::Text, QColor(0xf1, 0xf3, 0xf4));
    }
    QGuiApplication::setPalette(palette);
}

FixResult sampleResult(const QString& original, const QString& fixed, std::optional<qint64> edits,
                       const QString& originalHtml, const QString& fixedHtml)
{
    FixResult result;
    result.originalText = original;
    result.fixedText = fixed;
    result.editCount = edits;
    if (!originalHtml.isEmpty() || !fixedHtml.isEmpty()) {
        result.originalHTML = originalHtml;
        result.fixedHTML = fixedHtml;
        result.sourceFormat = SourceFormat::html;
    }
    return result;
}
