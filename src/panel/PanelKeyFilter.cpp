#include "panel/PanelKeyFilter.h"

#include <QCoreApplication>
#include <QKeyEvent>

PanelKeyFilter::PanelKeyFilter(std::function<void(bool paste)> onKey, QObject* parent)
    : QObject(parent)
    , m_onKey(std::move(onKey))
{
}

void PanelKeyFilter::install()
{
    if (m_installed)
        return;
    QCoreApplication::instance()->installEventFilter(this);
    m_installed = true;
}

void PanelKeyFilter::remove()
{
    if (!m_installed)
        return;
    QCoreApplication::instance()->removeEventFilter(this);
    m_installed = false;
}

bool PanelKeyFilter::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return QObject::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->key() == Qt::Key_Escape) {
        m_onKey(false);
        return true;
    }
    // Qt's Control is the Command key on macOS: one test serves both paste shortcuts.
    if (key->key() == Qt::Key_V && key->modifiers().testFlag(Qt::ControlModifier))
        m_onKey(true);
    return false;
}
