#pragma once
#include <QQuickView>
#include <QSize>
#include <QString>

#include <memory>

/// A window of fixed size for one of Tembrel's own pages (settings, onboarding): titled,
/// closable and minimisable, never resizable, painted in the desktop's window colour.
[[nodiscard]] std::unique_ptr<QQuickView> makeFixedWindow(const QString& title, QSize size);

/// Loads the window's page; what QML reports when it cannot is logged.
void loadWindowPage(QQuickView& view, const QString& url);

/// Centres the window on its screen's available area and brings it to the front.
void showCentred(QQuickView& view);
