#include "SettingsWindowDriver.h"

#include "engines/ApiKeyStore.h"

#include <QKeyEvent>
#include <QQuickWindow>
#include <QTest>

namespace {

QQuickItem* findItem(QQuickItem* root, const QString& objectName)
{
    if (!root || !root->isVisible())
        return nullptr;
    if (root->objectName() == objectName)
        return root;
    const auto children = root->childItems();
    for (QQuickItem* child : children) {
        if (QQuickItem* found = findItem(child, objectName))
            return found;
    }
    return nullptr;
}

} // namespace

SettingsWindowDriver::SettingsWindowDriver(const TestEnvironment& env)
{
    defaults = std::make_unique<QSettings>(env.configHome() + QStringLiteral("/window-test.ini"), QSettings::IniFormat);
    defaults->clear();
    keyStore = std::make_unique<ApiKeyStore>();
    settings = std::make_unique<SettingsManager>(*defaults, keyStore.get());
    modes = std::make_unique<ModeManager>(*defaults);
    QFile::remove(env.dataHome() + QStringLiteral("/window-history.json"));
    history = std::make_unique<HistoryManager>(*defaults, env.dataHome() + QStringLiteral("/window-history.json"));
    controller = std::make_unique<SettingsWindowController>(*settings, *modes, *history, loginItem, *defaults);
}

SettingsWindowDriver::~SettingsWindowDriver()
{
    controller->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

bool SettingsWindowDriver::open(bool fromOnboarding)
{
    controller->show(fromOnboarding);
    return window() && QTest::qWaitForWindowExposed(window()) && QTest::qWaitForWindowActive(window());
}

QQuickItem* SettingsWindowDriver::item(const QString& objectName) const
{
    return window() ? findItem(window()->contentItem(), objectName) : nullptr;
}

void SettingsWindowDriver::scrollIntoView(QQuickItem* target)
{
    QQuickItem* flick = item(QStringLiteral("settingsFlick"));
    if (!flick)
        return;
    QQuickItem* content = flick->property("contentItem").value<QQuickItem*>();
    bool inside = false;
    for (QQuickItem* up = target; up; up = up->parentItem())
        inside = inside || up == content;
    if (!inside)
        return; // a popup: always in view
    const QPointF top = target->mapToItem(content, QPointF(0, 0));
    const qreal viewHeight = flick->height();
    const qreal maxY = std::max<qreal>(0, flick->property("contentHeight").toReal() - viewHeight);
    const qreal wanted = std::clamp<qreal>(top.y() - viewHeight / 3, 0, maxY);
    flick->setProperty("contentY", wanted);
}

bool SettingsWindowDriver::click(const QString& objectName)
{
    QQuickItem* target = item(objectName);
    if (!target) {
        qWarning() << "no visible item" << objectName;
        return false;
    }
    scrollIntoView(target);
    QTest::qWait(20);
    // Near the top of tall items (a prompt editor), whose centre may lie outside the window.
    const QPointF centre = target->mapToScene(QPointF(target->width() / 2, std::min<qreal>(target->height() / 2, 12)));
    QTest::mouseClick(static_cast<QWindow*>(window()), Qt::LeftButton, Qt::NoModifier, centre.toPoint());
    QTest::qWait(20);
    return true;
}

bool SettingsWindowDriver::type(const QString& objectName, const QString& text)
{
    if (!click(objectName))
        return false;
    QQuickItem* field = item(objectName);
    if (!QTest::qWaitFor([field] { return field->hasActiveFocus(); }, 2000))
        return false;
    QTest::keyClick(static_cast<QWindow*>(window()), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(static_cast<QWindow*>(window()), Qt::Key_Delete);
    // QTest types strings only into widgets; a window gets them key by key (ASCII is enough here).
    for (const QChar c : text)
        QTest::keyClick(static_cast<QWindow*>(window()), c.toLatin1());
    return true;
}

QString SettingsWindowDriver::text(const QString& objectName) const
{
    QQuickItem* target = item(objectName);
    return target ? target->property("text").toString() : QStringLiteral("<missing %1>").arg(objectName);
}

bool SettingsWindowDriver::isShown(const QString& objectName) const
{
    return item(objectName) != nullptr;
}

void SettingsWindowDriver::keyPress(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    // One event per physical key, as X11 delivers them; QTest would add modifier presses of its own.
    QKeyEvent event(QEvent::KeyPress, key, modifiers);
    QCoreApplication::sendEvent(window(), &event);
}
