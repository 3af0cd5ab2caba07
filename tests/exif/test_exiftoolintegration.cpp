// SPDX-License-Identifier: GPL-3.0-or-later
// These run the real exiftool on JPEG files made here.
#include "exif/currentvalues.h"
#include "exif/metadatareader.h"
#include "exif/writabletags.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qb;

namespace {

using Outcome = std::expected<QString, Error>;

// The system's runner, keeping a copy of each command line and its
// standard error.
class RecordingRunner : public SystemProcessRunner {
public:
    ProcessRunResult run(const QString& program, const QStringList& arguments) override
    {
        commandLines.push_back(arguments);
        ProcessRunResult result = SystemProcessRunner::run(program, arguments);
        if (result)
            errors.push_back(result->standardError);
        return result;
    }
    qint64 commandLineLimit() const override
    {
        return limit ? *limit : SystemProcessRunner::commandLineLimit();
    }

    std::vector<QStringList> commandLines;
    std::vector<QByteArray> errors;
    std::optional<qint64> limit;
};

// The one outcome that a call taking a completion delivers.
Outcome once(const std::function<void(const MetadataCompletion&)>& call)
{
    std::vector<Outcome> outcomes;
    call([&](Outcome outcome) { outcomes.push_back(std::move(outcome)); });
    EXPECT_EQ(outcomes.size(), 1u);
    return outcomes.empty() ? Outcome() : outcomes.front();
}

std::shared_ptr<ExifImage> imageWith(const QString& file, const ExifImage::Metadata& values)
{
    auto image = std::make_shared<ExifImage>(QUrl::fromLocalFile(file));
    image->merge(values, true);
    return image;
}

class ExiftoolIntegration : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!QFileInfo(installedExiftoolPath()).isExecutable())
            GTEST_SKIP() << "exiftool is not installed";
        ASSERT_TRUE(m_dir.isValid());
    }

    QString path(const QString& name) const { return m_dir.filePath(name); }

    QString makeJpeg(const QString& name) const
    {
        const QString file = path(name);
        QDir().mkpath(QFileInfo(file).path());
        QImage image(16, 16, QImage::Format_RGB32);
        image.fill(Qt::darkCyan);
        EXPECT_TRUE(image.save(file, "JPEG")) << file.toStdString();
        return file;
    }

    static QByteArray contents(const QString& file)
    {
        QFile in(file);
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
    }

    // Writes each image's values into its file (or its sidecar).
    Outcome write(const std::vector<std::shared_ptr<ExifImage>>& images, bool sidecars = false,
                  std::shared_ptr<ProcessRunner> runner = {}) const
    {
        MetadataReader writer(std::move(runner));
        writer.setVerbose(false);
        writer.addImages(images);
        const QString json = path("QuillbrookMetadata.json");
        if (const auto written = writer.writeJSON(json, sidecars); !written)
            return std::unexpected(written.error());
        return once([&](const MetadataCompletion& done) {
            sidecars ? writer.writeSidecars(json, done) : writer.writeImages(json, done);
        });
    }

    // What exiftool reads back of `tags` in `files`.
    static std::expected<MetadataReader::Images, Error> readBack(const QStringList& files,
                                                                 const QStringList& tags)
    {
        MetadataReader reader;
        reader.setVerbose(false);
        QList<QUrl> urls;
        for (const QString& file : files)
            urls << QUrl::fromLocalFile(file);
        const Outcome read =
            once([&](const MetadataCompletion& done) { reader.read(tags, urls, done); });
        if (!read)
            return std::unexpected(read.error());
        return reader.loadedImages();
    }

    QTemporaryDir m_dir;
};

TEST_F(ExiftoolIntegration, AwkwardTextAndListsRoundTripExactly)
{
    const QString file = makeJpeg("A.jpg");
    const QString title = QString::fromUtf8("He said \"hi\", then\nleft \\ back: 東京 — Ünïcode");
    const DynamicValue subjects = DynamicValue::stringList({"one, two", "東京", "back\\slash"});
    const auto written =
        write({imageWith(file, {{"XMP:Title", title}, {"XMP:Subject", subjects}})});
    ASSERT_TRUE(written.has_value()) << written.error().message().toStdString();
    EXPECT_EQ(*written, "Finished writing images.");

    const auto read = readBack({file}, {"XMP:Title", "XMP:Subject"});
    ASSERT_TRUE(read.has_value()) << read.error().message().toStdString();
    EXPECT_EQ(read->at(QUrl::fromLocalFile(file))->metadata,
              (ExifImage::Metadata{
                  {"SourceFile", file}, {"XMP:Title", title}, {"XMP:Subject", subjects}}));
}

