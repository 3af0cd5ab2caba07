// SPDX-License-Identifier: GPL-3.0-or-later
#include "sheettesthelpers.h"

#include "spreadsheet/spreadsheet.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include <optional>

using namespace Qt::StringLiterals;

namespace qb {
namespace {

using sheettest::allRows;
using sheettest::Rows;
using sheettest::Workbook;

QString fixture(const char* name)
{
    return QDir(QStringLiteral(QB_SPREADSHEET_FIXTURES)).filePath(QString::fromLatin1(name));
}

QByteArray text(const QByteArray& value)
{
    return "<is><t>" + value + "</t></is>";
}

// A sheet whose first row names the columns A, B, C... and whose second
// row holds `cells`.
QByteArray underHeaders(int columns, const QByteArray& cells)
{
    QByteArray header = "<row r=\"1\">";
    for (int i = 0; i < columns; ++i)
        header += "<c t=\"inlineStr\">" + text(QByteArray(1, char('A' + i))) + "</c>";
    return header + "</row><row r=\"2\">" + cells + "</row>";
}

QStringList headers(int columns)
{
    QStringList names;
    for (int i = 0; i < columns; ++i)
        names << QString(QChar(u'A' + i));
    return names;
}

struct ReadCase {
    const char* name;
    std::optional<QString> file; // a fixture; else `workbook` or `ods`
    Workbook workbook = {};
    QByteArray ods = {};
    std::optional<QString> sheet = std::nullopt;
    QString sheetName = {};
    Rows rows = {};
    QStringList noteCells = {}; // the cells the notes name, in order
};

const QByteArray dateStyles =
    "<styleSheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><numFmts>"
    "<numFmt numFmtId=\"164\" formatCode=\"yyyy-mm-dd hh:mm\"/>"
    "<numFmt numFmtId=\"165\" formatCode=\"0.0&quot;d&quot;\"/></numFmts>"
    "<cellStyleXfs><xf numFmtId=\"14\"/></cellStyleXfs><cellXfs><xf numFmtId=\"0\"/>"
    "<xf numFmtId=\"14\"/><xf numFmtId=\"164\"/><xf numFmtId=\"20\"/><xf numFmtId=\"165\"/>"
    "</cellXfs></styleSheet>";

const QByteArray dateCells = "<c s=\"1\"><v>59</v></c><c s=\"1\"><v>60</v></c>"
                             "<c s=\"1\"><v>61</v></c><c s=\"2\"><v>45356.5</v></c>"
                             "<c s=\"3\"><v>0.75</v></c><c s=\"4\"><v>45356</v></c>"
                             "<c s=\"9\"><v>3</v></c>";

const ReadCase readCases[] = {
    {"xlsxFirstVisibleSheet",
     fixture("types.xlsx"),
     {},
     {},
     std::nullopt,
     u"Shots"_s,
     Rows{{"ID", "Code", "Name", "Count", "Ratio", "Shot on", "Shot at", "Time", "Approved",
           "Formula", "Custom date", "Distance", "Elapsed"},
          {"1", "00123", "Ann Berg", "42", "0.1", "2024-03-05", "2024-03-05T14:30:00", "14:30:00",
           "TRUE", "", "2024-03-05", "12.5", "36:00:00"},
          {"2", "007", "Łucja\nNowak", "-3", "0.3333333333333333", "1999-12-31",
           "2000-02-29T23:59:59", "00:00:01", "FALSE", "", "", "", ""},
          QStringList(13),
          {"3", "merged", "", "7", "", "", "", "", "", "", "", "", ""}},
     {"J2"}},
    {"xlsxNumbers",
     fixture("types.xlsx"),
     {},
     {},
     u"Second"_s,
     u"Second"_s,
     Rows{{"Number"},
          {"100000000000000000000"},
          {"1.5e-07"},
          {"123456789012"},
          {"-0.5"},
          {"0.000025"},
          {"100"}}},
    {"xlsxHiddenSheetByNameInAnyCase",
     fixture("types.xlsx"),
     {},
     {},
     u"hidden"_s,
     u"Hidden"_s,
     Rows{{"not the default"}}},
    {"xlsx1904",
     fixture("date1904.xlsx"),
     {},
     {},
     std::nullopt,
     u"Mac"_s,
     Rows{{"Day", "Moment"}, {"2024-03-05", "1904-01-02T06:00:00"}}},
    {"ods",
     fixture("types.ods"),
     {},
     {},
     std::nullopt,
     u"Shots"_s,
     Rows{{"ID", "Code", "Name", "Ratio", "Shot on", "Shot at", "Time", "Approved", "Share",
           "Notes"},
          {"1", "00123", "Ann  Berg", "0.1", "2024-03-05", "2024-03-05T14:30:00", "14:30:00",
           "TRUE", "0.25", "line\tone\nand a half\nline two"},
          {"2", "merged", "", "", "from the attribute", "", "", "", "", ""},
          QStringList(10),
          QStringList(10),
          QStringList(10),
          {"1.5e-07", "x", "x", "x", "", "", "", "", "", ""},
          {"1.5e-07", "x", "x", "x", "", "", "", "", "", ""}},
     {"D3"}},
    {"odsSecondTable", fixture("types.ods"), {}, {}, u"Other"_s, u"Other"_s, Rows{{"only"}}},
    {"sharedStrings",
     std::nullopt,
     Workbook{{{u"S"_s, "<row><c t=\"s\"><v>0</v></c><c t=\"s\"><v>1</v></c></row>"
                        "<row><c t=\"s\"><v>2</v></c><c t=\"s\"><v>3</v></c></row>"
                        "<row><c t=\"s\"><v>4</v></c><c t=\"s\"><v>5</v></c></row>"}},
              {"<t>ID</t>", "<t>Name</t>",
               "<r><rPr><b/></rPr><t>Ann </t></r><r><t xml:space=\"preserve\"> Berg</t></r>",
               "<t>漢字</t><rPh sb=\"0\" eb=\"2\"><t>かんじ</t></rPh>",
               "<t xml:space=\"preserve\">  padded  </t>", "<t>a_x000D_b &amp; _x005F_x0041_</t>"}},
     {},
     std::nullopt,
     u"S"_s,
     Rows{{"ID", "Name"}, {"Ann  Berg", "漢字"}, {"  padded  ", "a\rb & _x0041_"}}},
    {"inlineStringsAndCellsWithoutReferences",
     std::nullopt,
     Workbook{
         {{u"S"_s, "<row><c t=\"inlineStr\">" + text("a") +
                       "</c><c t=\"inlineStr\"><is><r>"
                       "<t>b</t></r><r><t>c</t></r></is></c></row><row><c><v>1.1000000000000001"
                       "</v></c><c r=\"D2\" t=\"str\"><v>x_x0009_y</v></c><c><v>1E+2</v></c>"
                       "<c><v>0.30000000000000004</v></c></row>"}}},
     {},
     std::nullopt,
     u"S"_s,
     Rows{{"a", "bc", "", "", "", ""}, {"1.1", "", "", "x\ty", "100", "0.30000000000000004"}}},
    {"formulasAndErrors",
     std::nullopt,
     Workbook{
         {{u"F"_s, underHeaders(8, "<c><f>1+1</f><v>2</v></c><c t=\"str\"><f>\"a\"&amp;\"b\"</f>"
                                   "<v>ab</v></c><c t=\"b\"><f>TRUE()</f><v>1</v></c><c t=\"e\">"
                                   "<f>NA()</f><v>#N/A</v></c><c t=\"e\"><v>#DIV/0!</v></c>"
                                   "<c><f>X1</f></c><c t=\"str\"><f>\"\"</f><v></v></c>"
                                   "<c t=\"d\"><v>2024-03-05T14:30:00.4</v></c>")}}},
     {},
     std::nullopt,
     u"F"_s,
     Rows{headers(8), {"2", "ab", "TRUE", "", "", "", "", "2024-03-05T14:30:00"}},
     {"D2", "E2", "F2"}},
    {"datesIn1900",
     std::nullopt,
     Workbook{{{u"D"_s, underHeaders(7, dateCells)}}, {}, dateStyles},
     {},
     std::nullopt,
     u"D"_s,
     Rows{headers(7),
          {"1900-02-28", "1900-02-29", "1900-03-01", "2024-03-05T12:00:00", "18:00:00", "45356",
           "3"}}},
    {"datesIn1904",
     std::nullopt,
     Workbook{{{u"D"_s, underHeaders(7, dateCells)}}, {}, dateStyles, true},
     {},
     std::nullopt,
     u"D"_s,
     Rows{headers(7),
          {"1904-02-29", "1904-03-01", "1904-03-02", "2028-03-06T12:00:00", "18:00:00", "45356",
           "3"}}},
    {"rowsSkippedLeadingAndTrailing",
     std::nullopt,
     Workbook{{{u"One"_s, "<row r=\"1\"><c r=\"A1\" s=\"3\"/></row>"},
               {u"Gaps"_s, "<row r=\"3\"><c r=\"B3\" t=\"inlineStr\">" + text("h") +
                               "</c></row><row r=\"6\"><c r=\"C6\"><v>1</v></c><c r=\"Z6\" "
                               "s=\"2\"/></row><row r=\"9\"><c r=\"A9\" s=\"1\"/></row>"}}},
     {},
     u"Gaps"_s,
     u"Gaps"_s,
     Rows{{"", "h", ""}, QStringList(3), QStringList(3), {"", "", "1"}}},
    {"odsValuesAndRepeats",
     std::nullopt,
     {},
     "<table:table table:name=\"T\"><table:table-row table:number-rows-repeated=\"2\"/>"
     "<table:table-row><table:table-cell table:number-columns-repeated=\"2\"/>"
     "<table:table-cell office:value-type=\"float\" office:value=\"3\" "
     "table:number-columns-repeated=\"2\"/><table:table-cell table:formula=\"of:=1/0\" "
     "office:value-type=\"float\" office:value=\"0\" calcext:value-type=\"error\">"
     "<text:p>#DIV/0!</text:p></table:table-cell><table:table-cell><text:p>Err:502</text:p>"
     "</table:table-cell><table:table-cell><text:p>   spaced   out </text:p>"
     "</table:table-cell></table:table-row><table:table-row-group><table:table-row "
     "table:number-rows-repeated=\"1000000\"><table:table-cell office:value-type=\"boolean\" "
     "office:boolean-value=\"false\" table:number-columns-repeated=\"2\"/><table:table-cell "
     "office:value-type=\"time\" office:time-value=\"PT1H\"/><table:table-cell "
     "office:value-type=\"date\" office:date-value=\"2024-03-05T23:59:59.7\"/>"
     "</table:table-row></table:table-row-group></table:table>",
     std::nullopt,
     u"T"_s,
     Rows{},
     {"E3", "F3"}},
};

void PrintTo(const ReadCase& row, std::ostream* out)
{
    *out << row.name;
}

class ReadSheet : public testing::TestWithParam<ReadCase> {};

TEST_P(ReadSheet, ReadsCellsAsTheSpreadsheetShowsThem)
{
    const ReadCase& row = GetParam();
    QTemporaryDir dir;
    QString path = row.file.value_or(QString());
    if (!row.file) {
        path = dir.filePath(row.ods.isEmpty() ? u"made.xlsx"_s : u"made.ods"_s);
        sheettest::writeZip(path, row.ods.isEmpty() ? sheettest::xlsxParts(row.workbook)
                                                    : sheettest::odsParts(row.ods));
    }
    const auto table = readSheet(path, row.sheet);
    ASSERT_TRUE(table.has_value()) << table.error().message().toStdString();
    EXPECT_EQ(table->sheetName, row.sheetName);
    if (!row.rows.empty()) {
        EXPECT_EQ(allRows(*table), row.rows);
    }
    ASSERT_EQ(table->notes.size(), row.noteCells.size()) << table->notes.join(u'\n').toStdString();
    for (qsizetype i = 0; i < row.noteCells.size(); ++i)
        EXPECT_TRUE(table->notes[i].contains(u' ' + row.noteCells[i] + u' '))
            << table->notes[i].toStdString();
}

INSTANTIATE_TEST_SUITE_P(Sheets, ReadSheet, testing::ValuesIn(readCases),
                         [](const auto& info) { return std::string(info.param.name); });

// A million repeated rows of four cells: real, as every cell holds a value.
TEST(ReadSheetRepeats, RepeatedCellsThatHoldValuesAreRealRows)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"repeats.ods"_s);
    sheettest::writeZip(path, sheettest::odsParts(readCases[std::size(readCases) - 1].ods));
    const auto table = readSheet(path);
    ASSERT_TRUE(table.has_value()) << table.error().message().toStdString();
    EXPECT_EQ(table->headers, (QStringList{"", "", "3", "3", "", "", "spaced out "}));
    ASSERT_EQ(table->rows.size(), 1'000'000u);
    const QStringList last{"FALSE", "FALSE", "01:00:00", "2024-03-06T00:00:00", "", "", ""};
    EXPECT_EQ(table->rows.front(), last);
    EXPECT_EQ(table->rows.back(), last);
}

