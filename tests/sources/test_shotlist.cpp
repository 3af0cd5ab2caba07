// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/shotlistcoordinator.h"
#include "sources/textfiledatasource.h"
#include "sources/urlimageprovider.h"

#include "../support/testsupport.h"

#include "extensions/log.h"

#include <gtest/gtest.h>

using namespace qb;

namespace {

using qb::testing::FileTree;

using ExpansionTest = FileTree;

TEST_F(ExpansionTest, FoldersGiveTheirImagesAndMoviesOnceInTheOrderFirstMet)
{
    for (const char* name :
         {"s/b.jpg", "s/a.JPG", "s/notes.txt", "s/clip.mov", "s/song.mp3", "s/raw.IIQ", "s/.jpg",
          "s/noextension", "s/.hidden.png", "s/sub/deep.jpg"})
        touch(name);
    folder("s/dir.jpg"); // a folder is never an image, whatever its name
    const QUrl withSlash = QUrl::fromLocalFile(path("s") + "/");
    URLImageProvider provider({url("s/b.jpg"), url("s"), url("s/b.jpg"), withSlash}, false);
    EXPECT_EQ(provider.images(), urls({"s/b.jpg", "s/.hidden.png", "s/a.JPG", "s/clip.mov",
                                       "s/raw.IIQ", "s/song.mp3"}));
    EXPECT_EQ(provider.imageNames(), QStringList({"b", ".hidden", "a", "clip", "raw", "song"}));
    provider.setRecursive(true);
    EXPECT_EQ(provider.images().last(), url("s/sub/deep.jpg"));
}

TEST_F(ExpansionTest, CaptureOneFolderAndMissingPathsStandForThemselves)
{
    touch("CaptureOne/Cache/x.jpg");
    const QUrl captureOneWithSlash = QUrl::fromLocalFile(path("CaptureOne") + "/");
    const QUrl missing = url("gone/nothing.jpg");
    const QUrl typedDirectly = touch("notes.txt");
    for (const QUrl& given : {url("CaptureOne"), captureOneWithSlash, missing, typedDirectly}) {
        SCOPED_TRACE(given.toString().toStdString());
        EXPECT_EQ(URLImageProvider({given}).images(), QList<QUrl>{given});
    }
    // Met inside a search, a CaptureOne folder is entered like any other.
    EXPECT_EQ(URLImageProvider({QUrl::fromLocalFile(m_dir.path())}).images(),
              urls({"CaptureOne/Cache/x.jpg"}));
    EXPECT_TRUE(URLImageProvider().images().isEmpty());
}

TEST(ShotRequestTest, DescriptionAndOrdering)
{
    EXPECT_EQ(ShotRequest({"A12", {}}).description(), QString::fromUtf8("\u2610 A12: 0 images"));
    EXPECT_EQ(ShotRequest({"%1 50%", {QUrl("file:///a/x.jpg")}}).description(),
              QString::fromUtf8("\u2611\uFE0E %1 50%: 1 images"));

    std::vector<ShotRequest> shots{{"b", {}}, {"B", {}}, {"a10", {}}, {"a2", {}}};
    sortShotRequests(shots);
    QStringList names;
    for (const ShotRequest& shot : shots)
        names << shot.name;
    EXPECT_EQ(names, QStringList({"B", "a10", "a2", "b"}));
}

class ShotlistTest : public FileTree {
protected:
    std::shared_ptr<TextFileDataSource> m_source =
        std::make_shared<TextFileDataSource>(QStringList{"A12", "B7", "C1"});
};

TEST_F(ShotlistTest, MatchingFolderDecidesWhichImagesBelongToAShot)
{
    touch("shots/A12/A12_001.jpg");
    touch("shots/other/A12_002.jpg");
    touch("shots/B7/B7.jpg");
    touch("shots/b7/B7_lower.jpg"); // the folder name is compared exactly
    auto provider = std::make_shared<URLImageProvider>(QList<QUrl>{url("shots")});
    ShotlistCoordinator coordinator(provider, m_source);
    EXPECT_TRUE(coordinator.requireMatchingFolder());

    std::vector<ShotRequest> expected{
        {"A12", urls({"shots/A12/A12_001.jpg"})}, {"B7", urls({"shots/B7/B7.jpg"})}, {"C1", {}}};
    EXPECT_EQ(coordinator.shotRequests(), expected);

    coordinator.setRequireMatchingFolder(false);
    expected = {{"A12", urls({"shots/A12/A12_001.jpg", "shots/other/A12_002.jpg"})},
                {"B7", urls({"shots/B7/B7.jpg", "shots/b7/B7_lower.jpg"})},
                {"C1", {}}};
    EXPECT_EQ(coordinator.shotRequests(), expected);
}

TEST_F(ShotlistTest, CreateFoldersTwiceIsFineAndTheProviderKeepsEachImageOnce)
{
    auto provider = std::make_shared<URLImageProvider>();
    ShotlistCoordinator coordinator(provider, m_source);
    const auto first = coordinator.createFolders(url("capture"));
    ASSERT_TRUE(first.has_value()) << first.error().message().toStdString();
    EXPECT_EQ(*first, urls({"capture/A12", "capture/B7", "capture/C1"}));
    for (const QString& key : m_source->keys())
        EXPECT_TRUE(QFileInfo(path("capture/" + key)).isDir()) << key.toStdString();

    const auto second = coordinator.createFolders(url("capture"));
    ASSERT_TRUE(second.has_value()) << second.error().message().toStdString();
    EXPECT_EQ(provider->urls().size(), 6);

    // A capture falling into its folder now counts for its shot, once.
    touch("capture/B7/B7_0001.jpg");
    const std::vector<ShotRequest> expected{
        {"A12", {}}, {"B7", urls({"capture/B7/B7_0001.jpg"})}, {"C1", {}}};
    EXPECT_EQ(coordinator.shotRequests(), expected);
}

TEST_F(ShotlistTest, KeysAreRelativePathsUnlessAbsolute)
{
    const QString absolute = path("elsewhere/abs");
    auto source = std::make_shared<TextFileDataSource>(QStringList{"day1/A", absolute});
    ShotlistCoordinator coordinator(std::make_shared<URLListProvider>(QList<QUrl>{}), source);
    const auto made = coordinator.createFolders(url("base"));
    ASSERT_TRUE(made.has_value()) << made.error().message().toStdString();
    EXPECT_EQ(*made, QList<QUrl>({QUrl::fromLocalFile(absolute), url("base/day1/A")}));
    EXPECT_TRUE(QFileInfo(absolute).isDir());
    EXPECT_TRUE(QFileInfo(path("base/day1/A")).isDir());
    EXPECT_FALSE(QFileInfo::exists(path("base/elsewhere")));
}

TEST_F(ShotlistTest, KeyThatCannotNameAFolderInsideIsRefusedBeforeAnythingIsMade)
{
    folder("elsewhere");
    folder("base");
    ASSERT_TRUE(QFile::link(path("elsewhere"), path("base/out")));
    const struct {
        const char* name;
        QString key;
        const char* shown;
        const char* reason;
    } cases[] = {
        {"NUL", QStringLiteral("bad") + QChar(0) + QStringLiteral("name"), "bad\uFFFDname", "NUL"},
        {"climbs out", "../escape", "../escape", "climb out"},
        {"climbs out deeper", "day1/../../escape", "day1/../../escape", "climb out"},
        {"link out", "out/escape", "out/escape", "through a link"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto source = std::make_shared<TextFileDataSource>(QStringList{"A1", c.key});
        auto provider = std::make_shared<URLImageProvider>();
        ShotlistCoordinator coordinator(provider, source);
        const auto made = coordinator.createFolders(url("base"));
        ASSERT_FALSE(made.has_value());
        EXPECT_TRUE(made.error().errorDescription.contains(QString::fromUtf8(c.shown)))
            << made.error().errorDescription.toStdString();
        EXPECT_TRUE(made.error().failureReason.contains(c.reason));
        EXPECT_EQ(QDir(path("base")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                  QStringList{"out"});
        EXPECT_FALSE(QFileInfo::exists(path("escape")) ||
                     QFileInfo::exists(path("elsewhere/escape")));
        EXPECT_TRUE(provider->urls().isEmpty());
    }
}

TEST_F(ShotlistTest, AFailureStopsTheRunAndLeavesTheProviderAlone)
{
    touch("capture/B7"); // a file where a folder should go
    auto provider = std::make_shared<URLImageProvider>();
    ShotlistCoordinator coordinator(provider, m_source);
    const auto made = coordinator.createFolders(url("capture"));
    ASSERT_FALSE(made.has_value());
    EXPECT_EQ(made.error().errorDescription,
              QString::fromUtf8("The folder \u201cB7\u201d couldn\u2019t be created."));
    EXPECT_FALSE(made.error().failureReason.isEmpty());
    EXPECT_TRUE(QFileInfo(path("capture/A12")).isDir()); // made before the failure, kept
    EXPECT_FALSE(QFileInfo::exists(path("capture/C1"))); // never attempted
    EXPECT_TRUE(provider->urls().isEmpty());
}

} // namespace
