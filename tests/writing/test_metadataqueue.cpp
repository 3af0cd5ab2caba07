// SPDX-License-Identifier: GPL-3.0-or-later
#include "writing/metadataqueue.h"

#include "sources/filenamedatasource.h"
#include "sources/shotlistcoordinator.h"

#include "../support/testsupport.h"

#include "exif/metadatareader.h"
#include "extensions/log.h"

#include <QEventLoop>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include <gtest/gtest.h>

#include <future>

using namespace qb;
using Method = MetadataQueue::WriteMethod;

namespace {

std::shared_ptr<ExifImage> image(const QString& path, const QString& title)
{
    auto result = std::make_shared<ExifImage>(QUrl::fromLocalFile(path));
    result->metadata["XMP:Title"] = title;
    return result;
}

class MetadataQueueTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        qb::testing::ensureApplication();
        setPrintSink([this](const QString& text) { m_printed << text; });
        setLogSink([this](const QString& text) { m_logged << text; });
    }
    void TearDown() override
    {
        setPrintSink({});
        setLogSink({});
    }

    std::unique_ptr<MetadataQueue> makeQueue(Method method, double timerBuffer = 60.0)
    {
        auto queue = std::make_unique<MetadataQueue>(
            method, timerBuffer, false, std::make_unique<MetadataReader>(m_runner),
            [] { return QDateTime::currentDateTimeUtc(); });
        queue->setExiftoolLocation(QStringLiteral("/bin/true")); // exists; the fake runs instead
        queue->setWriterLockPath(m_lockFolder.filePath("write.lock"));
        return queue;
    }

    // Starts a write, runs `during` once the write has begun, then waits for
    // the completion on the main thread, never for ever.
    MetadataQueue::WriteResult writeAndWait(MetadataQueue& queue,
                                            const std::function<void()>& during = {})
    {
        std::optional<MetadataQueue::WriteResult> outcome;
        QEventLoop loop;
        m_runner->holding = bool(during);
        queue.write([&](const MetadataQueue::WriteResult& result) {
            outcome = result;
            loop.quit();
        });
        if (during) {
            EXPECT_TRUE(m_runner->started.try_acquire_for(std::chrono::seconds(10)));
            during();
            m_runner->holding = false;
            m_runner->proceed.release();
        }
        QTimer::singleShot(10000, &loop, &QEventLoop::quit);
        if (!outcome)
            loop.exec();
        EXPECT_TRUE(outcome.has_value()) << "no completion within 10 s";
        return outcome.value_or(std::unexpected(Error{}));
    }

    std::shared_ptr<qb::testing::FakeExiftool> m_runner =
        std::make_shared<qb::testing::FakeExiftool>();
    QStringList m_printed;
    QStringList m_logged;
    QTemporaryDir m_lockFolder;
};

TEST_F(MetadataQueueTest, DirectWriteRunsExiftoolOnceWithTheExactArguments)
{
    auto queue = makeQueue(Method::direct);
    queue->enqueue({image("/shots/b c.jpg", "b"), image("/shots/a.jpg", "a")});
    const auto result = writeAndWait(*queue);
    ASSERT_TRUE(result.has_value()) << result.error().message().toStdString();
    EXPECT_EQ(*result, "Finished writing images.");

    const auto calls = m_runner->calls();
    ASSERT_EQ(calls.size(), 1u);
    const QStringList& arguments = calls.front();
    ASSERT_EQ(arguments.size(), 6);
    EXPECT_TRUE(arguments[0].startsWith("-json=") &&
                arguments[0].endsWith("/QuillbrookMetadata.json"));
    EXPECT_EQ(arguments.mid(1), QStringList({"-struct", "-ignoreMinorErrors", "/shots/a.jpg",
                                             "/shots/b c.jpg", "-overwrite_original"}));
    EXPECT_EQ(queue->imageCount(), 0);
    EXPECT_FALSE(queue->hasTimer());
    EXPECT_TRUE(m_logged.first().startsWith("Writing metadata via direct at "));
    EXPECT_TRUE(m_logged.last().startsWith("Write finished after "));
}

