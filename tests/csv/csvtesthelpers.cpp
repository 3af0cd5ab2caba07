// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvtesthelpers.h"

#include <gtest/gtest.h>

#include <QHash>
#include <QStringEncoder>

#include <map>

namespace qb::csvtest {

namespace {

struct Catalogued {
    CSVReaderError kind;
    QString help;
};

// The reader's texts as the product defines them, kept apart from the code
// so that a changed word in either shows up here.
const QHash<QString, Catalogued>& catalogue()
{
    using enum CSVReaderError;
    static const QHash<QString, Catalogued> texts{
        {"Delimiter inference is not yet supported by this library",
         {invalidConfiguration,
          "Specify a concrete delimiter or get in contact with the maintainer"}},
        {"The field and row delimiters cannot be the same.",
         {invalidConfiguration, "Set different delimiters for field and rows."}},
        {"The trim character set includes delimiter characters.",
         {invalidConfiguration, "Remove the delimiter scalars from the trim character set."}},
        {"The trim characters set includes the escaping scalar.",
         {invalidConfiguration, "Remove the escaping scalar from the trim characters set."}},
        {"The given encoding is not yet supported by this library",
         {invalidConfiguration, "Contact the library maintainer"}},
        {"The encoding passed in the configuration doesn't match the Byte Order Mark (BOM) from "
         "the input data",
         {invalidConfiguration, "Set the appropriate encoding for the reader configuration or "
                                "don't set any at all (pass nil)"}},
        {"The data blob didn't match the given string encoding.",
         {invalidConfiguration, "Let the reader infer the encoding or make sure the data blob is "
                                "correctly formatted."}},
        {"The file under the given URL couldn't be read.",
         {invalidInput, "Make sure the URL is valid and you are allowed to access the file."}},
        {"The decoded byte is not an ASCII character.",
         {invalidInput, "Make sure the CSV only contains ASCII characters or select a different "
                        "encoding (e.g. UTF8)."}},
        {"Some input bytes couldn't be decoded as UTF8 characters",
         {invalidInput,
          "Make sure the CSV only contains UTF8 characters or select a different encoding."}},
        {"Some input bytes couldn't be decoded as multibyte UTF16",
         {invalidInput, "Make sure the CSV only contains UTF16 characters."}},
        {"Some input bytes couldn't be decoded as multibyte UTF32",
         {invalidInput, "Make sure the CSV only contains UTF32 characters."}},
        {"The last input UTF16 character is incomplete (only 1 byte was found when 2 were "
         "expected).",
         {invalidInput, "Check the last UTF16 character of your input data/file."}},
        {"The last input UTF32 character is incomplete (less than 4 bytes were found).",
         {invalidInput, "Check the last UTF32 character of your input data/file."}},
        {"Creating an input stream to the given file URL failed.",
         {streamFailure, "Make sure the URL is valid and you are allowed to access the file. "
                         "Alternatively set the configuration's presample or load the file in a "
                         "data blob and use the reader's data initializer."}},
        {"The provided input stream could not be read in its entirety.",
         {streamFailure,
          "Make sure there is data in the input stream and that you have access to it."}},
        {"The input stream encountered an error while trying to read the first bytes.",
         {streamFailure,
          "Review the internal error and make sure you have access to the input data."}},
        {"The input stream encountered an error while trying to read input bytes.",
         {streamFailure,
          "Review the internal error and make sure you have access to the input data."}},
        {"The last field is escaped (through quotes) and an EOF (End of File) was encountered "
         "before the field was properly closed (with a final quote character).",
         {invalidInput, "End the targeted field with a quote."}},
        {"Quotes aren't allowed within fields which don't start with quotes.",
         {invalidInput, "Sandwich the targeted field with quotes and escape the quote within the "
                        "field."}},
        {"The number of fields is not constant between rows.",
         {invalidInput, "Make sure the CSV file has always the same amount of fields per row "
                        "(including the header row)."}},
        {"The header row contain two fields with the same value.",
         {invalidInput, "Request a row instead of a record."}},
        {"A header line was expected, but an empty line was found instead.",
         {invalidConfiguration, "Make sure there is a header line at the very beginning of the "
                                "file or mark the configuration as 'no header'."}},
    };
    return texts;
}

} // namespace

void expectFailure(const CSVError& error, const QString& reason)
{
    ASSERT_TRUE(catalogue().contains(reason)) << "not a reader text: " << reason.toStdString();
    const Catalogued& expected = catalogue()[reason];
    EXPECT_EQ(error.failureReason(), reason);
    EXPECT_EQ(error.type(), expected.kind);
    EXPECT_EQ(error.helpAnchor(), expected.help);
    EXPECT_FALSE(error.recoverySuggestion().has_value());
    EXPECT_EQ(error.code(), static_cast<int>(expected.kind));
}

QList<QStringList> table(const char* rows)
{
    QList<QStringList> result;
    if (*rows)
        for (const QString& row : QString::fromUtf8(rows).split('/'))
            result << row.split('|');
    return result;
}

std::optional<QStringList> nextRowOf(CSVReader& reader)
{
    const auto row = reader.nextRow();
    EXPECT_TRUE(row.has_value()) << row.error().what();
    return row.value_or(std::nullopt);
}

QByteArray encodeText(const QString& text, TextEncoding encoding, bool withMark)
{
    using enum TextEncoding;
    const std::map<TextEncoding, QStringConverter::Encoding> qtEncodings{
        {utf8, QStringConverter::Utf8},
        {utf16BigEndian, QStringConverter::Utf16BE},
        {utf16LittleEndian, QStringConverter::Utf16LE},
        {utf32BigEndian, QStringConverter::Utf32BE},
        {utf32LittleEndian, QStringConverter::Utf32LE}};
    QStringEncoder encoder(qtEncodings.at(encoding), withMark ? QStringConverter::Flag::WriteBom
                                                              : QStringConverter::Flag::Default);
    return encoder.encode(text);
}

} // namespace qb::csvtest
