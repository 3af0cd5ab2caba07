// SPDX-License-Identifier: GPL-3.0-or-later
// Large batches split across exiftool processes, and small ones through the
// long-lived exiftool, as the queue writes them.
#include "writing/parallelwrite.h"

#include "../support/testsupport.h"
#include "writing/metadataqueue.h"

#include "../support/jpeg.h"

#include "exif/stayopenexiftool.h"
#include "extensions/log.h"

#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <csignal>

using namespace qb;
using Method = MetadataQueue::WriteMethod;

namespace {

std::shared_ptr<ExifImage> titled(const QString& path, const QString& title)
{
    auto image = std::make_shared<ExifImage>(QUrl::fromLocalFile(path));
    image->metadata["XMP-dc:Title"] = title;
    return image;
}

TEST(ParallelWriteChunks, AreContiguousAndOfNearlyEqualSize)
{
    const struct {
        qsizetype count;
        int jobs;
        int threshold;
        std::vector<qsizetype> sizes;
    } rows[] = {
        {47, 2, 48, {47}},       {48, 2, 48, {24, 24}}, {49, 2, 48, {25, 24}},
        {5, 4, 2, {2, 1, 1, 1}}, {3, 8, 2, {1, 1, 1}},  {100, 1, 10, {100}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.count << " images, " << row.jobs << " jobs");
        ExifImages images;
        for (qsizetype i = 0; i < row.count; ++i)
            images.push_back(titled(QStringLiteral("/shots/%1.jpg").arg(i), {}));
        const auto chunks = splitIntoChunks(images, chunkCount(row.count, row.jobs, row.threshold));
        std::vector<qsizetype> sizes;
        ExifImages joined;
        for (const ExifImages& chunk : chunks) {
            sizes.push_back(qsizetype(chunk.size()));
            joined.insert(joined.end(), chunk.begin(), chunk.end());
        }
        EXPECT_EQ(sizes, row.sizes);
        EXPECT_EQ(joined, images);
    }
}

class ParallelQueueTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        qb::testing::ensureApplication();
        setPrintSink([](const QString&) {});
        setLogSink([](const QString&) {});
    }
    void TearDown() override
    {
        setPrintSink({});
        setLogSink({});
    }

    std::unique_ptr<MetadataQueue> makeQueue(std::shared_ptr<ProcessRunner> runner = {})
    {
        auto queue = std::make_unique<MetadataQueue>(
            Method::direct, 60.0, false,
            runner ? std::make_unique<MetadataReader>(runner) : nullptr);
        queue->setExiftoolLocation(runner ? QStringLiteral("/bin/true") : installedExiftoolPath());
        queue->setWriterLockPath(path("write.lock"));
        queue->setWritableTags(nullptr);
        connect(*queue);
        return queue;
    }
    void connect(MetadataQueue& queue)
    {
        QObject::connect(&queue, &MetadataQueue::writeReported, &queue,
                         [this](const WriteReport& report) { m_report = report; });
    }
    MetadataQueue::WriteResult writeAndWait(MetadataQueue& queue)
    {
        std::optional<MetadataQueue::WriteResult> outcome;
        QEventLoop loop;
        queue.write([&](const MetadataQueue::WriteResult& result) {
            outcome = result;
            loop.quit();
        });
        QTimer::singleShot(60000, &loop, &QEventLoop::quit);
        loop.exec();
        EXPECT_TRUE(outcome.has_value());
        return outcome.value_or(std::unexpected(Error{}));
    }
    QString path(const QString& name) const { return m_folder.filePath(name); }
    QString titleOf(const QString& file)
    {
        SystemProcessRunner runner;
        const auto read = runner.run(installedExiftoolPath(), {"-s3", "-XMP-dc:Title", file});
        return read ? QString::fromUtf8(read->standardOutput).trimmed() : QString();
    }

    QTemporaryDir m_folder;
    WriteReport m_report;
};

