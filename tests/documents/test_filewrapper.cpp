// SPDX-License-Identifier: GPL-3.0-or-later
#include "documents/bookmarkurl.h"
#include "documents/filewrapper.h"
#include "documents/packagestore.h"

#include "documenttesthelpers.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qb;
using qb::test::readFile;
using qb::test::writeFile;

namespace {

// Binary contents, a hidden member and an empty folder must all survive.
FileWrapper sampleTree(bool withEmptyFolder = true)
{
    const QByteArray binary("a\0b\n", 4);
    FileWrapper::Members members = {
        {"mapping.json", FileWrapper::regularFile("{}", "mapping.json")},
        {"datasource",
         FileWrapper::directory({{"csv.json", FileWrapper::regularFile(binary, "csv.json")},
                                 {".hidden", FileWrapper::regularFile("", ".hidden")}},
                                "datasource")}};
    if (withEmptyFolder)
        members.emplace("empty", FileWrapper::directory({}, "empty"));
    return FileWrapper::directory(std::move(members));
}

TEST(FileWrapper, TreeWrittenAndReadBackAsAPackageKeepsWhatTheFormatNames)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("p.qbmap");
    ASSERT_TRUE(sampleTree().write(path).has_value());
    EXPECT_EQ(readFile(path + "/datasource/csv.json"), QByteArray("a\0b\n", 4));
    EXPECT_TRUE(QFileInfo(path + "/empty").isDir());

    auto read = readPackage(path);
    ASSERT_TRUE(read.has_value()) << read.error().message().toStdString();
    read->preferredFilename.clear();
    EXPECT_EQ(*read, sampleTree(false));
    EXPECT_EQ(read->member("Mapping.json"), nullptr); // names are exact
    EXPECT_FALSE(read->member("datasource")->regularFileContents().has_value());
}

TEST(BookmarkURL, ResolvesToTheSameFileEvenWhenReplacedButNotWhenRemoved)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("shoot.csv");
    writeFile(path, "Shot\n");
    const BookmarkURL bookmark(QUrl::fromLocalFile(path));
    const auto data = bookmark.bookmarkData();
    ASSERT_TRUE(data.has_value());
    EXPECT_FALSE(data->contains("shoot")); // opaque text, not a path
    const auto resolved = BookmarkURL::resolve(*data);
    ASSERT_TRUE(resolved.has_value());
    EXPECT_EQ(resolved->url, bookmark.url);
    EXPECT_FALSE(resolved->isStale);
    EXPECT_EQ(BookmarkURL::fromJson(*bookmark.toJson(), "currentURL"), bookmark);

    // As a spreadsheet program saves: a new file renamed over the old one.
    writeFile(dir.filePath("new.csv"), "Shot,Title\n");
    ASSERT_TRUE(QFile::remove(path));
    ASSERT_TRUE(QFile::rename(dir.filePath("new.csv"), path));
    const auto replaced = BookmarkURL::resolve(*data);
    ASSERT_TRUE(replaced.has_value());
    EXPECT_TRUE(replaced->isStale);

    ASSERT_TRUE(QFile::remove(path));
    const auto gone = BookmarkURL::resolve(*data);
    ASSERT_FALSE(gone.has_value());
    EXPECT_TRUE(gone.error().failureReason.contains(path));
    EXPECT_THROW(BookmarkURL::fromJson(Json(data->toStdString()), "currentURL"), JsonDecodeFailure);
    EXPECT_FALSE(BookmarkURL(QUrl::fromLocalFile(path)).bookmarkData().has_value());
}

TEST(BookmarkURL, RelativePathStartsFromTheGivenFolderOnly)
{
    QTemporaryDir dir;
    writeFile(dir.filePath("data/shoot.csv"), "Shot\n");
    const QString relative =
        QString::fromLatin1(QByteArray(R"({"path":"../data/shoot.csv"})").toBase64());

    const auto resolved = BookmarkURL::resolve(relative, dir.filePath("docs"));
    ASSERT_TRUE(resolved.has_value());
    EXPECT_EQ(resolved->url.toLocalFile(), dir.filePath("data/shoot.csv"));
    EXPECT_FALSE(resolved->isStale);
    EXPECT_FALSE(BookmarkURL::resolve(relative).has_value());
}

TEST(BookmarkURL, DamagedDataIsAnErrorNotACrash)
{
    const char* cases[] = {"", "%%%not base64", "bm90IGpzb24=" /* not json */,
                           "eyJwYXRoIjoxfQ==" /* {"path":1} */};
    for (const char* data : cases) {
        SCOPED_TRACE(data);
        EXPECT_FALSE(BookmarkURL::resolve(QString::fromLatin1(data), "/").has_value());
    }
    EXPECT_THROW(BookmarkURL::fromJson(Json(3), "currentURL"), JsonDecodeFailure);
}

} // namespace
