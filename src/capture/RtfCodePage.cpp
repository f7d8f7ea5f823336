#include "capture/RtfCodePage.h"

#include <QStringDecoder>

namespace {

// Windows-1252's 0x80–0x9F block; the rest of the page is Latin-1. Kept here so the most common
// case never depends on the converters Qt was built with.
constexpr char16_t cp1252High[32] = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178,
};

QString decode1252(const QByteArray& bytes)
{
    QString text;
    text.reserve(bytes.size());
    for (char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += (byte >= 0x80 && byte < 0xA0) ? QChar(cp1252High[byte - 0x80]) : QChar(byte);
    }
    return text;
}

} // namespace

int RtfCodePage::forCharset(int charset)
{
    switch (charset) {
    case 0: return 1252;
    case 77: return 10000;
    case 128: return 932;
    case 129: return 949;
    case 134: return 936;
    case 136: return 950;
    case 161: return 1253;
    case 162: return 1254;
    case 163: return 1258;
    case 177: return 1255;
    case 178: return 1256;
    case 186: return 1257;
    case 204: return 1251;
    case 222: return 874;
    case 238: return 1250;
    default: return 0;
    }
}

QString RtfCodePage::decode(const QByteArray& bytes, int codePage)
{
    if (codePage == 1252 || codePage <= 0)
        return decode1252(bytes);
    QByteArray name;
    if (codePage == 10000)
        name = "macintosh";
    else if (codePage == 932)
        name = "Shift_JIS";
    else if (codePage == 65001)
        name = "UTF-8";
    else
        name = "windows-" + QByteArray::number(codePage);
    QStringDecoder decoder(name.constData());
    if (!decoder.isValid())
        return decode1252(bytes);
    return decoder.decode(bytes);
}
