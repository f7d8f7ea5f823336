#include "panel/InlineDiffPanelController.h"

#include "core/Logging.h"
#include "panel/PanelKeyFilter.h"
#include "platform/KeyMonitor.h"
#include "platform/Workspace.h"

#include <QEasingCurve>
#include <QGuiApplication>
#include <QPainterPath>
#include <QPalette>
#include <QPropertyAnimation>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QRegion>
#include <QScreen>

namespace {

// The system's standard "ease out" and "ease in" timing curves, as cubic Béziers.
QEasingCurve cubicCurve(QPointF c1, QPointF c2)
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment(c1, c2, QPointF(1, 1));
    return curve;
}

QEasingCurve easeOut()
{
    return cubicCurve(QPointF(0, 0), QPointF(0.58, 1));
}

QEasingCurve easeIn()
{
    return cubicCurve(QPointF(0.42, 0), QPointF(1, 1));
}

bool paletteIsDark()
{
    return QGuiApplication::palette().color(QPalette::Window).lightnessF() < 0.5;
}

} // namespace

InlineDiffPanelController::InlineDiffPanelController(Workspace& workspace, KeyMonitor* keyMonitor, QObject* parent)
    : QObject(parent)
    , m_workspace(workspace)
    , m_keyMonitor(keyMonitor)
    , m_localMonitor(std::make_unique<PanelKeyFilter>([this](bool paste) { onKey(paste); }))
{
    QPointer<InlineDiffPanelController> self(this);
    m_viewModel.onRetry = [self] {
        if (!self)
            return;
        self->dismiss();
        if (self->retryAction)
            self->retryAction();
    };
    m_viewModel.onOpenSettings = [self] {
        if (!self)
            return;
        self->dismiss();
        if (self->settingsAction)
            self->settingsAction();
    };
    m_viewModel.onDismiss = [self] {
        if (self)
            self->dismiss();
    };
    // What the panel shows, for the log and for tests that drive the app from outside. The header
    // holds counts and a duration, never the user's text.
    connect(&m_viewModel, &PanelViewModel::phaseChanged, this, [this] {
        qCInfo(lcPanel).noquote() << "Panel phase:" << m_viewModel.phase().kindName();
    });
    connect(&m_viewModel, &PanelViewModel::headerChanged, this, [this] {
        if (m_viewModel.phase().kind == PanelPhase::Kind::success)
            qCInfo(lcPanel).noquote() << "Panel header:" << m_viewModel.successHeader();
    });
}

InlineDiffPanelController::~InlineDiffPanelController()
{
    removeMonitors();
}

QRect InlineDiffPanelController::geometryOn(const QRect& area)
{
    return QRect(area.x() + (area.width() - width) / 2, area.y() + topMargin, width, height);
}

void InlineDiffPanelController::show(const PanelPhase& phase)
{
    m_viewModel.setPhase(phase);
    ensureWindow();
    applyAppearance();
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        m_window->setGeometry(geometryOn(screen->availableGeometry()));
    removeMonitors();
    installMonitors();

    if (m_fade)
        m_fade->stop();
    m_dismissing = false;
    QQuickItem* content = m_window->rootObject();
    if (content)
        content->setOpacity(0.0);
    // Tool + no focus: the window manager keeps the keyboard with the application the user types in.
    m_window->show();
    m_window->raise();
    qCInfo(lcPanel) << "Panel shown";
    if (!content)
        return;
    auto* fade = new QPropertyAnimation(content, "opacity", this);
    fade->setDuration(fadeMilliseconds);
    fade->setStartValue(0.0);
    fade->setEndValue(1.0);
    fade->setEasingCurve(easeOut());
    m_fade = fade;
    fade->start(QAbstractAnimation::DeleteWhenStopped);
}

