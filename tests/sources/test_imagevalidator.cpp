// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences/preferences.h"
#include "sources/imagevalidator.h"
#include "sources/urlimageprovider.h"

#include "../support/testsupport.h"

#include <QStandardPaths>
#include <QTemporaryDir>

#include <cstdio>
#include <functional>
#include <thread>

#include <gtest/gtest.h>

using namespace qb;
using Validated = ImageValidator::ValidatedImages;

namespace {

using ImageValidatorTest = qb::testing::FileTree;

TEST_F(ImageValidatorTest, DirectWritingKeepsWritableExtensionsAndFolders)
{
    const struct {
        QUrl url;
        bool valid;
    } rows[] = {
        {touch("a.jpg"), true},
        {url("missing.nef"), true}, // stands or falls by its extension
        {touch("e.txt"), false},
        {touch("noextension"), false},
        {touch(".jpg"), false}, // a hidden name, no extension
        {touch("g.jpg.txt"), false},
        {folder("shoot.txt"), true},
        {QUrl::fromLocalFile(folder("plain").toLocalFile() + "/"), true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.url.toString().toStdString());
        EXPECT_EQ(ImageValidator::validate({row.url}, 0).invalidCount, row.valid ? 0 : 1);
    }
}

TEST_F(ImageValidatorTest, MessageCountsTheLeftOutImagesAndOnlyDirectWritingIsPicky)
{
    const Validated result =
        ImageValidator::validate({touch("a.jpg"), touch("notes.txt"), touch("b.tif")}, 0);
    const Validated expected{{url("a.jpg"), url("b.tif")},
                             1,
                             QStringLiteral("Exiftool can't write to 1 of the selected images. "
                                            "They will be ignored.")};
    EXPECT_EQ(result, expected);

    // Only direct writing is picky.
    const QList<QUrl> urls{url("notes.txt"), url("a.jpg"), url("missing")};
    for (int method : {1, 2, 5, -1}) {
        SCOPED_TRACE(method);
        EXPECT_EQ(ImageValidator::validate(urls, method), (Validated{urls, 0, std::nullopt}));
    }
    EXPECT_EQ(ImageValidator::validate(urls, 0).invalidCount, 2);
}

TEST_F(ImageValidatorTest, ReadsTheStoredWriteMethod)
{
    QStandardPaths::setTestModeEnabled(true);
    Preferences preferences(path("prefs.ini"));
    preferences.registerDefaults(); // registers writeMethod 1, which isn't read
    const QList<QUrl> urls{touch("notes.txt")};
    EXPECT_EQ(ImageValidator::validate(urls, preferences).invalidCount, 1);
    preferences.setWriteMethodValue(1);
    EXPECT_EQ(ImageValidator::validate(urls, preferences).invalidCount, 0);
}

TEST_F(ImageValidatorTest, DroppedFoldersExpandAndFilesStay)
{
    touch("drop/b.jpg");
    touch("drop/a.bmp");
    touch("drop/readme.txt");
    touch("drop/sub/deep.jpg");
    touch("CaptureOne/Cache/c.jpg");
    const QUrl text = touch("notes.txt");
    const QList<QUrl> dropped{url("drop"), text, url("CaptureOne"), url("drop/b.jpg")};

    EXPECT_EQ(ImageValidator::expandDroppedURLs(dropped, false),
              QList<QUrl>({url("drop/a.bmp"), url("drop/b.jpg"), text, url("CaptureOne"),
                           url("drop/b.jpg")}));
    EXPECT_EQ(ImageValidator::expandDroppedURLs({url("drop")}, true),
              QList<QUrl>({url("drop/a.bmp"), url("drop/b.jpg"), url("drop/sub/deep.jpg")}));

    // The walk takes any image; validation then counts what exiftool can't write.
    const Validated validated =
        ImageValidator::validate(ImageValidator::expandDroppedURLs({url("drop")}, false), 0);
    EXPECT_EQ(validated.validImages, QList<QUrl>{url("drop/b.jpg")});
    EXPECT_EQ(validated.invalidCount, 1);
}

} // namespace

// A sync tool beside the search: it keeps making and removing temporary
// files, and renaming files over others, in the folders being searched.
// Every image is found every time.
TEST(FolderSearch, FindsEveryImageWhileAnotherToolChurnsTheFolder)
{
    QTemporaryDir dir;
    constexpr int images = 400;
    for (int i = 0; i < images; ++i) {
        QFile file(dir.filePath(QStringLiteral("%1/S%2.jpg").arg(i % 2 ? "a" : "b").arg(i)));
        QDir().mkpath(QFileInfo(file).absolutePath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    const struct {
        const char* name;
        std::function<void(const QString& folder, int round)> churn;
    } tools[] = {
        {"partial files come and go",
         [](const QString& folder, int round) {
             const QString partial = QStringLiteral("%1/.sync-%2.partial").arg(folder).arg(round);
             QFile(partial).open(QIODevice::WriteOnly);
             QFile::remove(partial);
         }},
        {"files rewritten by rename",
         [](const QString& folder, int round) {
             const QString image = QStringLiteral("%1/S%2.jpg").arg(folder).arg(round % 2 ? 1 : 0);
             const QString temporary = image + QStringLiteral("_exiftool_tmp");
             QFile(temporary).open(QIODevice::WriteOnly);
             ::rename(QFile::encodeName(temporary).constData(),
                      QFile::encodeName(image).constData());
         }},
    };
    for (const auto& tool : tools) {
        SCOPED_TRACE(tool.name);
        // Stopped as it goes out of scope, also when a search falls short.
        std::jthread churner([&](std::stop_token stop) {
            for (int round = 0; !stop.stop_requested(); ++round)
                tool.churn(dir.filePath(round % 2 ? "a" : "b"), round);
        });
        int shortSearches = 0;
        for (int search = 0; search < 30; ++search)
            shortSearches += searchFolder(dir.path(), true).images.size() != images;
        EXPECT_EQ(shortSearches, 0);
    }
}
