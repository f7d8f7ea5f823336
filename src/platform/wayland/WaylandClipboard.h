#pragma once
#include "platform/SystemClipboard.h"

#include <QHash>
#include <QStringList>
#include <map>
#include <optional>

class WaylandConnection;
struct zwlr_data_control_device_v1;
struct zwlr_data_control_offer_v1;
struct zwlr_data_control_source_v1;

/// The clipboard and the primary selection through the compositor's data-control protocol, which
/// lets Tembrel read and set them from the background like a clipboard manager. Lives on the UI
/// thread; reads are synchronous with a timeout, as the other application writes the data.
class WaylandClipboard : public SystemClipboard
{
public:
    /// `connection` must offer data-control and outlive this.
    explicit WaylandClipboard(WaylandConnection& connection);
    ~WaylandClipboard() override;

    [[nodiscard]] std::unique_ptr<QMimeData> read(Selection selection) override;
    bool write(std::unique_ptr<QMimeData> data, Selection selection) override;
    [[nodiscard]] bool supportsPrimary() const override;

    /// How long another application may take to hand over one type of its selection.
    static constexpr int receiveTimeoutMs = 2000;

private:
    struct Source
    {
        std::unique_ptr<QMimeData> data;
    };
    static void onDataOffer(void* data, zwlr_data_control_device_v1* device, zwlr_data_control_offer_v1* offer);
    static void onSelection(void* data, zwlr_data_control_device_v1* device, zwlr_data_control_offer_v1* offer);
    static void onPrimarySelection(void* data, zwlr_data_control_device_v1* device, zwlr_data_control_offer_v1* offer);
    static void onFinished(void* data, zwlr_data_control_device_v1* device);
    static void onOffer(void* data, zwlr_data_control_offer_v1* offer, const char* mimeType);
    static void onSend(void* data, zwlr_data_control_source_v1* source, const char* mimeType, qint32 fd);
    static void onCancelled(void* data, zwlr_data_control_source_v1* source);

    void replaceOffer(zwlr_data_control_offer_v1*& current, zwlr_data_control_offer_v1* offer);
    [[nodiscard]] std::optional<QByteArray> receive(zwlr_data_control_offer_v1* offer, const QString& mimeType);

    WaylandConnection& m_connection;
    zwlr_data_control_device_v1* m_device = nullptr;
    QHash<zwlr_data_control_offer_v1*, QStringList> m_offerTypes;
    zwlr_data_control_offer_v1* m_clipboardOffer = nullptr;
    zwlr_data_control_offer_v1* m_primaryOffer = nullptr;
    std::map<zwlr_data_control_source_v1*, Source> m_sources;
};
