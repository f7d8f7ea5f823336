#pragma once
#include "history/HistoryManager.h"
#include "modes/ModeManager.h"
#include "platform/fake/FakePlatform.h"
#include "settings/SettingsManager.h"
#include "settings/SettingsWindowController.h"
#include "support/TestEnvironment.h"

#include <QQuickItem>
#include <QSettings>
#include <memory>

class ApiKeyStore;

/// The real settings window over real stores in a temporary home, and the user's hands: find a
/// control by its object name, scroll it into view, click it, type into it.
class SettingsWindowDriver
{
public:
    explicit SettingsWindowDriver(const TestEnvironment& env);
    ~SettingsWindowDriver();

    /// Opens the window and waits until it is on screen and active.
    bool open(bool fromOnboarding = false);
    [[nodiscard]] QQuickWindow* window() const { return controller->window(); }

    /// The first visible item with this object name, or null.
    [[nodiscard]] QQuickItem* item(const QString& objectName) const;
    /// Scrolls the item into view and clicks its centre.
    bool click(const QString& objectName);
    /// Clicks a text field, selects what it holds and types `text` over it (empty text clears it).
    bool type(const QString& objectName, const QString& text);
    /// The `text` property of an item.
    [[nodiscard]] QString text(const QString& objectName) const;
    [[nodiscard]] bool isShown(const QString& objectName) const;
    /// One key press, as the window system sends it.
    void keyPress(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

    std::unique_ptr<QSettings> defaults;
    std::unique_ptr<ApiKeyStore> keyStore;
    std::unique_ptr<SettingsManager> settings;
    std::unique_ptr<ModeManager> modes;
    std::unique_ptr<HistoryManager> history;
    FakeLoginItem loginItem;
    std::unique_ptr<SettingsWindowController> controller;

private:
    void scrollIntoView(QQuickItem* item);
};
