// Slack's Quill delta: any JSON text parses to HTML or to nothing.
#include "capture/QuillDeltaParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray json(reinterpret_cast<const char*>(data), qsizetype(size));
    (void)QuillDeltaParser::parse(json);
    return 0;
}