TEST(SheetNames, ListTheTablesInOrder)
{
    EXPECT_EQ(sheetNames(fixture("types.xlsx")),
              (QStringList{u"Hidden"_s, u"Shots"_s, u"Second"_s}));
    EXPECT_EQ(sheetNames(fixture("types.ods")), (QStringList{u"Shots"_s, u"Other"_s}));
    for (const char* file : {"types.xlsx", "types.ods"}) {
        const auto unknown = readSheet(fixture(file), u"Nope"_s);
        ASSERT_FALSE(unknown.has_value());
        EXPECT_EQ(unknown.error().userInfo.value(u"sheets"_s).toStringList(),
                  *sheetNames(fixture(file)));
        EXPECT_TRUE(unknown.error().message().contains(u"\u201cShots\u201d"_s));
    }
    EXPECT_EQ(spreadsheetFormatOf(fixture("types.ods")), SpreadsheetFormat::ods);
    EXPECT_EQ(spreadsheetFormatForPath(u"/a/B.XLSX"_s), SpreadsheetFormat::xlsx);
    EXPECT_EQ(spreadsheetFormatForPath(u"b.Ods"_s), SpreadsheetFormat::ods);
    EXPECT_EQ(spreadsheetFormatForPath(u"b.xls"_s), std::nullopt);
    EXPECT_TRUE(isSpreadsheetPath(u"b.numbers"_s));
    EXPECT_FALSE(isSpreadsheetPath(u"b.csv"_s));
}

} // namespace
} // namespace qb
