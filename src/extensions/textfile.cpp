// SPDX-License-Identifier: GPL-3.0-or-later
#include "textfile.h"

#include "extensions/regularfile.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

#include <algorithm>
#include <optional>

namespace qb {

namespace {

struct ByteOrderMark {
    QByteArray bytes;
    QStringConverter::Encoding encoding;
};

// UTF-32 LE must be tried before UTF-16 LE: its mark begins with the other's.
const ByteOrderMark byteOrderMarks[] = {
    {QByteArray("\xFF\xFE\x00\x00", 4), QStringConverter::Utf32LE},
    {QByteArray("\x00\x00\xFE\xFF", 4), QStringConverter::Utf32BE},
    {QByteArray("\xEF\xBB\xBF", 3), QStringConverter::Utf8},
    {QByteArray("\xFF\xFE", 2), QStringConverter::Utf16LE},
    {QByteArray("\xFE\xFF", 2), QStringConverter::Utf16BE},
};

// Qt's UTF-16 decoder lets lone surrogates through; they are not text.
bool hasUnpairedSurrogate(const QString& text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate())
            ++i;
        else if (text[i].isSurrogate())
            return true;
    }
    return false;
}

std::optional<QString> strictDecode(QByteArrayView bytes, QStringConverter::Encoding encoding)
{
    QStringDecoder decoder(encoding, QStringConverter::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError() || hasUnpairedSurrogate(text))
        return std::nullopt;
    return text;
}

// Text saved as UTF-16 without a mark: mostly Latin text leaves a zero byte
// in every other place, on one side only.
std::optional<QStringConverter::Encoding> unmarkedUtf16(QByteArrayView bytes)
{
    if (bytes.size() < 2 || bytes.size() % 2 != 0)
        return std::nullopt;
    qsizetype evenZeros = 0;
    qsizetype oddZeros = 0;
    for (qsizetype i = 0; i + 1 < bytes.size(); i += 2) {
        evenZeros += bytes[i] == 0;
        oddZeros += bytes[i + 1] == 0;
    }
    const qsizetype pairs = bytes.size() / 2;
    if (oddZeros * 2 >= pairs && evenZeros == 0)
        return QStringConverter::Utf16LE;
    if (evenZeros * 2 >= pairs && oddZeros == 0)
        return QStringConverter::Utf16BE;
    return std::nullopt;
}

Error undeterminedEncoding(const QString& fileName, const QString& reason)
{
    Error error;
    error.domain = QStringLiteral("QuillbrookKit.FileReadError");
    error.code = undeterminedEncodingCode;
    error.errorDescription =
        QStringLiteral("The file \u201c%1\u201d couldn\u2019t be opened because "
                       "the text encoding of its contents can\u2019t be "
                       "determined.")
            .arg(fileName);
    error.failureReason = reason;
    error.recoverySuggestion = QStringLiteral("Save the file as UTF-8 and try again.");
    return error;
}

Error undeterminedEncoding(const QString& fileName)
{
    return undeterminedEncoding(
        fileName,
        QStringLiteral(
            "The file is not valid UTF-8 and has no byte order mark for UTF-16 or UTF-32."));
}

Error undeterminedCodePage(const QString& fileName)
{
    Error error = undeterminedEncoding(
        fileName, QStringLiteral("The file is not valid UTF-8, has no byte order mark, and "
                                 "can\u2019t be read with confidence as %1.")
                      .arg(spreadsheetCodePageList(QStringLiteral("or"))));
    error.recoverySuggestion = QStringLiteral(
        "Save it as UTF-8: in Excel choose File \u25b8 Save As and \u201cCSV UTF-8 (Comma "
        "delimited)\u201d; in Numbers choose File \u25b8 Export To \u25b8 CSV and the text "
        "encoding Unicode (UTF-8).");
    return error;
}

} // namespace

bool isValidUtf8(QByteArrayView bytes)
{
    constexpr qsizetype piece = qsizetype(1) << 20;
    for (qsizetype from = 0; from < bytes.size();) {
        qsizetype to = std::min(bytes.size(), from + piece);
        // Each piece ends before a character's lead byte, so none is cut.
        for (qsizetype back = to; to < bytes.size() && back > from; --back) {
            if ((static_cast<unsigned char>(bytes[back]) & 0xC0) != 0x80) {
                to = back;
                break;
            }
        }
        QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
        // The decoding happens when its result becomes a string.
        const QString text = decoder.decode(bytes.sliced(from, to - from));
        if (decoder.hasError())
            return false;
        from = to;
    }
    return true;
}

std::expected<QString, Error> decodeText(const QByteArray& bytes, const QString& fileName)
{
    for (const ByteOrderMark& mark : byteOrderMarks) {
        if (bytes.startsWith(mark.bytes)) {
            if (auto text =
                    strictDecode(QByteArrayView(bytes).sliced(mark.bytes.size()), mark.encoding))
                return *text;
            return std::unexpected(undeterminedEncoding(fileName));
        }
    }
    if (auto text = strictDecode(bytes, QStringConverter::Utf8))
        return *text;
    if (const auto encoding = unmarkedUtf16(bytes)) {
        if (auto text = strictDecode(bytes, *encoding))
            return *text;
    }
    return std::unexpected(undeterminedEncoding(fileName));
}

std::expected<DecodedText, Error> decodeSpreadsheetText(const QByteArray& bytes,
                                                        const QString& fileName)
{
    if (auto text = decodeText(bytes, fileName))
        return DecodedText{std::move(*text), std::nullopt};
    // A byte order mark says it is Unicode, damaged.
    for (const ByteOrderMark& mark : byteOrderMarks) {
        if (bytes.startsWith(mark.bytes))
            return std::unexpected(undeterminedEncoding(fileName));
    }
    // No spreadsheet writes zero bytes into text it saves in a code page.
    const auto page = bytes.contains('\0') ? std::nullopt : detectSpreadsheetCodePage(bytes);
    if (!page)
        return std::unexpected(undeterminedCodePage(fileName));
    auto text = decodeStrictly(bytes, page->icuName);
    if (!text)
        return std::unexpected(undeterminedCodePage(fileName));
    return DecodedText{std::move(*text), *page};
}

std::expected<QString, Error> readTextFile(const QString& path)
{
    const auto bytes = readFileBytes(path);
    if (!bytes)
        return std::unexpected(bytes.error());
    return decodeText(*bytes, QFileInfo(path).fileName());
}

std::expected<QByteArray, Error> readFileBytes(const QString& path)
{
    QFile file(path);
    const QFileInfo info(path);
    if (!info.exists())
        return std::unexpected(fileReadError(path, QStringLiteral("No such file."), true));
    if (auto opened = openRegularFile(file); !opened)
        return std::unexpected(opened.error());
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return std::unexpected(fileReadError(path, file.errorString(), false));
    return bytes;
}

} // namespace qb