TEST_F(ExiftoolIntegration, SidecarIsWrittenBesideTheUntouchedImage)
{
    const QString file = makeJpeg("shoot/A.jpg");
    const QByteArray before = contents(file);
    const auto written = write({imageWith(file, {{"XMP:Title", "Sidecar title"}})}, true);
    ASSERT_TRUE(written.has_value()) << written.error().message().toStdString();
    EXPECT_EQ(*written, "Finished writing XMP sidecar files.");

    EXPECT_EQ(contents(file), before);
    const QString sidecar = path("shoot/A.xmp");
    const auto read = readBack({sidecar}, {"XMP:Title"});
    ASSERT_TRUE(read.has_value()) << read.error().message().toStdString();
    EXPECT_EQ(read->at(QUrl::fromLocalFile(sidecar))->metadata.at("XMP:Title"), "Sidecar title");
}

TEST_F(ExiftoolIntegration, ABadBatchFailsClearlyAndTheGoodImagesAreStillWritten)
{
    const QString good1 = makeJpeg("good1.jpg");
    const QString good2 = makeJpeg("good2.jpg");
    for (const auto& [name, bytes] : {std::pair{"truncated.jpg", contents(good1).left(200)},
                                      std::pair{"notes.jpg", QByteArray("just some words\n")}}) {
        QFile damaged(path(name));
        ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
        damaged.write(bytes);
    }
    std::vector<std::shared_ptr<ExifImage>> batch;
    for (const char* name : {"good1.jpg", "truncated.jpg", "notes.jpg", "gone.jpg", "good2.jpg"})
        batch.push_back(imageWith(path(name), {{"XMP:Title", "Batch"}}));
    const auto written = write(batch);

    ASSERT_FALSE(written.has_value());
    EXPECT_EQ(written.error().errorDescription, "exiftool could not write the metadata.");
    for (const char* name : {"truncated.jpg", "notes.jpg", "gone.jpg"})
        EXPECT_TRUE(written.error().failureReason.contains(name)) << name;

    const auto read = readBack({good1, good2}, {"XMP:Title"});
    ASSERT_TRUE(read.has_value()) << read.error().message().toStdString();
    for (const QString& file : {good1, good2})
        EXPECT_EQ(read->at(QUrl::fromLocalFile(file))->metadata.at("XMP:Title"), "Batch");
}

TEST_F(ExiftoolIntegration, ABatchBeyondTheCommandLineLimitIsWrittenWhole)
{
    const QString original = makeJpeg("original.jpg");
    // Six folders of 200 letters: some 1,300 bytes a path, so a couple of
    // thousand files go beyond the limit.
    QString folder = m_dir.path() + "/";
    for (const char letter : {'a', 'b', 'c', 'd', 'e', 'f'})
        folder += QString(200, QLatin1Char(letter)) + "/";
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString stem = folder + QString(100, 'g');
    const qint64 limit = SystemProcessRunner().commandLineLimit();
    // Well beyond the limit, so that the command line itself would fail.
    const qint64 count = (limit + 256 * 1024) / (stem.toUtf8().size() + 16);
    if (count > 6000)
        GTEST_SKIP() << "this system's command line limit is too large to exceed quickly";

    std::vector<std::shared_ptr<ExifImage>> batch;
    for (qint64 i = 0; i < count; ++i) {
        const QString file = stem + QString::number(i) + ".jpg";
        ASSERT_TRUE(QFile::copy(original, file));
        batch.push_back(imageWith(file, {{"XMP:Title", "Title " + QString::number(i)}}));
    }
    const auto runner = std::make_shared<RecordingRunner>();
    const auto written = write(batch, false, runner);
    ASSERT_TRUE(written.has_value()) << written.error().message().toStdString();

    ASSERT_EQ(runner->commandLines.size(), 1u);
    EXPECT_TRUE(runner->commandLines[0].contains("-@"));
    // exiftool's own count, which it prints to standard error.
    EXPECT_TRUE(runner->errors.at(0).contains(QByteArray::number(count) + " image files updated"))
        << runner->errors.at(0).toStdString();
    const QString last = stem + QString::number(count - 1) + ".jpg";
    const auto read = readBack({last}, {"XMP:Title"});
    ASSERT_TRUE(read.has_value()) << read.error().message().toStdString();
    EXPECT_EQ(read->at(QUrl::fromLocalFile(last))->metadata.at("XMP:Title"),
              "Title " + QString::number(count - 1));
}