TEST_F(MetadataQueueTest, XmpWriteNamesTheSidecarsInTheExchangeFile)
{
    auto queue = makeQueue(Method::xmp);
    const auto raw = image("/shots/A1.CR3", "x");
    queue->enqueue({raw});
    ASSERT_TRUE(writeAndWait(*queue).has_value());
    EXPECT_EQ(m_runner->calls().front().mid(1),
              QStringList({"-srcfile", "%d%f.xmp", "/shots/A1.CR3", "-overwrite_original"}));
    EXPECT_EQ(raw->url(), QUrl::fromLocalFile("/shots/A1.xmp"));
}

TEST_F(MetadataQueueTest, FailureKeepsEveryImageAndTheTimer)
{
    auto queue = makeQueue(Method::direct);
    m_runner->outcome = ProcessOutcome{1, false, {}, "Error: File not found - /shots/gone.jpg\n"};
    queue->enqueue({image("/shots/a.jpg", "a"), image("/shots/gone.jpg", "b")});
    const auto result = writeAndWait(*queue);
    ASSERT_FALSE(result.has_value());
    EXPECT_TRUE(result.error().message().contains("File not found - /shots/gone.jpg"))
        << result.error().message().toStdString();
    EXPECT_EQ(queue->imageCount(), 2);
    EXPECT_TRUE(queue->hasTimer()); // the enqueue's timer retries later
    EXPECT_TRUE(queue->statusText().has_value());
}

TEST_F(MetadataQueueTest, MissingExiftoolOrCaptureOneWriterFailsAndKeepsTheImages)
{
    auto queue = makeQueue(Method::xmp);
    queue->setExiftoolLocation("/nowhere/exiftool");
    queue->enqueue({image("/shots/a.jpg", "a")});
    const auto result = writeAndWait(*queue);
    ASSERT_FALSE(result.has_value());
    EXPECT_TRUE(result.error().message().contains("exiftool not found at /nowhere/exiftool"));
    EXPECT_EQ(queue->imageCount(), 1);

    auto captureOne = makeQueue(Method::captureOne);
    captureOne->enqueue({image("/shots/a.jpg", "a")});
    EXPECT_FALSE(writeAndWait(*captureOne).has_value());
    EXPECT_EQ(captureOne->imageCount(), 1);
    EXPECT_TRUE(m_runner->calls().empty());
}

