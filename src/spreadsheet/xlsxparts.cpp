// SPDX-License-Identifier: GPL-3.0-or-later
#include "xlsxparts.h"

#include "spreadsheet/numberformats.h"
#include "spreadsheet/spreadsheeterror.h"
#include "spreadsheet/xmlpart.h"

#include <QHash>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace qb {

namespace {

struct Relationship {
    QString type;
    QString target; // a part name
};

using Relationships = QHash<QString, Relationship>;

// Relationship types differ between the transitional and strict schemas
// only before their last segment.
bool hasType(const Relationship& relationship, QStringView kind)
{
    return relationship.type.endsWith(QLatin1Char('/') + kind.toString());
}

QString relationshipsPart(const QString& part)
{
    const qsizetype slash = part.lastIndexOf(QLatin1Char('/'));
    return part.left(slash + 1) + QStringLiteral("_rels/") + part.sliced(slash + 1) +
           QStringLiteral(".rels");
}

// A part's relationships; none when it has no relationships part.
std::expected<Relationships, Error> readRelationships(ZipArchive& archive, const QString& source)
{
    Relationships relationships;
    const QString name = relationshipsPart(source);
    if (!archive.contains(name))
        return relationships;
    auto part = XmlPart::open(archive, name);
    if (!part)
        return std::unexpected(part.error());
    QXmlStreamReader& xml = (*part)->xml();
    while (xml.readNextStartElement()) {
        const QXmlStreamAttributes attributes = xml.attributes();
        if (xml.name() == u"Relationship" && attributes.value("TargetMode"_L1) != u"External") {
            relationships.insert(
                attributes.value("Id"_L1).toString(),
                {attributes.value("Type"_L1).toString(),
                 resolveXlsxTarget(source, attributes.value("Target"_L1).toString())});
        }
        xml.skipCurrentElement();
    }
    if (auto finished = (*part)->finish(); !finished)
        return std::unexpected(finished.error());
    return relationships;
}

// The relationship id of a <sheet>: "r:id", whatever the prefix.
QString relationshipId(const QXmlStreamAttributes& attributes)
{
    for (const QXmlStreamAttribute& attribute : attributes) {
        if (attribute.name() == u"id" && !attribute.namespaceUri().isEmpty())
            return attribute.value().toString();
    }
    return {};
}

bool isTrue(QStringView value)
{
    return value == u"1" || value == u"true";
}

void readSheetList(QXmlStreamReader& xml, const Relationships& relationships,
                   XlsxWorkbook& workbook)
{
    while (xml.readNextStartElement()) {
        if (xml.name() == u"sheet") {
            const QXmlStreamAttributes attributes = xml.attributes();
            const auto found = relationships.constFind(relationshipId(attributes));
            const bool known = found != relationships.cend();
            // Chart sheets and macro sheets hold no table.
            if (!known || hasType(*found, u"worksheet")) {
                workbook.sheets.append({attributes.value("name"_L1).toString(),
                                        known ? found->target : QString(),
                                        !attributes.value("state"_L1).isEmpty() &&
                                            attributes.value("state"_L1) != u"visible"});
            }
        }
        xml.skipCurrentElement();
    }
}

} // namespace

QString resolveXlsxTarget(const QString& sourcePart, const QString& target)
{
    const QString decoded = QUrl::fromPercentEncoding(target.toUtf8());
    QString path = decoded.startsWith(QLatin1Char('/'))
                       ? decoded
                       : sourcePart.left(sourcePart.lastIndexOf(QLatin1Char('/')) + 1) + decoded;
    QStringList segments;
    for (const QString& segment : path.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        if (segment == u"..") {
            if (!segments.isEmpty())
                segments.removeLast();
        } else if (segment != u".") {
            segments << segment;
        }
    }
    return segments.join(QLatin1Char('/'));
}

std::expected<std::optional<QString>, Error> xlsxMainPart(ZipArchive& archive)
{
    auto relationships = readRelationships(archive, QString());
    if (!relationships)
        return std::unexpected(relationships.error());
    for (const Relationship& relationship : *relationships) {
        if (hasType(relationship, u"officeDocument"))
            return relationship.target;
    }
    return std::nullopt;
}

