// Chromium's web custom data pickle: any blob reads cleanly, and what reads writes back the same.
#include "capture/ChromiumCustomData.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray blob(reinterpret_cast<const char*>(data), qsizetype(size));
    const auto entries = ChromiumCustomData::read(blob);
    if (!entries)
        return 0;
    QList<QPair<QString, QString>> pairs;
    for (auto it = entries->cbegin(); it != entries->cend(); ++it)
        pairs.append({it.key(), it.value()});
    if (ChromiumCustomData::read(ChromiumCustomData::write(pairs)) != entries)
        std::abort();
    return 0;
}
