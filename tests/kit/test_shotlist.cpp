// SPDX-License-Identifier: GPL-3.0-or-later
#include "kit/metadataqueue.h"
#include "kit/shotlistcoordinator.h"
#include "kit/textfiledatasource.h"
#include "kit/urlimageprovider.h"

#include "filetree.h"

#include "extensions/log.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

using namespace qb;

namespace {

using qb::testing::FileTree;

// --- expansion of the user's files and folders -----------------------------

using ExpansionTest = FileTree;

TEST_F(ExpansionTest, FolderGivesItsImagesAndMoviesButNotOtherFiles)
{
    for (const char* name : {"s/b.jpg", "s/a.JPG", "s/notes.txt", "s/clip.mov", "s/song.mp3",
                             "s/raw.IIQ", "s/.jpg", "s/noextension", "s/.hidden.png"})
        touch(name);
    folder("s/dir.jpg"); // a folder is never an image, whatever its name
    const URLImageProvider provider({url("s")}, true);
    EXPECT_EQ(provider.images(), urls({"s/.hidden.png", "s/a.JPG", "s/b.jpg", "s/clip.mov",
                                       "s/raw.IIQ", "s/song.mp3"}));
    EXPECT_EQ(provider.imageNames(), QStringList({".hidden", "a", "b", "clip", "raw", "song"}));
}

TEST_F(ExpansionTest, RecursionDecidesWhetherSubfoldersAreSearched)
{
    touch("s/top.jpg");
    touch("s/sub/deep.jpg");
    touch("s/sub/deeper/deepest.png");
    URLImageProvider provider({url("s")}, false);
    EXPECT_EQ(provider.images(), urls({"s/top.jpg"}));
    provider.setRecursive(true);
    EXPECT_EQ(provider.images(), urls({"s/sub/deep.jpg", "s/sub/deeper/deepest.png", "s/top.jpg"}));
}

TEST_F(ExpansionTest, EachImageAppearsOnceInTheOrderFirstMet)
{
    touch("s/a.jpg");
    touch("s/b.jpg");
    const QUrl withSlash = QUrl::fromLocalFile(path("s") + "/");
    const URLImageProvider provider({url("s/b.jpg"), url("s"), url("s/b.jpg"), withSlash}, true);
    EXPECT_EQ(provider.images(), urls({"s/b.jpg", "s/a.jpg"}));
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

// --- shots ------------------------------------------------------------------

TEST(ShotRequestTest, DescriptionMarksShotsWithImages)
{
    const struct {
        ShotRequest shot;
        QString description;
    } rows[] = {
        {{"A12", {}}, QString::fromUtf8("\u2610 A12: 0 images")},
        {{"A12", {QUrl("file:///a/A12.jpg")}}, QString::fromUtf8("\u2611\uFE0E A12: 1 images")},
        {{"%1 50%", {}}, QString::fromUtf8("\u2610 %1 50%: 0 images")},
        {{"B 7", {QUrl("file:///a"), QUrl("file:///b")}},
         QString::fromUtf8("\u2611\uFE0E B 7: 2 images")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.description.toStdString());
        EXPECT_EQ(row.shot.description(), row.description);
        EXPECT_EQ(row.shot.hasImages(), !row.shot.images.isEmpty());
    }
}

TEST(ShotRequestTest, SortingUsesThePlainOrdering)
{
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

TEST_F(ShotlistTest, WithoutImagesEveryKeyIsAnEmptyShot)
{
    ShotlistCoordinator coordinator(std::make_shared<URLImageProvider>(), m_source);
    const std::vector<ShotRequest> expected{{"A12", {}}, {"B7", {}}, {"C1", {}}};
    EXPECT_EQ(coordinator.shotRequests(), expected);
}

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

// --- capture folders --------------------------------------------------------

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

TEST_F(ShotlistTest, QueueTakesTheCoordinatorsSourceAndImages)
{
    if (!QCoreApplication::instance()) {
        static int argc = 1;
        static char name[] = "qb_kit_tests";
        static char* argv[] = {name, nullptr};
        new QCoreApplication(argc, argv); // the queue's timer needs one
    }
    setPrintSink([](const QString&) {});
    auto source = std::make_shared<FileNameDataSource>(
        MetadataTable{{"A12", {{"title", "Red shoe"}}}, {"B7", {}}});
    const QList<QUrl> images{QUrl("file:///shots/A12_1.jpg"), QUrl("file:///shots/B7.jpg")};
    ShotlistCoordinator coordinator(std::make_shared<URLListProvider>(images), source);
    MetadataQueue queue(MetadataQueue::WriteMethod::direct, 3600, false);
    queue.addImages(coordinator, {MetadataMapping("title", "XMP:Title")});
    setPrintSink({});
    const auto queued = queue.imageQueue();
    ASSERT_EQ(queued.size(), 1u); // B7's row is empty, so its image is left out
    EXPECT_EQ(queued.begin()->first, images[0]);
    EXPECT_EQ(queued.begin()->second->metadata.at("XMP:Title"), "Red shoe");
}

} // namespace