TEST_F(ExiftoolIntegration, ArgumentsReachExiftoolAlikeThroughAnArgumentFile)
{
    QStringList arguments;
    QByteArray expected;
    for (const QString text : {"two\nlines", "  leading blanks", "#not a comment", "-x= y",
                               "back\\slash \"quoted\" 東京", "trailing  ", ""}) {
        arguments << "-echo" << text;
        expected += text.toUtf8() + "\n";
    }
    for (const qint64 limit : {qint64(1) << 40, qint64(0)}) {
        SCOPED_TRACE(limit);
        const auto runner = std::make_shared<RecordingRunner>();
        runner->limit = limit;
        const ExifTool exiftool(installedExiftoolPath(), {}, runner);
        std::optional<std::expected<ProcessResult, ExiftoolError>> result;
        exiftool.run(arguments, [&](auto r) { result = std::move(r); });
        ASSERT_TRUE(result && result->has_value());
        EXPECT_EQ((*result)->response, expected);
        EXPECT_EQ(runner->commandLines.at(0).contains("-@"), limit == 0);
    }
}

TEST_F(ExiftoolIntegration, PlentyOfStandardErrorNeitherStallsTheRunNorFloodsTheUser)
{
    QStringList missing;
    for (int i = 0; i < 1000; ++i)
        missing << path(QString(180, 'm') + QString::number(i) + ".jpg");
    const auto read = readBack(missing, {});
    ASSERT_FALSE(read.has_value());
    // More than 64 KiB came through the pipe; a screenful reaches the user.
    const QStringList lines = read.error().failureReason.split('\n');
    ASSERT_EQ(lines.size(), 21);
    EXPECT_TRUE(lines.first().contains(missing.first()));
    const auto rest = QRegularExpression(QString::fromUtf8("^\u2026 \\((\\d+) more lines\\)$"))
                          .match(lines.last());
    ASSERT_TRUE(rest.hasMatch()) << lines.last().toStdString();
    EXPECT_GE(rest.captured(1).toInt(), 980);
}

