// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvinput.h"

#include "csv/bytebuffers.h"
#include "csv/csvfailures.h"
#include "csv/scalardecoders.h"
#include "extensions/regularfile.h"

#include <QFile>

#include <unicode/ucnv.h>

#include <algorithm>
#include <array>

namespace qb::csvdetail {

namespace {

struct ByteOrderMark {
    TextEncoding encoding;
    std::array<std::uint8_t, 4> bytes;
    qsizetype length;
};

// The first match wins. The order is fixed so that a reader behaves the same
// on every run; it puts UTF-32 LE before UTF-16 LE, so FF FE 00 00 is UTF-32.
constexpr std::array<ByteOrderMark, 5> byteOrderMarks{{
    {TextEncoding::utf8, {0xEF, 0xBB, 0xBF, 0}, 3},
    {TextEncoding::utf32BigEndian, {0x00, 0x00, 0xFE, 0xFF}, 4},
    {TextEncoding::utf32LittleEndian, {0xFF, 0xFE, 0x00, 0x00}, 4},
    {TextEncoding::utf16BigEndian, {0xFE, 0xFF, 0, 0}, 2},
    {TextEncoding::utf16LittleEndian, {0xFF, 0xFE, 0, 0}, 2},
}};

constexpr qsizetype longestMark = 4;

bool isByteOrderFree(TextEncoding provided, TextEncoding inferred)
{
    const bool inferred16 =
        inferred == TextEncoding::utf16LittleEndian || inferred == TextEncoding::utf16BigEndian;
    const bool inferred32 =
        inferred == TextEncoding::utf32LittleEndian || inferred == TextEncoding::utf32BigEndian;
    return ((provided == TextEncoding::utf16 || provided == TextEncoding::unicode) && inferred16) ||
           (provided == TextEncoding::utf32 && inferred32);
}

template <typename Bytes, typename... Args>
std::unique_ptr<ScalarSource> makeDecodingSource(TextEncoding encoding, Args&&... args)
{
    using enum TextEncoding;
    using std::endian;
    switch (encoding) {
    case ascii:
        return std::make_unique<DecodingSource<AsciiDecoder, Bytes>>(std::forward<Args>(args)...);
    case utf8:
        return std::make_unique<DecodingSource<Utf8Decoder, Bytes>>(std::forward<Args>(args)...);
    case utf16BigEndian:
    case utf16:
    case unicode:
        return std::make_unique<DecodingSource<Utf16Decoder<endian::big>, Bytes>>(
            std::forward<Args>(args)...);
    case utf16LittleEndian:
        return std::make_unique<DecodingSource<Utf16Decoder<endian::little>, Bytes>>(
            std::forward<Args>(args)...);
    case utf32BigEndian:
    case utf32:
        return std::make_unique<DecodingSource<Utf32Decoder<endian::big>, Bytes>>(
            std::forward<Args>(args)...);
    case utf32LittleEndian:
        return std::make_unique<DecodingSource<Utf32Decoder<endian::little>, Bytes>>(
            std::forward<Args>(args)...);
    default:
        throw csvfailure::unsupportedEncoding(encoding);
    }
}

struct ConverterCloser {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};

// The whole blob as text, with ICU stopping at the first byte that the
// encoding can't map.
QString decodeWhole(const QByteArray& data, TextEncoding encoding)
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UConverter, ConverterCloser> converter(
        ucnv_open(icuConverterName(encoding), &status));
    if (U_SUCCESS(status))
        ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                            &status);
    if (U_FAILURE(status))
        throw csvfailure::blobEncodingMismatch(encoding);

    QString text(data.size() + 16, Qt::Uninitialized);
    const char* source = data.constData();
    const char* sourceEnd = source + data.size();
    qsizetype written = 0;
    for (;;) {
        auto* begin = reinterpret_cast<UChar*>(text.data());
        UChar* target = begin + written;
        ucnv_toUnicode(converter.get(), &target, begin + text.size(), &source, sourceEnd, nullptr,
                       true, &status);
        written = target - begin;
        if (status != U_BUFFER_OVERFLOW_ERROR)
            break;
        status = U_ZERO_ERROR;
        text.resize(text.size() * 2);
    }
    if (U_FAILURE(status))
        throw csvfailure::blobEncodingMismatch(encoding);
    text.truncate(written);
    return text;
}

Error fileError(const QFile& file)
{
    Error error;
    error.domain = QStringLiteral("QIODevice");
    error.code = file.error();
    error.errorDescription = file.errorString();
    return error;
}

