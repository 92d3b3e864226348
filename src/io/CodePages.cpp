#include "io/CodePages.h"

#include <QList>
#include <QStringDecoder>

namespace kvedit::io {

ByteOrderMark DetectByteOrderMark(const QByteArray &head)
{
    if (head.startsWith("\xEF\xBB\xBF"))
        return ByteOrderMark::Utf8;
    if (head.startsWith("\xFF\xFE"))
        return ByteOrderMark::Utf16LE;
    if (head.startsWith("\xFE\xFF"))
        return ByteOrderMark::Utf16BE;
    return ByteOrderMark::None;
}

std::optional<QByteArray> ToUtf8WithoutMark(const QByteArray &bytes, ByteOrderMark mark)
{
    QStringDecoder decoder;
    switch (mark) {
    case ByteOrderMark::None:
        return bytes;
    case ByteOrderMark::Utf8:
        decoder = QStringDecoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
        break;
    case ByteOrderMark::Utf16LE:
        decoder = QStringDecoder(QStringConverter::Utf16LE, QStringConverter::Flag::Stateless);
        break;
    case ByteOrderMark::Utf16BE:
        decoder = QStringDecoder(QStringConverter::Utf16BE, QStringConverter::Flag::Stateless);
        break;
    }
    const qsizetype skip = mark == ByteOrderMark::Utf8 ? 3 : 2;
    QString text = decoder.decode(QByteArrayView(bytes).sliced(skip));
    if (decoder.hasError())
        return std::nullopt;
    return text.toUtf8();
}

QByteArray CodecNameOfCodePage(int codePage)
{
    if (codePage == kCodePageUtf8)
        return QByteArrayLiteral("UTF-8");
    if (codePage <= 0)
        return {};
    QList<QByteArray> candidates;
    switch (codePage) {
    case 1200: return QByteArrayLiteral("UTF-16LE");
    case 1201: return QByteArrayLiteral("UTF-16BE");
    case 932: candidates << "windows-31j"; break;   // Shift-JIS as code page 932 has it, extensions included
    case 20127: candidates << "US-ASCII"; break;
    case 10000: candidates << "macintosh"; break;
    default:
        if (codePage >= 28591 && codePage <= 28605)
            candidates << "ISO-8859-" + QByteArray::number(codePage - 28590);
        break;
    }
    const QByteArray number = QByteArray::number(codePage);
    candidates << "windows-" + number << "cp" + number << "ibm-" + number;
    for (const QByteArray &name : candidates)
        if (QStringDecoder(name.constData()).isValid())
            return name;
    return {};
}

std::optional<QString> DecodeCodePage(const QByteArray &bytes, int codePage)
{
    const QByteArray name = CodecNameOfCodePage(codePage);
    if (name.isEmpty())
        return std::nullopt;
    QStringDecoder decoder(name.constData(), QStringConverter::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

bool IsDoubleByteCodePage(int codePage)
{
    return codePage == 932 || codePage == 936 || codePage == 949 || codePage == 950;
}

} // namespace kvedit::io