TEST_F(ParallelQueueTest, EachChunkRunsWithItsOwnExchangeFileAndSmallBatchesRunAsOne)
{
    const auto runner = std::make_shared<qb::testing::FakeExiftool>();
    auto queue = makeQueue(runner);
    queue->setWriteJobs(2);
    queue->setParallelThreshold(5);
    for (const int count : {5, 4}) {
        SCOPED_TRACE(count);
        ExifImages images;
        for (int i = 0; i < count; ++i)
            images.push_back(titled(QStringLiteral("/shots/%1.jpg").arg(i), "t"));
        queue->enqueue(images);
        const std::size_t before = runner->calls().size();
        ASSERT_TRUE(writeAndWait(*queue));
        auto calls = runner->calls();
        calls.erase(calls.begin(), calls.begin() + qsizetype(before));
        std::ranges::sort(calls, {}, [](const QStringList& call) { return call.front(); });
        if (count == 4) {
            ASSERT_EQ(calls.size(), 1u);
            EXPECT_TRUE(calls[0][0].endsWith("/QuillbrookMetadata.json"));
            continue;
        }
        ASSERT_EQ(calls.size(), 2u);
        EXPECT_TRUE(calls[0][0].endsWith("/QuillbrookMetadata-1.json"));
        EXPECT_TRUE(calls[1][0].endsWith("/QuillbrookMetadata-2.json"));
        EXPECT_EQ(calls[0].mid(1),
                  QStringList({"-struct", "-ignoreMinorErrors", "/shots/0.jpg", "/shots/1.jpg",
                               "/shots/2.jpg", "-overwrite_original"}));
        EXPECT_EQ(calls[1].mid(3, 2), QStringList({"/shots/3.jpg", "/shots/4.jpg"}));
    }
}

TEST_F(ParallelQueueTest, DamagedFileInOneChunkIsNamedWhileTheOtherFilesAreWritten)
{
    auto queue = makeQueue();
    queue->setWriteJobs(2);
    queue->setParallelThreshold(2);
    ExifImages images;
    for (int i = 0; i < 6; ++i) {
        const QString file = path(QStringLiteral("IMG_%1.jpg").arg(i));
        qb::testing::makeJpeg(file);
        images.push_back(titled(file, QStringLiteral("Look %1").arg(i)));
    }
    QFile damaged(path("IMG_4.jpg"));
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly | QIODevice::Truncate));
    damaged.write("no JPEG");
    damaged.close();
    queue->enqueue(images);
    const auto result = writeAndWait(*queue);
    ASSERT_FALSE(result);
    EXPECT_TRUE(result.error().message().contains(path("IMG_4.jpg")))
        << result.error().message().toStdString();
    EXPECT_EQ(queue->imageCount(), 6);
    EXPECT_EQ(m_report.written, 5);
    EXPECT_EQ(m_report.failed, 1);
    for (const int i : {0, 2, 3, 5})
        EXPECT_EQ(titleOf(path(QStringLiteral("IMG_%1.jpg").arg(i))),
                  QStringLiteral("Look %1").arg(i));
}

TEST_F(ParallelQueueTest, SmallWritesShareTheLongLivedExiftoolWhichEndsWithTheQueue)
{
    auto queue = makeQueue();
    auto exiftool = std::make_shared<StayOpenExiftool>();
    queue->setLongLivedExiftool(exiftool);
    qint64 pid = 0;
    for (const QString name : {"a.jpg", "b.jpg"}) {
        queue->enqueue({titled(qb::testing::makeJpeg(path(name)), name)});
        const auto result = writeAndWait(*queue);
        ASSERT_TRUE(result) << result.error().message().toStdString();
        EXPECT_EQ(*result, "Finished writing images.");
        EXPECT_EQ(m_report.written, 1);
        EXPECT_TRUE(pid == 0 || pid == exiftool->processId());
        pid = exiftool->processId();
        EXPECT_EQ(titleOf(path(name)), name);
    }
    ASSERT_NE(pid, 0);
    exiftool.reset();
    queue.reset();
    EXPECT_NE(::kill(pid_t(pid), 0), 0);
}

} // namespace