std::expected<XlsxWorkbook, Error> readXlsxWorkbook(ZipArchive& archive)
{
    XlsxWorkbook workbook;
    auto main = xlsxMainPart(archive);
    if (!main)
        return std::unexpected(main.error());
    workbook.part = main->value_or(QStringLiteral("xl/workbook.xml"));
    if (!archive.contains(workbook.part))
        return std::unexpected(missingPartError(archive.path(), workbook.part));
    auto relationships = readRelationships(archive, workbook.part);
    if (!relationships)
        return std::unexpected(relationships.error());
    for (const Relationship& relationship : *relationships) {
        if (hasType(relationship, u"sharedStrings"))
            workbook.sharedStringsPart = relationship.target;
        else if (hasType(relationship, u"styles"))
            workbook.stylesPart = relationship.target;
    }

    auto part = XmlPart::open(archive, workbook.part);
    if (!part)
        return std::unexpected(part.error());
    QXmlStreamReader& xml = (*part)->xml();
    while (xml.readNextStartElement()) {
        if (xml.name() == u"workbookPr") {
            workbook.date1904 = isTrue(xml.attributes().value("date1904"_L1));
            xml.skipCurrentElement();
        } else if (xml.name() == u"sheets") {
            readSheetList(xml, *relationships, workbook);
        } else {
            xml.skipCurrentElement();
        }
    }
    if (auto finished = (*part)->finish(); !finished)
        return std::unexpected(finished.error());
    return workbook;
}

std::expected<std::vector<DateKind>, Error> readXlsxStyles(ZipArchive& archive,
                                                           const QString& partName)
{
    auto part = XmlPart::open(archive, partName);
    if (!part)
        return std::unexpected(part.error());
    QXmlStreamReader& xml = (*part)->xml();
    QHash<int, QString> customFormats;
    QList<int> styleFormats;
    while (xml.readNextStartElement()) {
        const QStringView section = xml.name();
        if (section != u"numFmts" && section != u"cellXfs") {
            xml.skipCurrentElement();
            continue;
        }
        const bool formats = section == u"numFmts";
        while (xml.readNextStartElement()) {
            const QXmlStreamAttributes attributes = xml.attributes();
            const int id = attributes.value("numFmtId"_L1).toInt();
            if (formats && xml.name() == u"numFmt")
                customFormats.insert(id, attributes.value("formatCode"_L1).toString());
            else if (!formats && xml.name() == u"xf")
                styleFormats << id;
            xml.skipCurrentElement();
        }
    }
    if (auto finished = (*part)->finish(); !finished)
        return std::unexpected(finished.error());

    std::vector<DateKind> kinds;
    kinds.reserve(styleFormats.size());
    for (int id : styleFormats) {
        const auto custom = customFormats.constFind(id);
        kinds.push_back(custom != customFormats.cend() ? dateKindOfFormat(*custom)
                                                       : builtInDateKind(id));
    }
    return kinds;
}

QString xlsxStringItem(QXmlStreamReader& xml)
{
    QString text;
    while (xml.readNextStartElement()) {
        if (xml.name() == u"t") {
            text += xml.readElementText();
        } else if (xml.name() == u"r") {
            while (xml.readNextStartElement()) {
                if (xml.name() == u"t")
                    text += xml.readElementText();
                else
                    xml.skipCurrentElement();
            }
        } else {
            xml.skipCurrentElement(); // phonetic guides and their properties
        }
    }
    return text;
}

std::expected<std::vector<QString>, Error> readXlsxSharedStrings(ZipArchive& archive,
                                                                 const QString& partName)
{
    auto part = XmlPart::open(archive, partName);
    if (!part)
        return std::unexpected(part.error());
    QXmlStreamReader& xml = (*part)->xml();
    std::vector<QString> strings;
    // The count is the file's word; a lying one only costs a smaller reserve.
    strings.reserve(std::min(xml.attributes().value("uniqueCount"_L1).toULongLong(), 1ULL << 20));
    while (xml.readNextStartElement()) {
        if (xml.name() == u"si")
            strings.push_back(unescapeOoxmlText(xlsxStringItem(xml)));
        else
            xml.skipCurrentElement();
    }
    if (auto finished = (*part)->finish(); !finished)
        return std::unexpected(finished.error());
    return strings;
}

} // namespace qb
