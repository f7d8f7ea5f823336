#include "history/HistoryWindowController.h"

#include "app/TaskbarPolicy.h"
#include "core/Logging.h"
#include "history/HistoryWindowModel.h"
#include "modes/ModeManager.h"

#include <QGuiApplication>
#include <QPalette>
#include <QPropertyAnimation>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>

namespace {

bool paletteIsDark()
{
    return QGuiApplication::palette().color(QPalette::Window).lightnessF() < 0.5;
}

} // namespace

HistoryWindowController::HistoryWindowController(HistoryManager& history, ModeManager& modes,
                                                 std::function<QString()> clientId, TaskbarPolicy* taskbar,
                                                 QObject* parent)
    : QObject(parent)
    , m_history(history)
    , m_modes(modes)
    , m_clientId(std::move(clientId))
    , m_taskbar(taskbar)
{
}

HistoryWindowController::~HistoryWindowController()
{
    // The view goes before the model its items still point at.
    m_window.reset();
}

QQuickView* HistoryWindowController::window() const
{
    return m_window.get();
}

HistoryWindowModel* HistoryWindowController::model() const
{
    return m_model.get();
}

void HistoryWindowController::setClock(std::function<QDateTime()> now)
{
    m_now = std::move(now);
}

void HistoryWindowController::show()
{
    if (!m_window)
        build();
    if (const QScreen* screen = m_window->screen() ? m_window->screen() : QGuiApplication::primaryScreen()) {
        const QRect area = screen->availableGeometry();
        m_window->setPosition(area.center() - QPoint(m_window->width() / 2, m_window->height() / 2));
    }
    QQuickItem* content = m_window->rootObject();
    const bool wasVisible = m_window->isVisible();
    m_window->show();
    m_window->raise();
    m_window->requestActivate();
    qCInfo(lcHistory) << "History window shown";
    if (!content || wasVisible)
        return;
    // The content fades rather than the window: a window's opacity is only a hint to a compositor.
    content->setOpacity(0.0);
    auto* fade = new QPropertyAnimation(content, "opacity", content);
    fade->setDuration(fadeMilliseconds);
    fade->setStartValue(0.0);
    fade->setEndValue(1.0);
    fade->setEasingCurve(QEasingCurve::OutCubic);
    fade->start(QAbstractAnimation::DeleteWhenStopped);
}

void HistoryWindowController::build()
{
    auto shortcut = [this] {
        const Mode primary = m_modes.defaultMode();
        return primary.hotkey ? primary.hotkey->platformDisplayString() : QString();
    };
    m_model = std::make_unique<HistoryWindowModel>(m_history, m_clientId, shortcut);
    if (m_now)
        m_model->setClock(m_now);
    connect(&m_modes, &ModeManager::modesChanged, m_model.get(), &HistoryWindowModel::shortcutHintChanged);

    m_window = std::make_unique<QQuickView>();
    // The Tembrel module's QML files sit in folders under qrc:/Tembrel; a view in one folder
    // reaches the others' types (the diff web view) through the module's qmldir.
    m_window->engine()->addImportPath(QStringLiteral("qrc:/"));
    m_window->setTitle(QStringLiteral("Tembrel History"));
    m_window->setResizeMode(QQuickView::SizeRootObjectToView);
    m_window->setMinimumSize(QSize(minimumWidth, minimumHeight));
    m_window->resize(width, height);
    m_window->setInitialProperties({
        {QStringLiteral("history"), QVariant::fromValue(m_model.get())},
        {QStringLiteral("dark"), paletteIsDark()},
    });
    m_window->setSource(QUrl(QStringLiteral("qrc:/Tembrel/history/HistoryWindow.qml")));
    if (m_window->status() == QQuickView::Error) {
        for (const QQmlError& error : m_window->errors())
            qCWarning(lcHistory) << "History window:" << error.toString();
    }
    m_window->setColor(paletteIsDark() ? QColor(0x1e, 0x1f, 0x22) : QColor(0xf6, 0xf6, 0xf7));
    if (m_taskbar)
        m_taskbar->manage(m_window.get());
    // Closing, not hiding: the task-bar policy hides and shows the window to change its type.
    m_window->installEventFilter(this);
}

bool HistoryWindowController::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Close && m_window && watched == m_window.get())
        QMetaObject::invokeMethod(this, &HistoryWindowController::forget, Qt::QueuedConnection);
    return QObject::eventFilter(watched, event);
}

void HistoryWindowController::forget()
{
    // Closing only hides the window; it is dropped on the next turn, outside its own event.
    if (!m_window)
        return;
    QQuickView* window = m_window.release();
    window->removeEventFilter(this);
    window->deleteLater();
    m_model.release()->deleteLater();
    qCInfo(lcHistory) << "History window closed";
    Q_EMIT closed();
}
