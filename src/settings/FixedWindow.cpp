#include "settings/FixedWindow.h"

#include "core/Logging.h"

#include <QGuiApplication>
#include <QPalette>
#include <QScreen>

std::unique_ptr<QQuickView> makeFixedWindow(const QString& title, QSize size)
{
    auto view = std::make_unique<QQuickView>();
    view->setTitle(title);
    view->setFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint
                   | Qt::WindowMinimizeButtonHint);
    // A fixed size is how X11 window managers learn that a window cannot be resized.
    view->setMinimumSize(size);
    view->setMaximumSize(size);
    view->resize(size);
    view->setResizeMode(QQuickView::SizeRootObjectToView);
    view->setColor(QGuiApplication::palette().color(QPalette::Window));
    return view;
}

void loadWindowPage(QQuickView& view, const QString& url)
{
    view.setSource(QUrl(url));
    if (view.status() == QQuickView::Error) {
        for (const auto& error : view.errors())
            qCWarning(lcSettings) << error.toString();
    }
}

void showCentred(QQuickView& view)
{
    if (QScreen* screen = view.screen()) {
        const QRect area = screen->availableGeometry();
        view.setPosition(area.center() - QPoint(view.width() / 2, view.height() / 2));
    }
    view.show();
    view.raise();
    view.requestActivate();
}
