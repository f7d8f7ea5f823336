#include "diff/DiffWebViewCoordinator.h"

#include "core/Logging.h"
#include "core/VariantKinds.h"
#include "diff/DiffPageScheme.h"
#include "diff/HtmlDiffPage.h"

#include <QFile>
#include <QMetaObject>
#include <QTimer>
#include <QWebChannel>

#include <cmath>
#include <limits>

namespace {

// Offers the page the message handler object a WebKit view provides natively; messages posted
// before the channel is connected are queued, as the page posts while it is still loading.
const auto messageHandlerShim = QStringLiteral(R"js(
(function () {
  var bridge = null;
  var queued = [];
  var handlers = {};
  ['%1', '%2'].forEach(function (name) {
    handlers[name] = {
      postMessage: function (body) {
        if (bridge) {
          bridge.postMessage(name, body);
        } else {
          queued.push([name, body]);
        }
      }
    };
  });
  window.webkit = { messageHandlers: handlers };
  new QWebChannel(qt.webChannelTransport, function (channel) {
    bridge = channel.objects.diffWebViewCoordinator;
    queued.forEach(function (message) { bridge.postMessage(message[0], message[1]); });
    queued = [];
  });
})();
)js");

} // namespace

DiffWebViewCoordinator::DiffWebViewCoordinator(QObject* parent)
    : QObject(parent)
{
}

DiffWebViewCoordinator::~DiffWebViewCoordinator()
{
    DiffPageScheme::withdraw(m_pageUrl);
}

void DiffWebViewCoordinator::servePagesTo(QQuickWebEngineProfile* profile) const
{
    DiffPageScheme::installOn(profile);
}

void DiffWebViewCoordinator::setOriginalHTML(const QString& html)
{
    if (html == m_originalHtml) {
        return;
    }
    m_originalHtml = html;
    Q_EMIT originalHTMLChanged();
    scheduleUpdate();
}

void DiffWebViewCoordinator::setFixedHTML(const QString& html)
{
    if (html == m_fixedHtml) {
        return;
    }
    m_fixedHtml = html;
    Q_EMIT fixedHTMLChanged();
    scheduleUpdate();
}

void DiffWebViewCoordinator::setCurrentEditIndex(int index)
{
    if (index == m_currentEditIndex) {
        return;
    }
    m_currentEditIndex = index;
    Q_EMIT currentEditIndexChanged();
    scheduleUpdate();
}

void DiffWebViewCoordinator::setDark(bool dark)
{
    if (dark == m_dark) {
        return;
    }
    m_dark = dark;
    Q_EMIT darkChanged();
    scheduleUpdate();
}

QString DiffWebViewCoordinator::hostScript() const
{
    static const QString script = []() -> QString {
        // The client lives in the web channel library's resources; naming one of its classes keeps
        // the linker from dropping the library when nothing else of it is called.
        Q_UNUSED(QWebChannel::staticMetaObject.className());
        QFile client(QStringLiteral(":/qtwebchannel/qwebchannel.js"));
        if (!client.open(QIODevice::ReadOnly)) {
            qCWarning(lcDiff) << "Web channel client script missing; the diff page cannot report back";
            return QString();
        }
        return QString::fromUtf8(client.readAll()) + messageHandlerShim.arg(
                   QLatin1String(HtmlDiffPage::editCountChannel),
                   QLatin1String(HtmlDiffPage::contentHeightChannel));
    }();
    return script;
}

void DiffWebViewCoordinator::scheduleUpdate()
{
    // Setting both documents in one turn must load one page, not two.
    if (m_updateScheduled) {
        return;
    }
    m_updateScheduled = true;
    QTimer::singleShot(0, this, [this] {
        if (m_updateScheduled) {
            update();
        }
    });
}

void DiffWebViewCoordinator::update()
{
    m_updateScheduled = false;
    const auto appearance = m_dark ? HtmlDiffPage::Appearance::dark : HtmlDiffPage::Appearance::light;
    if (m_pageUrl.isEmpty() || m_lastOriginalHtml != m_originalHtml || m_lastFixedHtml != m_fixedHtml) {
        m_lastOriginalHtml = m_originalHtml;
        m_lastFixedHtml = m_fixedHtml;
        m_pageDark = m_dark;
        DiffPageScheme::withdraw(m_pageUrl);
        m_pageUrl = DiffPageScheme::publish(HtmlDiffPage::build(m_originalHtml, m_fixedHtml, appearance).toUtf8());
        Q_EMIT loadRequested(m_pageUrl);
    } else if (m_pageDark != m_dark) {
        m_pageDark = m_dark;
        Q_EMIT scriptRequested(HtmlDiffPage::appearanceScript(appearance));
    }
    if (m_lastEditIndex != m_currentEditIndex) {
        m_lastEditIndex = m_currentEditIndex;
        Q_EMIT scriptRequested(HtmlDiffPage::scrollToEditScript(m_currentEditIndex));
    }
}

void DiffWebViewCoordinator::postMessage(const QString& channel, const QVariant& body)
{
    if (!holdsNumber(body)) {
        qCDebug(lcDiff) << "Ignoring a diff page message that is not a number on" << channel;
        return;
    }
    const double value = body.toDouble();
    if (channel == QLatin1String(HtmlDiffPage::editCountChannel)) {
        if (value != std::trunc(value) || value < 0 || value > std::numeric_limits<int>::max()) {
            qCDebug(lcDiff) << "Ignoring an edit count that is not a whole number";
            return;
        }
        const int count = static_cast<int>(value);
        // Delivered from the event loop, never from inside the channel's call; the context object
        // drops the delivery when the coordinator is gone by then.
        QMetaObject::invokeMethod(this, [this, count] { Q_EMIT editCount(count); }, Qt::QueuedConnection);
    } else if (channel == QLatin1String(HtmlDiffPage::contentHeightChannel)) {
        QMetaObject::invokeMethod(this, [this, value] { Q_EMIT contentHeight(value); }, Qt::QueuedConnection);
    } else {
        qCDebug(lcDiff) << "Ignoring a diff page message on an unknown channel";
    }
}
