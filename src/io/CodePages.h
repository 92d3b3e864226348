#pragma once
// Text encodings of resource scripts: byte-order marks, Windows code pages by number, and the
// decoders Qt offers for them (through ICU, which this Qt is built with).

#include <QByteArray>
#include <QString>

#include <optional>

namespace kvedit::io {

constexpr int kCodePageUtf8 = 65001;

enum class ByteOrderMark { None, Utf8, Utf16LE, Utf16BE };

ByteOrderMark DetectByteOrderMark(const QByteArray &head);

// The text of a file with a byte-order mark as UTF-8 without it; nullopt when the bytes are not
// valid in the encoding the mark names.
std::optional<QByteArray> ToUtf8WithoutMark(const QByteArray &bytes, ByteOrderMark mark);

// The converter name Qt knows a Windows code page by ("windows-1252", "windows-31j"), or empty
// when there is none. 65001 is UTF-8.
QByteArray CodecNameOfCodePage(int codePage);

// Decodes bytes in a code page; nullopt when the code page is unknown or the bytes are not valid
// in it.
std::optional<QString> DecodeCodePage(const QByteArray &bytes, int codePage);

// The code pages whose second bytes can look like ASCII ('\\', '"'): the preprocessor has to be
// told, or it would cut a string short in the middle of a character.
bool IsDoubleByteCodePage(int codePage);

} // namespace kvedit::io
