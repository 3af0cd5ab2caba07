// SPDX-License-Identifier: GPL-3.0-or-later
#include "kit/csvdatasource.h"
#include "kit/urlimageprovider.h"

#include "extensions/textfile.h"

#include <QDir>
#include <QFile>
#include <QStringDecoder>
#include <QStringEncoder>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qb;

namespace {

class TempFiles : public ::testing::Test {
protected:
    QUrl write(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_dir.filePath(name);
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return QUrl::fromLocalFile(path);
    }
    QTemporaryDir m_dir;
};

using CSVDataSourceTest = TempFiles;

TEST_F(CSVDataSourceTest, CrLfFileHasNoStrayCarriageReturn)
{
    CSVDataSource source;
    ASSERT_TRUE(source.loadCSV(write("a.csv", "id,name\r\nA1,x\r\n")).has_value());
    EXPECT_EQ(source.keyNames(), QStringList({"id", "name"}));
    source.buildMetadata("id");
    EXPECT_EQ(source.metadata().at("A1").at("name"), "x");
}

TEST_F(CSVDataSourceTest, KeyingKeepsColumnOrderAndLaterRowsReplace)
{
    CSVDataSource source;
    ASSERT_TRUE(source.loadCSV(write("a.csv", "z,a,key\n1,,K\n2,3,K\n4,5,\n")).has_value());
    EXPECT_EQ(source.keyNames(), QStringList({"z", "a", "key"})); // not sorted
    source.buildMetadata("key");
    const MetadataTable expected = {
        {"K", {{"z", "2"}, {"a", "3"}, {"key", "K"}}},
        {"", {{"z", "4"}, {"a", "5"}, {"key", ""}}},
    };
    EXPECT_EQ(source.metadata(), expected);

    source.buildMetadata("z");
    EXPECT_EQ(source.keys(), QStringList({"1", "2", "4"}));
    source.buildMetadata("missing");
    EXPECT_TRUE(source.metadata().empty());
}

TEST_F(CSVDataSourceTest, FailedLoadKeepsThePreviousFile)
{
    CSVDataSource source;
    source.buildMetadata("id"); // no file: nothing happens
    EXPECT_TRUE(source.keyNames().isEmpty());
    ASSERT_TRUE(source.loadCSV(write("good.csv", "id,name\n")).has_value());
    source.buildMetadata("id");
    EXPECT_TRUE(source.metadata().empty()); // header only

    const auto duplicate = source.loadCSV(write("dup.csv", "id,id\n1,2\n"));
    ASSERT_FALSE(duplicate.has_value());
    EXPECT_TRUE(std::holds_alternative<CSVError>(duplicate.error()));
    const auto missing = source.loadCSV(QUrl::fromLocalFile(m_dir.filePath("gone.csv")));
    ASSERT_FALSE(missing.has_value());
    EXPECT_TRUE(std::holds_alternative<Error>(missing.error()));
    EXPECT_EQ(source.keyNames(), QStringList({"id", "name"}));
}

TEST_F(CSVDataSourceTest, TextEncodingsAreDetectedOrRefused)
{
    const QString text = QStringLiteral("k,v\nM\u00e4lar\u00f6,\u65e5\u672c\n");
    struct Case {
        const char* name;
        QByteArray bytes;
        bool readable;
    };
    auto encode = [&](QStringConverter::Encoding encoding, bool bom) {
        QStringEncoder encoder(encoding, bom ? QStringConverter::Flag::WriteBom
                                             : QStringConverter::Flag::Default);
        return QByteArray(encoder.encode(text));
    };
    const Case cases[] = {
        {"utf8", text.toUtf8(), true},
        {"utf8_bom", encode(QStringConverter::Utf8, true), true},
        {"utf16le_bom", encode(QStringConverter::Utf16LE, true), true},
        {"utf16be_bom", encode(QStringConverter::Utf16BE, true), true},
        {"utf32le_bom", encode(QStringConverter::Utf32LE, true), true},
        {"utf32be_bom", encode(QStringConverter::Utf32BE, true), true},
        {"utf16le_unmarked", encode(QStringConverter::Utf16LE, false), true},
        {"latin1", encode(QStringConverter::Latin1, false), false},
        {"utf16_bom_bad_body", QByteArray("\xFF\xFE\x00\xD8", 4), false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto decoded = decodeText(c.bytes, QStringLiteral("f.csv"));
        EXPECT_EQ(decoded.has_value(), c.readable);
        if (decoded) {
            EXPECT_EQ(*decoded, text);
        } else {
            EXPECT_EQ(
                decoded.error().errorDescription,
                QStringLiteral("The file \u201cf.csv\u201d couldn\u2019t be opened because "
                               "the text encoding of its contents can\u2019t be determined."));
        }
    }
}

using URLImageProviderTest = TempFiles;

TEST_F(URLImageProviderTest, FoldersExpandToImagesOnce)
{
    const QUrl jpeg = write("shoot/a.jpg", "");
    const QUrl raw = write("shoot/b.IIQ", "");
    const QUrl movie = write("shoot/c.mov", "");
    write("shoot/notes.txt", "");
    const QUrl nested = write("shoot/sub/d.CR3", "");
    const QUrl capture = QUrl::fromLocalFile(m_dir.filePath("CaptureOne"));
    write("CaptureOne/e.jpg", "");
    const QUrl missing = QUrl::fromLocalFile(m_dir.filePath("gone.jpg"));
    const QUrl folder = QUrl::fromLocalFile(m_dir.filePath("shoot"));

    URLImageProvider provider({folder, jpeg, capture, missing}, true);
    const QList<QUrl> images = provider.images();
    EXPECT_EQ(QSet<QUrl>(images.begin(), images.end()),
              QSet<QUrl>({jpeg, raw, movie, nested, capture, missing}));
    EXPECT_EQ(images.size(), 6);
    EXPECT_EQ(provider.urls().size(), 4); // images() doesn't change the list

    provider.setRecursive(false);
    EXPECT_FALSE(provider.images().contains(nested));
    provider.setURLs({});
    EXPECT_TRUE(provider.images().isEmpty());
}

} // namespace
