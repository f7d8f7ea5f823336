#pragma once
#include "panel/InlineDiffPanelController.h"
#include "platform/fake/FakePlatform.h"

#include <QString>
#include <memory>

class QQuickItem;

/// A panel controller on fake platform services, with helpers to find what its views show.
struct PanelViewHarness
{
    PanelViewHarness();
    ~PanelViewHarness();

    /// The first item of the shown panel with this object name; null when none is shown.
    [[nodiscard]] QQuickItem* item(const QString& objectName) const;
    /// The `text` of that item; empty when there is no such item.
    [[nodiscard]] QString text(const QString& objectName) const;
    /// Whether that item exists and is visible.
    [[nodiscard]] bool isShown(const QString& objectName) const;

    /// Switches the application between the light and the dark palette.
    static void setDarkAppearance(bool dark);

    FakePlatform fakes{};
    std::unique_ptr<PlatformServices> services;
    std::unique_ptr<InlineDiffPanelController> controller;
};

/// A fix result for the views: two texts and, when given, the HTML pair.
[[nodiscard]] FixResult sampleResult(const QString& original, const QString& fixed, std::optional<qint64> edits,
                                     const QString& originalHtml = {}, const QString& fixedHtml = {});