TEST_F(MetadataQueueTest, TimedWriteThatFailsPrintsEveryTextOfTheFailure)
{
    const struct {
        const char* name;
        ProcessRunResult outcome;
        const char* location;
        const char* printed;
    } cases[] = {
        {"not launched", std::unexpected(ProcessFailure{"execve: Permission denied"}), "/bin/true",
         "Exiftool could not be launched. execve: Permission denied (/bin/true)"},
        {"exiftool's own word", ProcessOutcome{1, false, {}, "Error: File not found - /s/x.jpg\n"},
         "/bin/true", "Error: File not found - /s/x.jpg"},
        {"not found", ProcessOutcome{}, "/nowhere/exiftool",
         "exiftool not found at /nowhere/exiftool"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto queue = makeQueue(Method::direct);
        queue->setExiftoolLocation(c.location);
        m_runner->outcome = c.outcome;
        queue->enqueue({image("/s/x.jpg", "x")});
        m_logged.clear();
        queue->write(); // as the timer does
        for (int i = 0; i < 2000 && !m_logged.join('\n').contains("Write finished"); ++i) {
            QCoreApplication::processEvents();
            QThread::msleep(5);
        }
        ASSERT_FALSE(m_printed.isEmpty());
        EXPECT_TRUE(m_printed.last().contains(c.printed)) << m_printed.last().toStdString();
    }
}

TEST_F(MetadataQueueTest, ChoosingTheWritersNeverWaitsForARunningWrite)
{
    auto queue = makeQueue(Method::direct);
    queue->enqueue({image("/shots/a.jpg", "a")});
    const struct {
        const char* name;
        std::function<void()> call;
    } cases[] = {
        {"choose the executable",
         [&] {
             queue->setExiftoolLocation("/bin/true");
         }},
        {"ask for the executable",
         [&] {
             queue->exiftoolLocation();
         }},
        {"choose the Capture One writer",
         [&] {
             queue->setCaptureOneWriter(nullptr);
         }},
    };
    // Kept until the write has ended: a call still waiting must not be
    // waited for while the write is held.
    std::vector<std::future<void>> calls;
    const auto result = writeAndWait(*queue, [&] {
        for (const auto& c : cases) {
            SCOPED_TRACE(c.name);
            calls.push_back(std::async(std::launch::async, c.call));
            EXPECT_EQ(calls.back().wait_for(std::chrono::seconds(5)), std::future_status::ready);
        }
    });
    EXPECT_TRUE(result.has_value());
}

TEST_F(MetadataQueueTest, ImagesEnqueuedDuringAWriteStayQueued)
{
    auto queue = makeQueue(Method::direct);
    queue->enqueue({image("/shots/a.jpg", "a"), image("/shots/b.jpg", "b")});
    // While exiftool runs: one new image, and a new version of one in the batch.
    const auto late = image("/shots/c.jpg", "c");
    const auto again = image("/shots/b.jpg", "b2");
    ASSERT_TRUE(writeAndWait(*queue, [&] { queue->enqueue({late, again}); }).has_value());

    const auto pending = queue->imageQueue();
    ASSERT_EQ(pending.size(), 2u);
    EXPECT_EQ(pending.at(QUrl::fromLocalFile("/shots/c.jpg")), late);
    EXPECT_EQ(pending.at(QUrl::fromLocalFile("/shots/b.jpg")), again);
    EXPECT_TRUE(queue->hasTimer()); // re-armed for what is left
}

TEST_F(MetadataQueueTest, TimerWritesByItselfAndPauseStopsIt)
{
    auto queue = makeQueue(Method::direct, 0.05);
    queue->setPaused(true);
    queue->enqueue({image("/shots/a.jpg", "a")}); // an enqueue arms it even while paused
    EXPECT_TRUE(queue->hasTimer());
    queue->setPaused(true);
    EXPECT_FALSE(queue->hasTimer());
    queue->setPaused(false);
    ASSERT_TRUE(queue->hasTimer());

    for (int i = 0; i < 2000 && queue->imageCount() > 0; ++i) { // 10 s at most
        QCoreApplication::processEvents();
        QThread::msleep(5);
    }
    EXPECT_EQ(queue->imageCount(), 0);
    EXPECT_EQ(m_runner->calls().size(), 1u);
    EXPECT_TRUE(m_printed.contains("MetadataQueue timer block has been called"));
}

TEST_F(MetadataQueueTest, EnqueueReplacesByUrlAndSaysSo)
{
    auto queue = makeQueue(Method::direct);
    queue->enqueue({});
    EXPECT_EQ(m_printed, QStringList({"Invalidating timer with 0 queued items",
                                      "Queue is empty, no need to create a timer",
                                      "Enqueueing 0 new image(s)\nQueue now contains 0 images"}));
    EXPECT_FALSE(queue->statusText().has_value());

    const auto later = image("/shots/a.jpg", "second");
    auto noUrl = std::make_shared<ExifImage>(ExifImage::Metadata{{"XMP:Title", "x"}});
    queue->enqueue({image("/shots/a.jpg", "first"), later, noUrl});
    EXPECT_EQ(queue->imageCount(), 1);
    EXPECT_EQ(queue->imageQueue().begin()->second, later);
    EXPECT_TRUE(m_printed.contains("Enqueueing 3 new image(s)\nQueue now contains 1 images"));
    EXPECT_TRUE(m_printed.contains("Creating timer for 1 queued items"));
    EXPECT_TRUE(m_printed.last().startsWith("Timer will fire at "));
    const QRegularExpression status("^Writing 1 item directly at .+\\.$");
    EXPECT_TRUE(status.match(queue->statusText().value_or("")).hasMatch());

    queue->clearQueue();
    EXPECT_EQ(queue->imageCount(), 0);
    EXPECT_FALSE(queue->hasTimer());
}

TEST(MetadataQueueShotlist, TakesTheCoordinatorsSourceAndImages)
{
    qb::testing::ensureApplication();
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
