// SPDX-License-Identifier: GPL-3.0-or-later
#include "sheettesthelpers.h"

#include <gtest/gtest.h>

#include <quazip.h>
#include <quazipfile.h>
#include <quazipnewinfo.h>

namespace qb::sheettest {

namespace {

const QByteArray mainNs = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
const QByteArray relNs = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
const QByteArray packageRelNs = "http://schemas.openxmlformats.org/package/2006/relationships";

QByteArray relationship(const QByteArray& id, const QByteArray& type, const QByteArray& target)
{
    return "<Relationship Id=\"" + id + "\" Type=\"" + relNs + "/" + type + "\" Target=\"" +
           target + "\"/>";
}

QByteArray relationships(const QByteArray& entries)
{
    return "<?xml version=\"1.0\"?><Relationships xmlns=\"" + packageRelNs + "\">" + entries +
           "</Relationships>";
}

} // namespace

void writeZip(const QString& path, const Parts& parts, Packing packing)
{
    QuaZip zip(path);
    ASSERT_TRUE(zip.open(QuaZip::mdCreate)) << path.toStdString();
    for (const auto& [name, bytes] : parts) {
        QuaZipFile file(&zip);
        const int method = packing == Packing::stored ? 0 : Z_DEFLATED;
        ASSERT_TRUE(file.open(QIODevice::WriteOnly, QuaZipNewInfo(name),
                              packing == Packing::password ? "secret" : nullptr, 0, method));
        ASSERT_EQ(file.write(bytes), bytes.size());
        file.close();
    }
    zip.close();
    ASSERT_EQ(zip.getZipError(), UNZ_OK);
}

Parts xlsxParts(const Workbook& workbook)
{
    QByteArray sheets;
    QByteArray links;
    Parts parts;
    int number = 0;
    for (const auto& [name, data] : workbook.sheets) {
        const QByteArray id = "rId" + QByteArray::number(++number);
        const QByteArray part = "worksheets/sheet" + QByteArray::number(number) + ".xml";
        sheets += "<sheet name=\"" + name.toUtf8() + "\" sheetId=\"" + QByteArray::number(number) +
                  "\" r:id=\"" + id + "\"/>";
        links += relationship(id, "worksheet", part);
        parts.append({"xl/" + QString::fromLatin1(part), "<worksheet xmlns=\"" + mainNs +
                                                             "\"><sheetData>" + data +
                                                             "</sheetData></worksheet>"});
    }
    if (!workbook.sharedStrings.isEmpty()) {
        QByteArray items;
        for (const QByteArray& item : workbook.sharedStrings)
            items += "<si>" + item + "</si>";
        parts.append({"xl/sharedStrings.xml", "<sst xmlns=\"" + mainNs + "\">" + items + "</sst>"});
        links += relationship("rIdStrings", "sharedStrings", "sharedStrings.xml");
    }
    if (!workbook.styles.isEmpty()) {
        parts.append({"xl/styles.xml", workbook.styles});
        links += relationship("rIdStyles", "styles", "styles.xml");
    }
    parts.prepend({"xl/_rels/workbook.xml.rels", relationships(links)});
    parts.prepend({"xl/workbook.xml", "<workbook xmlns=\"" + mainNs + "\" xmlns:r=\"" + relNs +
                                          "\"><workbookPr date1904=\"" +
                                          (workbook.date1904 ? "1" : "0") + "\"/><sheets>" +
                                          sheets + "</sheets></workbook>"});
    parts.prepend(
        {"_rels/.rels", relationships(relationship("rId1", "officeDocument", "xl/workbook.xml"))});
    parts.prepend({"[Content_Types].xml", "<Types/>"});
    return parts;
}

Parts odsParts(const QByteArray& tables, const QByteArray& manifestEntries)
{
    const QByteArray content =
        "<?xml version=\"1.0\"?><office:document-content "
        "xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\" "
        "xmlns:table=\"urn:oasis:names:tc:opendocument:xmlns:table:1.0\" "
        "xmlns:text=\"urn:oasis:names:tc:opendocument:xmlns:text:1.0\" "
        "xmlns:calcext=\"urn:org:documentfoundation:names:experimental:calc:xmlns:calcext:1.0\">"
        "<office:body><office:spreadsheet>" +
        tables + "</office:spreadsheet></office:body></office:document-content>";
    const QByteArray manifest =
        "<?xml version=\"1.0\"?><manifest:manifest "
        "xmlns:manifest=\"urn:oasis:names:tc:opendocument:xmlns:manifest:1.0\">"
        "<manifest:file-entry manifest:full-path=\"content.xml\">" +
        manifestEntries + "</manifest:file-entry></manifest:manifest>";
    return {{"mimetype", "application/vnd.oasis.opendocument.spreadsheet"},
            {"content.xml", content},
            {"META-INF/manifest.xml", manifest}};
}

Rows allRows(const SheetTable& table)
{
    Rows rows{table.headers};
    rows.insert(rows.end(), table.rows.begin(), table.rows.end());
    return rows;
}

} // namespace qb::sheettest