// Plain text goes to exiftool as CSV; each value must arrive exactly as the
// same value sent as JSON does.
TEST_F(ExiftoolIntegration, PlainTextArrivesThroughCsvExactlyAsThroughJson)
{
    const QString title =
        QString::fromUtf8("He said \"hi\", then\nleft \\ back: 東京 — Ünïcode, ½");
    const std::vector<ExifImage::Metadata> rows = {
        {{"XMP-dc:Title", title}, {"EXIF:Artist", "Ann, Bob"}},
        {{"XMP-dc:Title", "  padded  "}, {"IPTC:City", "Malmö, 東京"}},
        {{"XMP-dc:Title", "a\r\nb"}, {"XMP-dc:Description", "\t-"}},
        {{"XMP-dc:Subject", DynamicValue::stringList({"studio", "東京", "look 1"})}},
        {{"XMP-dc:Subject", DynamicValue::stringList({" lead", "trail  ", "x\ny"})}},
        {{"XMP-dc:Subject", "solo"}, {"IPTC:Keywords", DynamicValue::stringList({"k"})}},
        // Items for a tag that is no list arrive joined.
        {{"XMP-dc:Title", DynamicValue::stringList({"a", "b"})}},
    };
    const auto tags =
        WritableTagsCache(path("cache")).tagsOf(installedExiftoolPath(), ExiftoolConfig::none());
    ASSERT_TRUE(tags);
    const auto batch = [&](const QString& folder) {
        std::vector<std::shared_ptr<ExifImage>> images;
        for (std::size_t i = 0; i < rows.size(); ++i)
            images.push_back(imageWith(makeJpeg(folder + QString::number(i) + ".jpg"), rows[i]));
        return images;
    };
    const auto written = [&](const std::vector<std::shared_ptr<ExifImage>>& images,
                             std::shared_ptr<const WritableTags> known) -> Outcome {
        auto runner = std::make_shared<RecordingRunner>();
        MetadataReader writer(runner);
        writer.setVerbose(false);
        const bool plain = bool(known);
        writer.setWritableTags(std::move(known));
        writer.addImages(images);
        const QString json = path("exchange/QuillbrookMetadata.json");
        if (const auto prepared = writer.writeJSON(json, false); !prepared)
            return std::unexpected(prepared.error());
        const Outcome outcome =
            once([&](const MetadataCompletion& done) { writer.writeImages(json, done); });
        EXPECT_EQ(runner->commandLines.front().front().startsWith("-csv="), plain);
        return outcome;
    };
    ASSERT_TRUE(written(batch("csv/"), tags));
    ASSERT_TRUE(written(batch("json/"), nullptr));
    QStringList csvFiles;
    QStringList jsonFiles;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        csvFiles << path("csv/%1.jpg").arg(i);
        jsonFiles << path("json/%1.jpg").arg(i);
    }
    const QStringList read = {"XMP-dc:all", "EXIF:Artist", "IPTC:all"};
    const auto throughCsv = readBack(csvFiles, read);
    const auto throughJson = readBack(jsonFiles, read);
    ASSERT_TRUE(throughCsv && throughJson);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(i);
        auto csvValues = throughCsv->at(QUrl::fromLocalFile(csvFiles[qsizetype(i)]))->metadata;
        auto jsonValues = throughJson->at(QUrl::fromLocalFile(jsonFiles[qsizetype(i)]))->metadata;
        csvValues.erase("SourceFile");
        jsonValues.erase("SourceFile");
        EXPECT_GE(csvValues.size(), rows[i].size());
        EXPECT_EQ(csvValues, jsonValues);
    }
}

// A read of tags that each name a group leaves exiftool's Composite tags
// out; one that may want them must still find them.
TEST_F(ExiftoolIntegration, ReadsFindTheTagsAskedForWithOrWithoutCompositeOnes)
{
    const QString file = makeJpeg("A.jpg");
    ASSERT_TRUE(write({imageWith(file, {{"XMP-dc:Title", "Look"}, {"EXIF:Artist", "Ann"}})}));
    const struct {
        QStringList tags;
        std::map<QString, QString> expected;
    } rows[] = {
        {{"XMP-dc:Title", "EXIF:Artist"}, {{"XMP-dc:Title", "Look"}, {"EXIF:Artist", "Ann"}}},
        {{"ImageSize"}, {{"ImageSize", "16 16"}}},
        {{"composite:ImageSize", "XMP:Title"},
         {{"composite:ImageSize", "16 16"}, {"XMP:Title", "Look"}}},
        {{"XMP:Title", "Megapixels"}, {{"XMP:Title", "Look"}, {"Megapixels", "0.000256"}}},
    };
    ExifTool exiftool(installedExiftoolPath(), {});
    for (const auto& row : rows) {
        SCOPED_TRACE(row.tags.join(' ').toStdString());
        const auto current = readCurrentValues(exiftool, {file}, row.tags, true);
        const auto exact = readExactValues(exiftool, {file}, row.tags);
        ASSERT_TRUE(current && exact);
        std::map<QString, QString> read;
        for (const auto& [tag, value] : current->at(file))
            read.emplace(tag, value.description());
        EXPECT_EQ(read, row.expected);
        read.clear();
        for (const auto& [tag, value] : exact->at(file))
            read.emplace(tag,
                         QString::fromStdString(value.raw.is_string() ? value.raw.get<std::string>()
                                                                      : value.raw.dump()));
        EXPECT_EQ(read, row.expected);
    }
}

} // namespace
