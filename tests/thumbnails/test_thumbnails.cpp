// SPDX-License-Identifier: GPL-3.0-or-later
#include "thumbnails/thumbnailloader.h"

#include "../support/testsupport.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <sys/stat.h>
#include <utime.h>

using namespace qb;

namespace {

void ensureGuiApplication()
{
    static int argc = 1;
    static char name[] = "qb_thumbnails_tests";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance())
        new QGuiApplication(argc, argv);
}

QByteArray jpegBytes(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG");
    return buffer.data();
}

QString writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    return path;
}

mode_t modeOf(const QString& path)
{
    struct stat info {};
    EXPECT_EQ(::stat(QFile::encodeName(path).constData(), &info), 0);
    return info.st_mode & 0777;
}

void setModificationTime(const QString& path, time_t seconds)
{
    const utimbuf times{seconds, seconds};
    ASSERT_EQ(::utime(QFile::encodeName(path).constData(), &times), 0);
}

// Answers every exiftool request with `answer`, counting them.
class FakeExiftool : public ProcessRunner {
public:
    explicit FakeExiftool(QByteArray answer)
        : m_answer(std::move(answer))
    {
    }
    ProcessRunResult run(const QString&, const QStringList&) override
    {
        ++requests;
        return ProcessOutcome{0, false, m_answer, {}};
    }
    qint64 commandLineLimit() const override { return 1 << 20; }
    std::atomic<int> requests = 0;

private:
    QByteArray m_answer;
};

TEST(ThumbnailCache, UrisAreEscapedAsGLibEscapesThemAndNameTheFile)
{
    struct Row {
        QString path;
        QByteArray uri;
    };
    const Row rows[] = {
        {QStringLiteral("/home/jens/photos/me.png"), "file:///home/jens/photos/me.png"},
        {QStringLiteral("/shoot/A 1 (copy).jpg"), "file:///shoot/A%201%20(copy).jpg"},
        {QStringLiteral("/shoot/Malmö#2?.jpg"), "file:///shoot/Malm%C3%B6%232%3F.jpg"},
        {QStringLiteral("/shoot/a,b;c=d&e+f@g~h!.jpg"), "file:///shoot/a,b;c=d&e+f@g~h!.jpg"},
        {QStringLiteral("/shoot/100%[x].jpg"), "file:///shoot/100%25%5Bx%5D.jpg"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.path.toStdString());
        EXPECT_EQ(ThumbnailCache::uriOf(row.path), row.uri);
    }
    // The worked example of freedesktop.org's thumbnail cache rules.
    EXPECT_EQ(QFileInfo(ThumbnailCache(QStringLiteral("/c"))
                            .pathFor(QStringLiteral("/home/jens/photos/me.png"),
                                     ThumbnailCache::Flavour::normal))
                  .fileName(),
              QStringLiteral("c6ee772d9e49320e97ec29a7eb5b1697.png"));
}

TEST(ThumbnailCache, AStoredThumbnailIsValidAndCountsOnlyWhileTheFileIsUnchanged)
{
    ensureGuiApplication();
    QTemporaryDir dir;
    const ThumbnailCache cache(dir.filePath(QStringLiteral("thumbnails")));
    const QString photo = writeFile(dir.filePath(QStringLiteral("A 1.jpg")), jpegBytes({40, 30}));
    setModificationTime(photo, 1700000000);
    QImage small(40, 30, QImage::Format_RGB32);
    small.fill(Qt::red);
    ASSERT_TRUE(
        cache.store(photo, small, ThumbnailCache::Flavour::normal, QStringLiteral("image/jpeg")));

    const QString stored = cache.pathFor(photo, ThumbnailCache::Flavour::normal);
    EXPECT_EQ(QFileInfo(stored).path(), dir.filePath(QStringLiteral("thumbnails/normal")));
    EXPECT_EQ(modeOf(stored), 0600);
    EXPECT_EQ(modeOf(QFileInfo(stored).path()), 0700);
    // What a file manager checks, read with nothing of ours.
    const QImage read(stored, "png");
    EXPECT_EQ(read.text(QStringLiteral("Thumb::URI")).toLatin1(),
              "file://" + QFile::encodeName(photo).replace(" ", "%20"));
    EXPECT_EQ(read.text(QStringLiteral("Thumb::MTime")), QStringLiteral("1700000000"));
    EXPECT_EQ(read.text(QStringLiteral("Thumb::Size")), QString::number(QFileInfo(photo).size()));
    EXPECT_EQ(read.text(QStringLiteral("Thumb::Mime")), QStringLiteral("image/jpeg"));
    EXPECT_EQ(read.size(), QSize(40, 30));

    // The next run, another instance, finds it; a changed file doesn't.
    EXPECT_TRUE(ThumbnailCache(dir.filePath(QStringLiteral("thumbnails")))
                    .find(photo, ThumbnailCache::Flavour::normal));
    setModificationTime(photo, 1700000001);
    EXPECT_FALSE(cache.find(photo, ThumbnailCache::Flavour::normal));
}

