#include "platform/wayland/WaylandClipboard.h"

#include "core/Logging.h"
#include "platform/wayland/WaylandConnection.h"

#include "wlr-data-control-unstable-v1-client-protocol.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <wayland-client.h>

namespace {

const QString plainText = QStringLiteral("text/plain");
// The names other toolkits (and XWayland's X11 clients) ask for when they mean plain text.
const QStringList plainTextAliases = {QStringLiteral("text/plain;charset=utf-8"), QStringLiteral("UTF8_STRING"),
                                      QStringLiteral("STRING"), QStringLiteral("TEXT")};

// Types worth reading: every text form the capture understands. Images and the X11 bookkeeping
// targets would only cost time.
bool isWorthReading(const QString& type)
{
    return type.contains(QLatin1Char('/')) && !type.startsWith(QLatin1String("image/"))
           && !type.startsWith(QLatin1String("audio/")) && !type.startsWith(QLatin1String("video/"))
           && type != QLatin1String("text/uri-list");
}

bool writeAll(int fd, const QByteArray& bytes)
{
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.constData() + written, size_t(bytes.size() - written));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        written += n;
    }
    return true;
}

} // namespace

WaylandClipboard::WaylandClipboard(WaylandConnection& connection)
    : m_connection(connection)
{
    // A reader that goes away mid-transfer must not end Tembrel with SIGPIPE.
    std::signal(SIGPIPE, SIG_IGN);
    static const zwlr_data_control_device_v1_listener listener = {&onDataOffer, &onSelection, &onFinished,
                                                                  &onPrimarySelection};
    m_device = zwlr_data_control_manager_v1_get_data_device(connection.dataControl(), connection.seat());
    zwlr_data_control_device_v1_add_listener(m_device, &listener, this);
    m_connection.roundtrip();
}

WaylandClipboard::~WaylandClipboard()
{
    for (auto& [source, unused] : m_sources)
        zwlr_data_control_source_v1_destroy(source);
    for (auto it = m_offerTypes.cbegin(); it != m_offerTypes.cend(); ++it)
        zwlr_data_control_offer_v1_destroy(it.key());
    if (m_device)
        zwlr_data_control_device_v1_destroy(m_device);
    m_connection.flush();
}

bool WaylandClipboard::supportsPrimary() const
{
    return m_connection.dataControlVersion() >= 2;
}

std::unique_ptr<QMimeData> WaylandClipboard::read(Selection selection)
{
    // The selection may have changed a moment ago (the copy chord just went out): ask first.
    m_connection.roundtrip();
    zwlr_data_control_offer_v1* offer = selection == Selection::primary ? m_primaryOffer : m_clipboardOffer;
    if (!offer)
        return nullptr;
    const QStringList types = m_offerTypes.value(offer);
    auto data = std::make_unique<QMimeData>();
    for (const QString& type : types) {
        if (!isWorthReading(type))
            continue;
        if (std::optional<QByteArray> bytes = receive(offer, type))
            data->setData(type, *bytes);
    }
    // Qt's readers look for "text/plain"; many Wayland clients offer only the charset form.
    if (!data->hasFormat(plainText)) {
        for (const QString& alias : plainTextAliases) {
            if (!types.contains(alias))
                continue;
            if (std::optional<QByteArray> bytes = data->hasFormat(alias) ? data->data(alias) : receive(offer, alias)) {
                data->setData(plainText, *bytes);
                break;
            }
        }
    }
    return data->formats().isEmpty() ? nullptr : std::move(data);
}

std::optional<QByteArray> WaylandClipboard::receive(zwlr_data_control_offer_v1* offer, const QString& mimeType)
{
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0)
        return std::nullopt;
    zwlr_data_control_offer_v1_receive(offer, mimeType.toUtf8().constData(), fds[1]);
    ::close(fds[1]);
    m_connection.flush();
    QByteArray bytes;
    char buffer[16384];
    for (;;) {
        if (!m_connection.waitReadable(fds[0], receiveTimeoutMs)) {
            qCWarning(lcClipboard).noquote() << "The application owning the clipboard did not hand over" << mimeType;
            ::close(fds[0]);
            return std::nullopt;
        }
        const ssize_t n = ::read(fds[0], buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        bytes.append(buffer, n);
    }
    ::close(fds[0]);
    return bytes;
}

