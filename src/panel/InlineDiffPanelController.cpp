#include "panel/InlineDiffPanelController.h"

#include "core/Logging.h"
#include "platform/Workspace.h"

#include <QGuiApplication>
#include <QQmlContext>
#include <QQuickView>
#include <QScreen>

InlineDiffPanelController::InlineDiffPanelController(Workspace& workspace, QObject* parent)
    : QObject(parent)
    , m_workspace(workspace)
{
}

InlineDiffPanelController::~InlineDiffPanelController() = default;

void InlineDiffPanelController::showLoading()
{
    m_phase = QStringLiteral("loading");
    m_message.clear();
    m_fixedText.clear();
    Q_EMIT changed();
    show();
}

void InlineDiffPanelController::showError(const QString& message)
{
    m_phase = QStringLiteral("error");
    m_message = message;
    Q_EMIT changed();
    show();
}

void InlineDiffPanelController::showResult(const QString& fixedText, bool changedText)
{
    m_phase = changedText ? QStringLiteral("success") : QStringLiteral("noChanges");
    m_fixedText = fixedText;
    Q_EMIT changed();
    show();
}

bool InlineDiffPanelController::isVisible() const
{
    return m_window && m_window->isVisible();
}

void InlineDiffPanelController::ensureWindow()
{
    if (m_window)
        return;
    m_window = std::make_unique<QQuickView>();
    // Tool + no focus: the panel floats above everything and the keyboard stays with the
    // application the user is writing in, even if the window manager tries to activate it.
    m_window->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                       | Qt::WindowDoesNotAcceptFocus);
    m_window->setTitle(QStringLiteral("Tembrel"));
    m_window->setResizeMode(QQuickView::SizeRootObjectToView);
    const bool translucent = m_workspace.hasCompositor();
    m_window->setColor(translucent ? Qt::transparent : QColor(QStringLiteral("#f6f6f6")));
    m_window->rootContext()->setContextProperty(QStringLiteral("panel"), this);
    m_window->rootContext()->setContextProperty(QStringLiteral("panelTranslucent"), translucent);
    m_window->setSource(QUrl(QStringLiteral("qrc:/Tembrel/panel/PanelRoot.qml")));
    if (m_window->status() == QQuickView::Error) {
        for (const auto& error : m_window->errors())
            qCWarning(lcPanel) << error.toString();
    }
    m_window->resize(width, height);
    connect(m_window.get(), &QWindow::visibleChanged, this, &InlineDiffPanelController::visibleChanged);
}

void InlineDiffPanelController::show()
{
    ensureWindow();
    if (QScreen* screen = QGuiApplication::primaryScreen()) {
        const QRect area = screen->availableGeometry();
        m_window->setPosition(area.center().x() - width / 2 + (area.width() % 2 ? 1 : 0), area.top() + topMargin);
    }
    m_window->show();
    m_window->raise();
}

void InlineDiffPanelController::dismiss()
{
    const bool wasLoading = m_phase == QStringLiteral("loading");
    if (m_window)
        m_window->hide();
    m_phase = QStringLiteral("loading");
    Q_EMIT changed();
    if (wasLoading && cancelAction)
        cancelAction();
}

void InlineDiffPanelController::retry()
{
    dismiss();
    if (retryAction)
        retryAction();
}
