// SPDX-License-Identifier: GPL-3.0-or-later
#include "odsreader.h"

#include "spreadsheet/spreadsheeterror.h"
#include "spreadsheet/tablebuilder.h"
#include "spreadsheet/xmlpart.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace qb {

namespace {

const QString officeNs = u"urn:oasis:names:tc:opendocument:xmlns:office:1.0"_s;
const QString tableNs = u"urn:oasis:names:tc:opendocument:xmlns:table:1.0"_s;
const QString textNs = u"urn:oasis:names:tc:opendocument:xmlns:text:1.0"_s;
const QString calcextNs = u"urn:org:documentfoundation:names:experimental:calc:xmlns:calcext:1.0"_s;

const QString contentPart = u"content.xml"_s;

// Row groups nest; a file nesting them deeper than any program would is
// refused before the stack runs out.
constexpr int groupDepthLimit = 64;

// Counts past the largest sheet stop growing, so that repeats can't overflow.
constexpr qint64 countCeiling = qint64{1} << 40;

bool isElement(const QXmlStreamReader& xml, const QString& ns, QStringView name)
{
    return xml.name() == name && xml.namespaceUri() == ns;
}

qint64 repeatCount(const QXmlStreamAttributes& attributes, QLatin1StringView name)
{
    const qint64 count = attributes.value(tableNs, name).toLongLong();
    return std::clamp<qint64>(count, 1, countCeiling);
}

// How a spreadsheet program shows an error in a cell, when the file keeps
// no other sign of it.
bool isErrorText(QStringView text)
{
    static constexpr std::array<QStringView, 7> errors{u"#N/A",   u"#DIV/0!", u"#VALUE!", u"#REF!",
                                                       u"#NAME?", u"#NUM!",   u"#NULL!"};
    if (std::find(errors.begin(), errors.end(), text) != errors.end())
        return true;
    return text.size() == 7 && text.startsWith(u"Err:") &&
           std::all_of(text.begin() + 4, text.end(), [](QChar c) { return c.isDigit(); });
}

bool isSpace(QChar c)
{
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
}

// A paragraph's text, the current element. Runs of white space in the XML
// are one space and none at the start, as ODF has it; <text:s>, <text:tab>
// and <text:line-break> are the spaces, tabs and breaks the user typed.
QString paragraphText(QXmlStreamReader& xml)
{
    QString text;
    bool afterSpace = true;
    int depth = 1;
    while (depth > 0 && !xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement:
            ++depth;
            if (isElement(xml, textNs, u"s")) {
                const qint64 count = xml.attributes().value(textNs, "c"_L1).toLongLong();
                text += QString(std::clamp<qint64>(count, 1, 1024), u' ');
                afterSpace = false;
            } else if (isElement(xml, textNs, u"tab")) {
                text += u'\t';
                afterSpace = false;
            } else if (isElement(xml, textNs, u"line-break")) {
                text += u'\n';
                afterSpace = false;
            }
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        case QXmlStreamReader::Characters:
            for (QChar c : xml.text()) {
                if (!isSpace(c))
                    text += c;
                else if (!afterSpace)
                    text += u' ';
                afterSpace = isSpace(c);
            }
            break;
        default:
            break;
        }
    }
    return text;
}

// The paragraphs of a cell, one line each; annotations and drawings in the
// cell are no part of its value.
QString cellText(QXmlStreamReader& xml)
{
    QStringList paragraphs;
    while (xml.readNextStartElement()) {
        if (isElement(xml, textNs, u"p") || isElement(xml, textNs, u"h"))
            paragraphs << paragraphText(xml);
        else
            xml.skipCurrentElement();
    }
    return paragraphs.join(u'\n');
}

class TableReader {
public:
    TableReader(QXmlStreamReader& xml, TableBuilder& builder)
        : m_xml(xml)
        , m_builder(builder)
    {
    }