bool WaylandClipboard::write(std::unique_ptr<QMimeData> data, Selection selection)
{
    if (!m_device || (selection == Selection::primary && !supportsPrimary()))
        return false;
    static const zwlr_data_control_source_v1_listener listener = {&onSend, &onCancelled};
    zwlr_data_control_source_v1* source = zwlr_data_control_manager_v1_create_data_source(m_connection.dataControl());
    zwlr_data_control_source_v1_add_listener(source, &listener, this);
    const QStringList formats = data->formats();
    for (const QString& format : formats)
        zwlr_data_control_source_v1_offer(source, format.toUtf8().constData());
    if (formats.contains(plainText)) {
        for (const QString& alias : plainTextAliases)
            zwlr_data_control_source_v1_offer(source, alias.toUtf8().constData());
    }
    m_sources[source] = Source{std::move(data)};
    if (selection == Selection::primary)
        zwlr_data_control_device_v1_set_primary_selection(m_device, source);
    else
        zwlr_data_control_device_v1_set_selection(m_device, source);
    return m_connection.roundtrip();
}

void WaylandClipboard::onDataOffer(void* data, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* offer)
{
    static const zwlr_data_control_offer_v1_listener listener = {&onOffer};
    auto* self = static_cast<WaylandClipboard*>(data);
    self->m_offerTypes.insert(offer, {});
    zwlr_data_control_offer_v1_add_listener(offer, &listener, self);
}

void WaylandClipboard::onOffer(void* data, zwlr_data_control_offer_v1* offer, const char* mimeType)
{
    static_cast<WaylandClipboard*>(data)->m_offerTypes[offer].append(QString::fromUtf8(mimeType));
}

void WaylandClipboard::replaceOffer(zwlr_data_control_offer_v1*& current, zwlr_data_control_offer_v1* offer)
{
    zwlr_data_control_offer_v1* old = current;
    current = offer;
    if (old && old != m_clipboardOffer && old != m_primaryOffer) {
        m_offerTypes.remove(old);
        zwlr_data_control_offer_v1_destroy(old);
    }
}

void WaylandClipboard::onSelection(void* data, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* offer)
{
    auto* self = static_cast<WaylandClipboard*>(data);
    self->replaceOffer(self->m_clipboardOffer, offer);
}

void WaylandClipboard::onPrimarySelection(void* data, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* offer)
{
    auto* self = static_cast<WaylandClipboard*>(data);
    self->replaceOffer(self->m_primaryOffer, offer);
}

void WaylandClipboard::onFinished(void* data, zwlr_data_control_device_v1* device)
{
    auto* self = static_cast<WaylandClipboard*>(data);
    qCWarning(lcClipboard) << "The compositor ended Tembrel's access to the clipboard";
    zwlr_data_control_device_v1_destroy(device);
    self->m_device = nullptr;
}

void WaylandClipboard::onSend(void* data, zwlr_data_control_source_v1* source, const char* mimeType, qint32 fd)
{
    auto* self = static_cast<WaylandClipboard*>(data);
    const auto it = self->m_sources.find(source);
    if (it != self->m_sources.end()) {
        QString type = QString::fromUtf8(mimeType);
        if (plainTextAliases.contains(type))
            type = plainText;
        // The reader waits for end of file: a blocking write of the whole payload, then close.
        fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
        if (!writeAll(fd, it->second.data->data(type)))
            qCWarning(lcClipboard).noquote() << "Another application stopped reading the fixed text as" << type;
    }
    ::close(fd);
}

void WaylandClipboard::onCancelled(void* data, zwlr_data_control_source_v1* source)
{
    auto* self = static_cast<WaylandClipboard*>(data);
    self->m_sources.erase(source);
    zwlr_data_control_source_v1_destroy(source);
}
