// RTF from other applications: any bytes read to styled text or to nothing, and the styled text
// writes as RTF that reads again to the same paragraphs.
#include "capture/RtfReader.h"
#include "capture/RtfWriter.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray rtf(reinterpret_cast<const char*>(data), qsizetype(size));
    const std::optional<RichText> text = RtfReader::read(rtf);
    if (!text)
        return 0;
    (void)text->toHtml();
    const std::optional<RichText> again = RtfReader::read(RtfWriter::write(*text));
    if (!again)
        std::abort();
    return 0;
}
