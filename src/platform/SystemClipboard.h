#pragma once
#include <QMimeData>
#include <memory>

/// The system clipboard where Qt's own cannot reach it from the background (on Wayland only the
/// focused window may use it; the compositor's data-control protocol serves any client).
class SystemClipboard
{
public:
    enum class Selection { clipboard, primary };

    virtual ~SystemClipboard() = default;
    /// Everything the selection offers, in every text type; null when it holds nothing.
    [[nodiscard]] virtual std::unique_ptr<QMimeData> read(Selection selection) = 0;
    /// Offers `data` on the selection until another application takes it; false when refused.
    virtual bool write(std::unique_ptr<QMimeData> data, Selection selection) = 0;
    /// Whether the primary selection can be read here.
    [[nodiscard]] virtual bool supportsPrimary() const = 0;
};