void InlineDiffPanelController::dismiss()
{
    if (!isShowing())
        return;
    const bool wasLoading = m_viewModel.phase().kind == PanelPhase::Kind::loading;
    m_dismissing = true;
    m_viewModel.cancelCountdown();
    removeMonitors();

    if (m_fade)
        m_fade->stop();
    QQuickItem* content = m_window->rootObject();
    if (content) {
        auto* fade = new QPropertyAnimation(content, "opacity", this);
        fade->setDuration(fadeMilliseconds);
        fade->setStartValue(content->opacity());
        fade->setEndValue(0.0);
        fade->setEasingCurve(easeIn());
        connect(fade, &QPropertyAnimation::finished, this, &InlineDiffPanelController::finishHiding);
        m_fade = fade;
        fade->start(QAbstractAnimation::DeleteWhenStopped);
    } else {
        finishHiding();
    }

    if (wasLoading && cancelAction)
        cancelAction();
}

bool InlineDiffPanelController::isShowing() const
{
    return isVisible() && !m_dismissing;
}

bool InlineDiffPanelController::isVisible() const
{
    return m_window && m_window->isVisible();
}

void InlineDiffPanelController::finishHiding()
{
    // A show during the fade-out wins: it has already stopped this animation and cleared the flag.
    if (!m_dismissing)
        return;
    m_dismissing = false;
    m_window->hide();
    m_viewModel.resetToLoading();
    qCInfo(lcPanel) << "Panel hidden";
    Q_EMIT hidden();
}

void InlineDiffPanelController::ensureWindow()
{
    if (m_window)
        return;
    m_window = std::make_unique<QQuickView>();
    m_window->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                       | Qt::WindowDoesNotAcceptFocus);
    m_window->setTitle(QStringLiteral("Tembrel"));
    m_window->setResizeMode(QQuickView::SizeRootObjectToView);
    m_window->setColor(Qt::transparent);
    // The Tembrel module lives at qrc:/Tembrel: its views find each other across folders there.
    m_window->engine()->addImportPath(QStringLiteral("qrc:/"));
    m_window->setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(&m_viewModel)}});
    m_window->setSource(QUrl(QStringLiteral("qrc:/Tembrel/panel/PanelRoot.qml")));
    if (m_window->status() == QQuickView::Error) {
        for (const auto& error : m_window->errors())
            qCWarning(lcPanel) << error.toString();
    }
    m_window->resize(width, height);
    if (QQuickItem* root = m_window->rootObject())
        connect(root, SIGNAL(backgroundChanged()), this, SLOT(updateMask()));
}

void InlineDiffPanelController::applyAppearance()
{
    m_translucent = m_workspace.hasCompositor();
    m_window->setColor(Qt::transparent);
    if (QQuickItem* root = m_window->rootObject()) {
        root->setProperty("translucent", m_translucent);
        root->setProperty("dark", paletteIsDark());
    }
    updateMask();
}

void InlineDiffPanelController::updateMask()
{
    QQuickItem* root = m_window ? m_window->rootObject() : nullptr;
    if (!root)
        return;
    const QRectF shape = root->property("backgroundRect").toRectF();
    const double radius = root->property("backgroundRadius").toDouble();
    if (shape.isEmpty())
        return;
    // The window is bigger than what it draws. The mask lets clicks through around the panel and,
    // without a compositor, cuts the corners that would otherwise show black.
    if (m_translucent) {
        m_window->setMask(QRegion(shape.toAlignedRect()));
        return;
    }
    QPainterPath path;
    path.addRoundedRect(shape, radius, radius);
    m_window->setMask(QRegion(path.toFillPolygon().toPolygon()));
}

void InlineDiffPanelController::installMonitors()
{
    m_localMonitor->install();
    if (!m_keyMonitor)
        return;
    QPointer<InlineDiffPanelController> self(this);
    const bool started = m_keyMonitor->start([self](KeyMonitor::Key key) {
        if (self)
            self->onKey(key == KeyMonitor::Key::paste);
    });
    if (!started)
        qCWarning(lcPanel) << "Escape and paste in other applications cannot be watched";
}

void InlineDiffPanelController::removeMonitors()
{
    m_localMonitor->remove();
    if (m_keyMonitor)
        m_keyMonitor->stop();
}

void InlineDiffPanelController::onKey(bool paste)
{
    // Pasting means the user has taken the fixed text; Escape means they do not want it shown.
    Q_UNUSED(paste);
    dismiss();
}