    // The rows of the current element: the table or a group of its rows.
    std::expected<void, Error> readRows(int depth = 0)
    {
        if (depth > groupDepthLimit) {
            m_xml.raiseError(u"its groups of rows nest too deeply"_s);
            return {};
        }
        while (m_xml.readNextStartElement()) {
            std::expected<void, Error> read;
            if (isElement(m_xml, tableNs, u"table-row"))
                read = readRow();
            else if (isElement(m_xml, tableNs, u"table-header-rows") ||
                     isElement(m_xml, tableNs, u"table-row-group") ||
                     isElement(m_xml, tableNs, u"table-rows"))
                read = readRows(depth + 1);
            else
                m_xml.skipCurrentElement();
            if (!read)
                return read;
        }
        return {};
    }

private:
    std::expected<void, Error> readRow()
    {
        const qint64 repeat = repeatCount(m_xml.attributes(), "number-rows-repeated"_L1);
        m_builder.beginRow(m_row);
        qint64 column = 0;
        while (m_xml.readNextStartElement()) {
            const bool covered = isElement(m_xml, tableNs, u"covered-table-cell");
            if (!covered && !isElement(m_xml, tableNs, u"table-cell")) {
                m_xml.skipCurrentElement();
                continue;
            }
            const QXmlStreamAttributes attributes = m_xml.attributes();
            const qint64 count = repeatCount(attributes, "number-columns-repeated"_L1);
            const QString text = cellText(m_xml);
            // A merged cell's value is in its first cell; the cells it covers
            // read as empty, whatever they hide.
            if (!covered) {
                const QString value = cellValue(attributes, text, {m_row, column}, repeat, count);
                if (auto set = m_builder.setCells(column, value, count); !set)
                    return set;
            }
            column = std::min(column + count, countCeiling);
        }
        if (auto ended = m_builder.endRow(repeat); !ended)
            return ended;
        m_row = std::min(m_row + repeat, countCeiling);
        return {};
    }

    QString cellValue(const QXmlStreamAttributes& attributes, const QString& text,
                      CellPosition position, qint64 rows, qint64 columns)
    {
        const QStringView type = attributes.value(officeNs, "value-type"_L1);
        const bool formula = !attributes.value(tableNs, "formula"_L1).isEmpty();
        const QStringView stringValue = attributes.value(officeNs, "string-value"_L1);
        const bool error =
            attributes.value(calcextNs, "value-type"_L1) == u"error" ||
            (isErrorText(text) &&
             (type.isEmpty() || (formula && type == u"string" && stringValue.isEmpty())));
        if (error) {
            m_builder.noteError(position, rows, columns, text.isEmpty() ? u"#N/A"_s : text);
            return {};
        }
        if (type == u"float" || type == u"percentage" || type == u"currency") {
            const auto number = parseNumber(attributes.value(officeNs, "value"_L1));
            return number ? numberText(*number) : text;
        }
        if (type == u"date") {
            const QStringView date = attributes.value(officeNs, "date-value"_L1);
            return date.isEmpty() ? text : wholeSecondDateText(date.toString());
        }
        if (type == u"time")
            return durationText(attributes.value(officeNs, "time-value"_L1)).value_or(text);
        if (type == u"boolean") {
            const QStringView value = attributes.value(officeNs, "boolean-value"_L1);
            return value == u"true" || value == u"1"    ? u"TRUE"_s
                   : value == u"false" || value == u"0" ? u"FALSE"_s
                                                        : text;
        }
        if (type == u"string" && !stringValue.isNull())
            return stringValue.toString();
        return text;
    }

    QXmlStreamReader& m_xml;
    TableBuilder& m_builder;
    qint64 m_row = 0;
};

