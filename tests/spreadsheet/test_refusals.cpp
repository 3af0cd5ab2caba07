// SPDX-License-Identifier: GPL-3.0-or-later
#include "sheettesthelpers.h"

#include "spreadsheet/spreadsheet.h"
#include "spreadsheet/spreadsheeterror.h"
#include "spreadsheet/ziparchive.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <functional>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace qb {
namespace {

using enum SpreadsheetErrorCode;
using sheettest::Packing;
using sheettest::Parts;
using sheettest::Workbook;
using sheettest::writeZip;

void writeBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

const QByteArray oleMagic = QByteArrayLiteral("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1");

// A compound file whose second directory entry is named `stream`.
QByteArray compoundFile(const QString& stream)
{
    QByteArray bytes = oleMagic + QByteArray(1024 - oleMagic.size(), '\0');
    QByteArray entry(128, '\0');
    entry.replace(0, stream.size() * 2,
                  QByteArray(reinterpret_cast<const char*>(stream.utf16()), stream.size() * 2));
    entry[64] = char((stream.size() + 1) * 2);
    return bytes.replace(512 + 128, 128, entry);
}

Workbook oneSheet(const QByteArray& cells, const QByteArray& sheetName = "Data")
{
    return Workbook{{{QString::fromUtf8(sheetName), cells}}};
}

const QByteArray someRows = "<row><c t=\"inlineStr\"><is><t>Ann</t></is></c></row>";

// Parts of a workbook with one part replaced, or left out with empty bytes.
Parts withPart(Parts parts, const QString& name, const QByteArray& bytes)
{
    for (qsizetype i = 0; i < parts.size(); ++i) {
        if (parts[i].first == name) {
            if (bytes.isEmpty())
                parts.removeAt(i);
            else
                parts[i].second = bytes;
            return parts;
        }
    }
    parts.append({name, bytes});
    return parts;
}

const QByteArray entityBomb = "<?xml version=\"1.0\"?><!DOCTYPE workbook [<!ENTITY a "
                              "\"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\">"
                              "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;\">]>";

struct Refusal {
    const char* name;
    const char* fileName;
    std::function<void(const QString& path)> make;
    int code; // in the spreadsheet domain; negative: a file error of that code
    const char* saying;
    SpreadsheetLimits limits = {};
};

const Refusal refusals[] = {
    {"oldBinaryXls", "old.xls",
     [](const QString& path) { writeBytes(path, compoundFile(u"Workbook"_s)); },
     int(oldBinaryWorkbook), "Excel 97"},
    {"encryptedOfficeFile", "locked.xlsx",
     [](const QString& path) { writeBytes(path, compoundFile(u"EncryptionInfo"_s)); },
     int(passwordProtected), "password"},
    {"encryptedOds", "locked.ods",
     [](const QString& path) {
         writeZip(path, sheettest::odsParts("", "<manifest:encryption-data/>"));
     },
     int(passwordProtected), "password"},
    {"zipWithPassword", "zipped.xlsx",
     [](const QString& path) {
         writeZip(path, sheettest::xlsxParts(oneSheet(someRows)), Packing::password);
     },
     int(passwordProtected), "password"},
    {"numbersPackage", "data.xlsx",
     [](const QString& path) {
         writeZip(path, {{"Index/Document.iwa", "x"}});
     },
     int(numbersDocument), "Numbers"},
    {"numbersFolder", "data.numbers", [](const QString& path) { QDir().mkdir(path); },
     int(numbersDocument), "Export"},
    {"binaryWorkbook", "data.xlsx",
     [](const QString& path) {
         writeZip(path, withPart(sheettest::xlsxParts(oneSheet(someRows)), u"xl/workbook.bin"_s,
                                 "binary"));
     },
     int(binaryWorkbook), ".xlsb"},
    {"wordDocument", "data.xlsx",
     [](const QString& path) {
         writeZip(path, {{"[Content_Types].xml", "<Types/>"},
                         {"_rels/.rels",
                          "<Relationships><Relationship Id=\"r\" Type=\"x/officeDocument\" "
                          "Target=\"word/document.xml\"/></Relationships>"}});
     },
     int(notASpreadsheet), "Word"},
    {"openDocumentText", "data.ods",
     [](const QString& path) {
         writeZip(path, withPart(sheettest::odsParts(""), u"mimetype"_s,
                                 "application/vnd.oasis.opendocument.text"));
     },
     int(notASpreadsheet), "opendocument.text"},
    {"csvNamedXlsx", "data.xlsx", [](const QString& path) { writeBytes(path, "a,b\n1,2\n"); },
     int(notASpreadsheet), "CSV"},
    {"emptyFile", "data.xlsx", [](const QString& path) { writeBytes(path, ""); },
     int(notASpreadsheet), "empty"},
    {"truncatedZip", "cut.xlsx",
     [](const QString& path) {
         writeZip(path, sheettest::xlsxParts(oneSheet(someRows)));
         QFile file(path);
         ASSERT_TRUE(file.open(QIODevice::ReadWrite));
         file.resize(file.size() / 2);
     },
     int(damagedZip), "copied"},
    {"changedBytes", "changed.xlsx",
     [](const QString& path) {
         writeZip(path, sheettest::xlsxParts(oneSheet(someRows)), Packing::stored);
         QFile file(path);
         ASSERT_TRUE(file.open(QIODevice::ReadWrite));
         QByteArray bytes = file.readAll();
         bytes.replace("<t>Ann</t>", "<t>Bob</t>");
         file.seek(0);
         file.write(bytes);
     },
     int(damagedZip), "checksum"},
    {"partOverTheLimit", "bomb.xlsx",
     [](const QString& path) {
         writeZip(path, sheettest::xlsxParts(oneSheet(someRows.repeated(3000))));
     },
     int(partTooLarge), "zip bomb", SpreadsheetLimits{.partBytes = 64 * 1024}},
    {"giantText", "giant.xlsx",
     [](const QString& path) {
         writeZip(path, sheettest::xlsxParts(oneSheet("<row><c t=\"inlineStr\"><is><t>" +
                                                      QByteArray(4096, 'a') +
                                                      "</t></is></c>"
                                                      "</row>")));
     },
     int(damagedPart), "text of more than 1024 bytes", SpreadsheetLimits{.runBytes = 1024}},
    {"entitiesInWorkbook", "entities.xlsx",
     [](const QString& path) {
         const Parts parts = sheettest::xlsxParts(oneSheet(someRows, "&c;"));
         writeZip(path, withPart(parts, u"xl/workbook.xml"_s, entityBomb + parts[2].second));
     },
     int(forbiddenXml), "entities"},
    {"missingWorkbook", "empty.xlsx",
     [](const QString& path) {
         writeZip(path,
                  withPart(sheettest::xlsxParts(oneSheet(someRows)), u"xl/workbook.xml"_s, {}));
     },
     int(missingPart), "xl/workbook.xml"},
    {"missingSheetPart", "nosheet.xlsx",
     [](const QString& path) {
         writeZip(path, withPart(sheettest::xlsxParts(oneSheet(someRows)),
                                 u"xl/worksheets/sheet1.xml"_s, {}));
     },
     int(missingPart), "sheet1.xml"},
    {"brokenXml", "broken.xlsx",
     [](const QString& path) { writeZip(path, sheettest::xlsxParts(oneSheet("<row><c>"))); },
     int(damagedPart), "line"},
    {"sharedTextMissing", "nostrings.xlsx",
     [](const QString& path) {
         writeZip(path, sheettest::xlsxParts(oneSheet("<row><c t=\"s\"><v>3</v></c></row>")));
     },
     int(damagedPart), "shared text 3"},
    {"noSheets", "nosheets.xlsx",
     [](const QString& path) { writeZip(path, sheettest::xlsxParts(Workbook{})); }, int(noSheets),
     "no sheet"},
    {"tooManyCells", "wide.xlsx",
     [](const QString& path) {
         writeZip(path, sheettest::xlsxParts(oneSheet("<row><c r=\"D1\"><v>1</v></c></row>"
                                                      "<row><c><v>1</v></c></row>"
                                                      "<row><c><v>1</v></c></row>")));
     },
     int(tooManyCells), "more than 10 cells", SpreadsheetLimits{.cells = 10}},
    {"repeatsPastAnySheet", "repeats.ods",
     [](const QString& path) {
         writeZip(path,
                  sheettest::odsParts("<table:table table:name=\"T\"><table:table-row "
                                      "table:number-rows-repeated=\"1000000\"><table:table-cell "
                                      "office:value-type=\"float\" office:value=\"1\" "
                                      "table:number-columns-repeated=\"1000\"/></table:table-row>"
                                      "</table:table>"));
     },
     int(tooManyCells), "spans more than"},
    {"valuesPastTheLastColumn", "wide.ods",
     [](const QString& path) {
         writeZip(path, sheettest::odsParts("<table:table table:name=\"T\"><table:table-row>"
                                            "<table:table-cell office:value-type=\"float\" "
                                            "office:value=\"1\" table:number-columns-repeated="
                                            "\"20000\"/></table:table-row></table:table>"));
     },
     int(tooManyCells), "past column XFD"},
    {"missingFile", "absent.xlsx", [](const QString&) {}, -260, "no such file"},
    {"folder", "folder.xlsx", [](const QString& path) { QDir().mkdir(path); }, -257, "folder"},
    {"fifo", "pipe.ods",
     [](const QString& path) { ASSERT_EQ(mkfifo(QFile::encodeName(path), 0600), 0); }, -257,
     "named pipe"},
};

void PrintTo(const Refusal& row, std::ostream* out)
{
    *out << row.name;
}

class Refused : public testing::TestWithParam<Refusal> {};

TEST_P(Refused, WithAClearErrorAndNoHang)
{
    const Refusal& row = GetParam();
    QTemporaryDir dir;
    const QString path = dir.filePath(QString::fromLatin1(row.fileName));
    row.make(path);
    for (const bool names : {false, true}) {
        SCOPED_TRACE(names ? "sheetNames" : "readSheet");
        std::optional<Error> failure;
        if (names) {
            if (auto read = sheetNames(path, row.limits); !read)
                failure = read.error();
            else
                continue; // the names come from the workbook alone
        } else if (auto read = readSheet(path, std::nullopt, row.limits); !read) {
            failure = read.error();
        }
        ASSERT_TRUE(failure.has_value());
        const Error& error = *failure;
        if (row.code < 0) {
            EXPECT_EQ(error.code, -row.code);
        } else {
            EXPECT_EQ(error.domain, spreadsheetErrorDomain);
            EXPECT_EQ(error.code, row.code);
        }
        EXPECT_TRUE(error.message().contains(QString::fromUtf8(row.saying), Qt::CaseInsensitive))
            << error.message().toStdString();
        EXPECT_TRUE(error.message().contains(QString::fromLatin1(row.fileName)))
            << error.message().toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(Files, Refused, testing::ValuesIn(refusals),
                         [](const auto& info) { return std::string(info.param.name); });

// A part that says it is small and unpacks to more, or holds one endless
// text, is cut off where it passes the limit.
TEST(CappedDevice, StopsReadingAtTheLimit)
{
    const struct {
        const char* name;
        QByteArray data;
        qint64 limit;
        qint64 runLimit;
        CappedDevice::Failure failure;
        qint64 passed; // the bytes read before it stopped
    } cases[] = {
        {"withinBoth", "<a>" + QByteArray(90, 'x') + "</a>", 100, 100, CappedDevice::Failure::none,
         97},
        {"pastTheSize", QByteArray(400, '<'), 350, 100, CappedDevice::Failure::tooLarge, 320},
        {"runWithinOneRead", "<a>" + QByteArray(150, 'x') + "<", 1000, 100,
         CappedDevice::Failure::longRun, 0},
        {"runAcrossReads", "<a>" + QByteArray(90, 'x') + "<b>" + QByteArray(190, 'x'), 1000, 100,
         CappedDevice::Failure::longRun, 160},
        {"runEndsInTime", "<a>" + QByteArray(90, 'x') + "<b>" + QByteArray(90, 'x'), 1000, 100,
         CappedDevice::Failure::none, 186},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        QByteArray data = row.data;
        QBuffer source(&data);
        source.open(QIODevice::ReadOnly);
        CappedDevice capped(source, row.limit, row.runLimit);
        capped.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
        qint64 passed = 0;
        char chunk[160];
        for (qint64 got = 0; (got = capped.read(chunk, sizeof chunk)) > 0;)
            passed += got;
        EXPECT_EQ(capped.failure(), row.failure);
        EXPECT_EQ(passed, row.passed);
        EXPECT_TRUE(capped.atEnd());
    }
}

} // namespace
} // namespace qb