TEST(ThumbnailMaker, DecodesAtTheSmallSizeOrTellsWhyNot)
{
    ensureGuiApplication();
    QTemporaryDir dir;
    auto fake = std::make_shared<FakeExiftool>(jpegBytes({1600, 1200}));
    auto silent = std::make_shared<FakeExiftool>(QByteArray());
    struct Row {
        const char* name;
        QByteArray bytes;
        std::shared_ptr<FakeExiftool> exiftool;
        QSize size;        // when made
        const char* error; // part of the reason, when not
    };
    const Row rows[] = {
        {"wide.jpg", jpegBytes({2000, 1000}), fake, {128, 64}, nullptr},
        {"small.png", QByteArray(), fake, {20, 10}, nullptr},
        {"damaged.jpg", jpegBytes({200, 200}).left(40), fake, {}, ""},
        {"notes.jpg", "just some text", fake, {}, ""},
        {"IMG_1.CR3", "raw bytes", fake, {128, 96}, nullptr},
        {"IMG_2.nef", "raw bytes", silent, {}, "carries no preview"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const QString path = dir.filePath(QString::fromLatin1(row.name));
        if (row.bytes.isEmpty()) {
            QImage png(20, 10, QImage::Format_ARGB32);
            png.fill(Qt::blue);
            ASSERT_TRUE(png.save(path, "PNG"));
        } else {
            writeFile(path, row.bytes);
        }
        const ThumbnailMaker maker(row.exiftool, QStringLiteral("exiftool"));
        const auto made = maker.make(path, 128);
        if (row.error) {
            ASSERT_FALSE(made);
            EXPECT_FALSE(made.error().isEmpty());
            EXPECT_TRUE(made.error().contains(QString::fromLatin1(row.error)));
        } else {
            ASSERT_TRUE(made) << made.error().toStdString();
            EXPECT_EQ(made->size(), row.size);
        }
    }
}

TEST(ThumbnailLoader, MakesOffTheMainThreadStoresInTheCacheAndReusesIt)
{
    ensureGuiApplication();
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("thumbnails"));
    QStringList raws;
    for (int i = 0; i < 6; ++i)
        raws << writeFile(dir.filePath(QStringLiteral("IMG_%1.CR2").arg(i)), "raw");
    const QString damaged =
        writeFile(dir.filePath(QStringLiteral("damaged.jpg")), jpegBytes({64, 64}).left(30));

    auto exiftool = std::make_shared<FakeExiftool>(jpegBytes({300, 200}));
    {
        ThumbnailLoader loader(ThumbnailCache(root),
                               std::make_shared<ThumbnailMaker>(exiftool, QStringLiteral("x")));
        QSignalSpy ready(&loader, &ThumbnailLoader::ready);
        QSignalSpy failed(&loader, &ThumbnailLoader::failed);
        for (const QString& raw : raws)
            loader.request(raw);
        loader.request(damaged);
        loader.request(raws.first()); // asked again while on its way: once
        loader.waitForDone();
        QCoreApplication::processEvents();
        EXPECT_EQ(ready.size(), raws.size());
        ASSERT_EQ(failed.size(), 1);
        EXPECT_EQ(failed.first().first().toString(), damaged);
        EXPECT_TRUE(loader.failure(damaged));
        EXPECT_EQ(loader.thumbnail(raws.last())->size(), QSize(128, 85));
        EXPECT_EQ(exiftool->requests, raws.size());
    }
    // The next run asks the cache, not exiftool, and remembers the failure.
    ThumbnailLoader again(ThumbnailCache(root),
                          std::make_shared<ThumbnailMaker>(exiftool, QStringLiteral("x")));
    QSignalSpy failed(&again, &ThumbnailLoader::failed);
    for (const QString& raw : raws)
        again.request(raw);
    again.request(damaged);
    again.waitForDone();
    QCoreApplication::processEvents();
    EXPECT_EQ(exiftool->requests, raws.size());
    EXPECT_EQ(failed.size(), 1);
}

TEST(ThumbnailLoader, CancelledRequestsAreNotMade)
{
    ensureGuiApplication();
    QTemporaryDir dir;
    auto exiftool = std::make_shared<FakeExiftool>(jpegBytes({300, 200}));
    ThumbnailLoader loader(ThumbnailCache(dir.filePath(QStringLiteral("t"))),
                           std::make_shared<ThumbnailMaker>(exiftool, QStringLiteral("x")));
    QStringList raws;
    for (int i = 0; i < 200; ++i)
        raws << writeFile(dir.filePath(QStringLiteral("IMG_%1.CR2").arg(i)), "raw");
    for (const QString& raw : raws)
        loader.request(raw);
    loader.cancelAll();
    loader.waitForDone();
    // Only what the workers had already taken is made.
    EXPECT_LE(exiftool->requests, QThread::idealThreadCount() + 2);
}

} // namespace