// Calls `visit` with each table's name, the table the current element, until
// it returns false. Tables it doesn't read are skipped.
template <typename Visit>
std::expected<void, Error> forEachTable(XmlPart& part, Visit visit)
{
    QXmlStreamReader& xml = part.xml();
    int level = 0; // 0: the document, 1: its body, 2: the spreadsheet
    while (!xml.atEnd()) {
        const auto token = xml.readNext();
        if (token == QXmlStreamReader::EndElement) {
            if (--level < 0)
                break;
            continue;
        }
        if (token != QXmlStreamReader::StartElement)
            continue;
        if ((level == 0 && isElement(xml, officeNs, u"body")) ||
            (level == 1 && isElement(xml, officeNs, u"spreadsheet"))) {
            ++level;
        } else if (level == 2 && isElement(xml, tableNs, u"table")) {
            auto more = visit(xml.attributes().value(tableNs, "name"_L1).toString());
            if (!more)
                return std::unexpected(more.error());
            if (!*more)
                return {};
        } else {
            xml.skipCurrentElement();
        }
    }
    return {};
}

struct Found {
    QStringList names;
    std::optional<SheetTable> table;
    std::optional<QString> caseInsensitiveMatch;
};

enum class Scan { names, read };

// The names of the tables, up to the one read: the one named `wanted`, or
// the first.
std::expected<Found, Error> scanTables(ZipArchive& archive, Scan scan,
                                       const std::optional<QString>& wanted)
{
    auto part = XmlPart::open(archive, contentPart);
    if (!part)
        return std::unexpected(part.error());
    QXmlStreamReader& xml = (*part)->xml();
    Found found;
    auto scanned = forEachTable(**part, [&](const QString& name) -> std::expected<bool, Error> {
        found.names << name;
        const bool chosen =
            scan == Scan::read && (wanted ? name == *wanted : found.names.size() == 1);
        if (wanted && !chosen && !found.caseInsensitiveMatch &&
            name.compare(*wanted, Qt::CaseInsensitive) == 0)
            found.caseInsensitiveMatch = name;
        if (!chosen) {
            xml.skipCurrentElement();
            return true;
        }
        TableBuilder builder(archive.path(), name, archive.limits().cells);
        if (auto read = TableReader(xml, builder).readRows(); !read)
            return std::unexpected(read.error());
        found.table = builder.finish();
        return false;
    });
    if (!scanned)
        return std::unexpected(scanned.error());
    if (auto finished = (*part)->finish(); !finished)
        return std::unexpected(finished.error());
    return found;
}

} // namespace

std::expected<QStringList, Error> odsSheetNames(ZipArchive& archive)
{
    auto found = scanTables(archive, Scan::names, std::nullopt);
    if (!found)
        return std::unexpected(found.error());
    return found->names;
}

std::expected<SheetTable, Error> readOdsSheet(ZipArchive& archive,
                                              const std::optional<QString>& sheetName)
{
    auto found = scanTables(archive, Scan::read, sheetName);
    // Sheet names are unique without regard to case; the exact name first.
    if (found && !found->table && found->caseInsensitiveMatch)
        found = scanTables(archive, Scan::read, found->caseInsensitiveMatch);
    if (!found)
        return std::unexpected(found.error());
    if (found->table)
        return std::move(*found->table);
    if (!sheetName)
        return std::unexpected(noSheetsError(archive.path()));
    return std::unexpected(unknownSheetError(archive.path(), *sheetName, found->names));
}

std::expected<bool, Error> odsIsEncrypted(ZipArchive& archive)
{
    const QString manifest = u"META-INF/manifest.xml"_s;
    if (!archive.contains(manifest))
        return false;
    auto part = XmlPart::open(archive, manifest);
    if (!part)
        return std::unexpected(part.error());
    QXmlStreamReader& xml = (*part)->xml();
    bool encrypted = false;
    while (!encrypted && !xml.atEnd()) {
        encrypted =
            xml.readNext() == QXmlStreamReader::StartElement && xml.name() == u"encryption-data";
    }
    if (auto finished = (*part)->finish(); !finished && !encrypted)
        return std::unexpected(finished.error());
    return encrypted;
}

} // namespace qb