QByteArray readWholeFile(const QUrl& fileURL)
{
    if (!fileURL.isLocalFile()) {
        Error error;
        error.domain = QStringLiteral("QUrl");
        error.errorDescription = QStringLiteral("Not a local file URL");
        throw csvfailure::fileUnreadable(fileURL, error);
    }
    QFile file(fileURL.toLocalFile());
    if (auto opened = openRegularFile(file); !opened)
        throw csvfailure::fileUnreadable(fileURL, opened.error());
    QByteArray data = file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw csvfailure::fileUnreadable(fileURL, fileError(file));
    return data;
}

QByteArray readWholeStream(ByteSource& stream)
{
    stream.open();
    QByteArray data;
    std::array<std::uint8_t, 1024> chunk;
    for (;;) {
        const qint64 count = stream.read(chunk.data(), chunk.size());
        if (count == 0)
            break;
        if (count < 0) {
            CSVError error = csvfailure::streamUnreadable(stream.name(), stream.error());
            stream.close();
            throw error;
        }
        data.append(reinterpret_cast<const char*>(chunk.data()), count);
    }
    stream.close();
    return data;
}

std::unique_ptr<ScalarSource> openStreamAfterOpening(std::unique_ptr<ByteSource>& stream,
                                                     std::optional<TextEncoding> provided)
{
    std::array<std::uint8_t, longestMark> first;
    const qint64 count = stream->read(first.data(), longestMark);
    if (count < 0)
        throw csvfailure::streamFirstBytes(static_cast<int>(stream->status()), stream->error());
    std::span<const std::uint8_t> head(first.data(), static_cast<std::size_t>(count));
    const auto mark = inferByteOrderMark(head);
    const TextEncoding encoding =
        selectEncoding(provided, mark ? std::optional(mark->encoding) : std::nullopt);
    const std::span<const std::uint8_t> leftover = head.subspan(mark ? mark->length : 0);
    return makeDecodingSource<StreamBuffer>(encoding, std::move(stream), leftover);
}

} // namespace

std::optional<ByteOrderMarkMatch> inferByteOrderMark(std::span<const std::uint8_t> firstBytes)
{
    for (const ByteOrderMark& mark : byteOrderMarks) {
        if (mark.length <= static_cast<qsizetype>(firstBytes.size()) &&
            std::equal(mark.bytes.begin(), mark.bytes.begin() + mark.length, firstBytes.begin()))
            return ByteOrderMarkMatch{mark.encoding, mark.length};
    }
    return std::nullopt;
}

TextEncoding selectEncoding(std::optional<TextEncoding> provided,
                            std::optional<TextEncoding> inferred)
{
    if (!provided && !inferred)
        return TextEncoding::utf8;
    if (!provided || !inferred)
        return provided ? *provided : *inferred;
    if (*provided == *inferred)
        return *provided;
    if (isByteOrderFree(*provided, *inferred))
        return *inferred;
    throw csvfailure::byteOrderMarkMismatch(*provided, *inferred);
}

std::unique_ptr<ScalarSource> openText(QString text)
{
    return makeTextSource(std::move(text));
}

std::unique_ptr<ScalarSource> openData(QByteArray data, const CSVReaderConfiguration& config)
{
    if (config.presample && config.encoding)
        return makeTextSource(decodeWhole(data, *config.encoding));
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(data.constData());
    const auto head =
        std::span(bytes, static_cast<std::size_t>(std::min(data.size(), longestMark)));
    const auto mark = inferByteOrderMark(head);
    const TextEncoding encoding =
        selectEncoding(config.encoding, mark ? std::optional(mark->encoding) : std::nullopt);
    return makeDecodingSource<IteratorBuffer>(encoding, std::move(data), mark ? mark->length : 0);
}

std::unique_ptr<ScalarSource> openFile(const QUrl& fileURL, const CSVReaderConfiguration& config)
{
    if (config.presample)
        return openData(readWholeFile(fileURL), config);
    if (!fileURL.isLocalFile())
        throw csvfailure::streamCreation(fileURL);
    return openStream(QIODeviceByteSource::forFile(fileURL.toLocalFile()), config);
}

std::unique_ptr<ScalarSource> openStream(std::unique_ptr<ByteSource> stream,
                                         const CSVReaderConfiguration& config)
{
    if (config.presample)
        return openData(readWholeStream(*stream), config);
    stream->open();
    try {
        return openStreamAfterOpening(stream, config.encoding);
    } catch (const CSVError&) {
        // Whatever failed, the stream must not stay open behind a reader that
        // never came to be.
        if (stream && stream->status() != ByteSource::Status::closed)
            stream->close();
        throw;
    }
}

} // namespace qb::csvdetail
