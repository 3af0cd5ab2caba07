// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvfailures.h"

#include "csv/csverror.h"

namespace qb::csvfailure {

namespace {

constexpr auto configuration = CSVReaderError::invalidConfiguration;
constexpr auto input = CSVReaderError::invalidInput;
constexpr auto stream = CSVReaderError::streamFailure;

QString trimText(const std::set<char32_t>& trim)
{
    return textFromScalars(std::u32string(trim.begin(), trim.end()));
}

std::shared_ptr<const Error> shared(const std::optional<Error>& error)
{
    return error ? std::make_shared<const Error>(*error) : nullptr;
}

const QString streamReadHelp =
    QStringLiteral("Review the internal error and make sure you have access to the input data.");

} // namespace

CSVError delimiterInference()
{
    return {configuration,
            QStringLiteral("Delimiter inference is not yet supported by this library"),
            QStringLiteral("Specify a concrete delimiter or get in contact with the maintainer")};
}

CSVError equalDelimiters(const QString& delimiter)
{
    return {configuration,
            QStringLiteral("The field and row delimiters cannot be the same."),
            QStringLiteral("Set different delimiters for field and rows."),
            {{QStringLiteral("Delimiter"), delimiter}}};
}

CSVError trimIncludesDelimiter(const QString& delimiter, const std::set<char32_t>& trim)
{
    return {configuration,
            QStringLiteral("The trim character set includes delimiter characters."),
            QStringLiteral("Remove the delimiter scalars from the trim character set."),
            {{QStringLiteral("Delimiter"), delimiter},
             {QStringLiteral("Trim characters"), trimText(trim)}}};
}

CSVError trimIncludesEscaping(char32_t escaping, const std::set<char32_t>& trim)
{
    return {configuration,
            QStringLiteral("The trim characters set includes the escaping scalar."),
            QStringLiteral("Remove the escaping scalar from the trim characters set."),
            {{QStringLiteral("Escaping scalar"), textFromScalars(std::u32string(1, escaping))},
             {QStringLiteral("Trim characters"), trimText(trim)}}};
}

CSVError unsupportedEncoding(TextEncoding encoding)
{
    return {configuration,
            QStringLiteral("The given encoding is not yet supported by this library"),
            QStringLiteral("Contact the library maintainer"),
            {{QStringLiteral("Encoding"), textEncodingName(encoding)}}};
}

CSVError byteOrderMarkMismatch(TextEncoding provided, TextEncoding inferred)
{
    return {configuration,
            QStringLiteral("The encoding passed in the configuration doesn't match the Byte Order "
                           "Mark (BOM) from the input data"),
            QStringLiteral("Set the appropriate encoding for the reader configuration or don't set "
                           "any at all (pass nil)"),
            {{QStringLiteral("Provided encoding"), textEncodingName(provided)},
             {QStringLiteral("Data BOM encoding"), textEncodingName(inferred)}}};
}

CSVError blobEncodingMismatch(TextEncoding encoding)
{
    return {configuration,
            QStringLiteral("The data blob didn't match the given string encoding."),
            QStringLiteral("Let the reader infer the encoding or make sure the data blob is "
                           "correctly formatted."),
            {{QStringLiteral("Encoding"), textEncodingName(encoding)}}};
}

CSVError emptyHeaderLine()
{
    return {configuration,
            QStringLiteral("A header line was expected, but an empty line was found instead."),
            QStringLiteral("Make sure there is a header line at the very beginning of the file or "
                           "mark the configuration as 'no header'.")};
}

CSVError fileUnreadable(const QUrl& url, const Error& platformError)
{
    return {input,
            QStringLiteral("The file under the given URL couldn't be read."),
            QStringLiteral("Make sure the URL is valid and you are allowed to access the file."),
            {{QStringLiteral("File URL"), url}},
            std::make_shared<const Error>(platformError)};
}

CSVError notASCII(std::uint8_t byte)
{
    return {input,
            QStringLiteral("The decoded byte is not an ASCII character."),
            QStringLiteral("Make sure the CSV only contains ASCII characters or select a different "
                           "encoding (e.g. UTF8)."),
            {{QStringLiteral("Byte"), int(byte)}}};
}

CSVError invalidUTF8()
{
    return {input, QStringLiteral("Some input bytes couldn't be decoded as UTF8 characters"),
            QStringLiteral("Make sure the CSV only contains UTF8 characters or select a different "
                           "encoding.")};
}

CSVError invalidUTF16()
{
    return {input, QStringLiteral("Some input bytes couldn't be decoded as multibyte UTF16"),
            QStringLiteral("Make sure the CSV only contains UTF16 characters.")};
}

CSVError invalidUTF32()
{
    return {input, QStringLiteral("Some input bytes couldn't be decoded as multibyte UTF32"),
            QStringLiteral("Make sure the CSV only contains UTF32 characters.")};
}

CSVError incompleteUTF16()
{
    return {input,
            QStringLiteral("The last input UTF16 character is incomplete (only 1 byte was found "
                           "when 2 were expected)."),
            QStringLiteral("Check the last UTF16 character of your input data/file.")};
}

CSVError incompleteUTF32()
{
    return {input,
            QStringLiteral(
                "The last input UTF32 character is incomplete (less than 4 bytes were found)."),
            QStringLiteral("Check the last UTF32 character of your input data/file.")};
}

CSVError streamCreation(const QUrl& url)
{
    return {stream,
            QStringLiteral("Creating an input stream to the given file URL failed."),
            QStringLiteral("Make sure the URL is valid and you are allowed to access the file. "
                           "Alternatively set the configuration's presample or load the file in a "
                           "data blob and use the reader's data initializer."),
            {{QStringLiteral("File URL"), url}}};
}

CSVError streamUnreadable(const QString& streamName, const std::optional<Error>& streamError)
{
    return {stream,
            QStringLiteral("The provided input stream could not be read in its entirety."),
            QStringLiteral("Make sure there is data in the input stream and that you have access "
                           "to it."),
            {{QStringLiteral("Input stream"), streamName}},
            shared(streamError)};
}

CSVError streamFirstBytes(int streamStatus, const std::optional<Error>& streamError)
{
    return {stream,
            QStringLiteral(
                "The input stream encountered an error while trying to read the first bytes."),
            streamReadHelp,
            {{QStringLiteral("Stream status"), streamStatus}},
            shared(streamError)};
}

CSVError streamInputBytes(int streamStatus, const std::optional<Error>& streamError)
{
    return {
        stream,
        QStringLiteral("The input stream encountered an error while trying to read input bytes."),
        streamReadHelp,
        {{QStringLiteral("Stream status"), streamStatus}},
        shared(streamError)};
}

CSVError unclosedEscapedField(qint64 rowIndex)
{
    return {input,
            QStringLiteral("The last field is escaped (through quotes) and an EOF (End of File) "
                           "was encountered before the field was properly closed (with a final "
                           "quote character)."),
            QStringLiteral("End the targeted field with a quote."),
            {{QStringLiteral("Row index"), rowIndex}}};
}

CSVError quoteInUnescapedField(qint64 rowIndex)
{
    return {input,
            QStringLiteral("Quotes aren't allowed within fields which don't start with quotes."),
            QStringLiteral("Sandwich the targeted field with quotes and escape the quote within "
                           "the field."),
            {{QStringLiteral("Row index"), rowIndex}}};
}

CSVError fieldCountMismatch(qint64 rowIndex, qint64 parsed, qint64 expected)
{
    return {input,
            QStringLiteral("The number of fields is not constant between rows."),
            QStringLiteral("Make sure the CSV file has always the same amount of fields per row "
                           "(including the header row)."),
            {{QStringLiteral("Row index"), rowIndex},
             {QStringLiteral("Number of parsed fields"), parsed},
             {QStringLiteral("Number of expected fields"), expected}}};
}

CSVError duplicateHeaders()
{
    return {input, QStringLiteral("The header row contain two fields with the same value."),
            QStringLiteral("Request a row instead of a record.")};
}

} // namespace qb::csvfailure
