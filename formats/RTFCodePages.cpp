// Code-page decoding. Windows Latin 1 is decoded here directly because nearly every RTF
// uses it; the others go through Qt's ICU-backed decoders, looked up by name once.
#include "formats/RTFCodePages.h"

#include <QHash>
#include <QMutex>
#include <QStringDecoder>
#include <memory>

namespace {

// The 0x80-0x9F row of Windows-1252; the rest of its upper half equals Latin 1.
constexpr char16_t cp1252High[32] = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178,
};

QString decodeCp1252(const QByteArray &bytes)
{
    QString text(bytes.size(), Qt::Uninitialized);
    QChar *out = text.data();
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        *out++ = QChar(byte >= 0x80 && byte < 0xA0 ? cp1252High[byte - 0x80] : char16_t(byte));
    }
    return text;
}

const char *decoderName(int codePage)
{
    switch (codePage) {
    case 437:
        return "IBM437";
    case 850:
        return "IBM850";
    case 852:
        return "IBM852";
    case 866:
        return "IBM866";
    case 874:
        return "windows-874";
    case 932:
        return "windows-932";
    case 936:
        return "GBK";
    case 949:
        return "windows-949";
    case 950:
        return "Big5";
    case 1250:
        return "windows-1250";
    case 1251:
        return "windows-1251";
    case 1253:
        return "windows-1253";
    case 1254:
        return "windows-1254";
    case 1255:
        return "windows-1255";
    case 1256:
        return "windows-1256";
    case 1257:
        return "windows-1257";
    case 1258:
        return "windows-1258";
    case 1361:
        return "johab";
    case 10000:
        return "macintosh";
    case 10001:
        return "x-mac-japanese";
    case 10006:
        return "x-mac-greek";
    case 10007:
        return "x-mac-cyrillic";
    case 10029:
        return "x-mac-centraleurroman";
    case 20932:
        return "EUC-JP";
    case 28591:
        return "ISO-8859-1";
    case 28592:
        return "ISO-8859-2";
    case 28595:
        return "ISO-8859-5";
    case 28597:
        return "ISO-8859-7";
    case 28605:
        return "ISO-8859-15";
    case 65001:
        return "UTF-8";
    default:
        return nullptr;
    }
}

// One stateless decoder per code page, shared by all readers. A null entry records that the
// code page has no decoder here.
QString decodeWithDecoder(const QByteArray &bytes, int codePage)
{
    static QMutex mutex;
    static QHash<int, std::shared_ptr<QStringDecoder>> decoders;
    std::shared_ptr<QStringDecoder> decoder;
    {
        QMutexLocker locker(&mutex);
        auto found = decoders.constFind(codePage);
        if (found == decoders.constEnd()) {
            const char *name = decoderName(codePage);
            std::shared_ptr<QStringDecoder> made;
            if (name) {
                made = std::make_shared<QStringDecoder>(name, QStringConverter::Flag::Stateless);
                if (!made->isValid())
                    made.reset();
            }
            found = decoders.insert(codePage, made);
        }
        decoder = found.value();
    }
    if (!decoder)
        return decodeCp1252(bytes);
    // A stateless decoder may still be used from one thread at a time only.
    static QMutex useMutex;
    QMutexLocker locker(&useMutex);
    return decoder->decode(bytes);
}

// How plausible the text is as prose: letters inside words and common punctuation count for
// it; letters standing alone, capitals inside lower-case words, ligatures and odd symbols
// count against it.
int plausibility(const QString &text)
{
    int score = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const char16_t u = c.unicode();
        if (u < 0x80)
            continue;
        const QChar before = i > 0 ? text.at(i - 1) : QChar(u' ');
        const QChar after = i + 1 < text.size() ? text.at(i + 1) : QChar(u' ');
        if (u == 0xFFFD || (u >= 0xFB00 && u <= 0xFB4F)) {
            score -= 3;
        } else if (c.isLetter()) {
            if (c.isUpper() && before.isLower())
                score -= 3;
            else if (before.isLetter() || after.isLetter())
                score += 2;
            else
                score -= 2;
        } else if (c.category() == QChar::Punctuation_InitialQuote || c.category() == QChar::Punctuation_FinalQuote
                   || u == 0x2013 || u == 0x2014 || u == 0x2026 || u == 0xA0 || u == 0x20AC || u == 0x201E
                   || u == 0x201A) {
            score += 1;
        } else if (u != 0x2022) {
            score -= 2;
        }
    }
    return score;
}

} // namespace

namespace RTFCodePages {

int codePageForCharset(int charset, int documentCodePage)
{
    switch (charset) {
    case 0:
        return isMultiByte(documentCodePage) ? WindowsLatin1 : documentCodePage;
    case 1: // default charset
        return documentCodePage;
    case 2: // symbol fonts: their bytes are glyph positions, shown here as Latin 1
        return WindowsLatin1;
    case 77:
        return MacRoman;
    case 78:
        return 10001;
    case 128:
        return 932;
    case 129:
        return 949;
    case 130:
        return 1361;
    case 134:
        return 936;
    case 136:
        return 950;
    case 161:
        return 1253;
    case 162:
        return 1254;
    case 163:
        return 1258;
    case 177:
        return 1255;
    case 178:
        return 1256;
    case 186:
        return 1257;
    case 204:
        return 1251;
    case 222:
        return 874;
    case 238:
        return 1250;
    case 254:
        return 437;
    case 255:
        return 850;
    default:
        return documentCodePage;
    }
}

bool isMultiByte(int codePage)
{
    return codePage == 932 || codePage == 936 || codePage == 949 || codePage == 950 || codePage == 1361
        || codePage == 10001 || codePage == 20932 || codePage == 65001;
}

QString decode(const QByteArray &bytes, int codePage)
{
    if (codePage == WindowsLatin1)
        return decodeCp1252(bytes);
    return decodeWithDecoder(bytes, codePage);
}

QString decodeLegacyText(const QByteArray &bytes)
{
    QString windows = decodeCp1252(bytes);
    QString mac = decodeWithDecoder(bytes, MacRoman);
    return plausibility(mac) > plausibility(windows) ? mac : windows;
}

} // namespace RTFCodePages
