// SPDX-License-Identifier: GPL-3.0-or-later
// Real writes through the real exiftool, on JPEGs made here.
#include "clirunner.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <fcntl.h>
#include <unistd.h>

using namespace qb::test;

namespace {

class AssignWrite : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (const char* name : {"A1_1", "A1_2", "B2", "C3"})
            makeJpeg(m_dir.filePath("shoot/" + QString::fromLatin1(name) + ".jpg"));
        m_csv = write("data.csv", m_csvBytes);
        m_mappings = write("mappings.json", R"([
            {"keyName":"Title","destTag":"XMP-dc:Title","actions":{"mappers":[]}},
            {"keyName":"Keywords","destTag":"XMP-dc:Subject","actions":{"mappers":[
                {"attributes":{"delimiter":";"},"type":"array"}]}}])");
    }

    QString write(const QString& name, const QByteArray& bytes)
    {
        return writeFile(m_dir.filePath(name), bytes);
    }

    QStringList assign(const QString& method)
    {
        // clang-format off
        return {"assign", "--method", method, "--exiftool", "/usr/bin/exiftool",
                "--mappings", m_mappings, "--csv", m_csv, "--key", "Shot",
                m_dir.filePath("shoot")};
        // clang-format on
    }

    std::map<QString, QJsonObject> readBack(const QStringList& paths)
    {
        const CliResult result =
            runCli(QStringList{"read", "--exiftool", "/usr/bin/exiftool"} + paths);
        EXPECT_EQ(result.status, 0) << result.err.toStdString();
        std::map<QString, QJsonObject> byName;
        for (const auto& entry : QJsonDocument::fromJson(result.out.toUtf8()).array()) {
            const QJsonObject object = entry.toObject();
            byName[QFileInfo(object["SourceFile"].toString()).fileName()] = object;
        }
        return byName;
    }

    const QByteArray m_csvBytes =
        "Shot,Title,Keywords\n"
        "A1,\"Quote \"\"q\"\", comma, back\\\\slash\nline two \xe6\x97\xa5\xe6\x9c\xac\",a;b\n"
        "B2,Plain,solo\n";
    QTemporaryDir m_dir;
    QString m_csv;
    QString m_mappings;
};

TEST_F(AssignWrite, DirectWriteRoundTripsEveryCharacter)
{
    // Finishing well inside the 60 s timer shows the command waits for the
    // write it asked for, not for the timer.
    const CliResult result = runCli(assign("direct"), {}, {}, 45000);
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, "Finished writing images. 3 written, 0 unchanged, 0 failed.\n");

    const auto images = readBack({m_dir.filePath("shoot")});
    ASSERT_EQ(images.size(), 4u);
    const QString expected =
        QString::fromUtf8("Quote \"q\", comma, back\\\\slash\nline two \xe6\x97\xa5\xe6\x9c\xac");
    for (const char* name : {"A1_1.jpg", "A1_2.jpg"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(images.at(name)["XMP:Title"].toString(), expected);
        EXPECT_EQ(images.at(name)["XMP:Subject"].toArray(), QJsonArray({"a", "b"}));
    }
    EXPECT_EQ(images.at("B2.jpg")["XMP:Subject"].toString(),
              "solo"); // one element reads back as text
    EXPECT_FALSE(images.at("C3.jpg").contains("XMP:Title"));
    EXPECT_TRUE(QDir(m_dir.filePath("shoot")).entryList({"*_original"}).isEmpty());
}

TEST_F(AssignWrite, XmpWriteLeavesTheImagesAlone)
{
    const QByteArray before = [&] {
        QFile file(m_dir.filePath("shoot/B2.jpg"));
        file.open(QIODevice::ReadOnly);
        return file.readAll();
    }();
    const CliResult result = runCli(assign("xmp"));
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_EQ(result.out,
              "Finished writing XMP sidecar files. 3 written, 0 unchanged, 0 failed.\n");
    QFile after(m_dir.filePath("shoot/B2.jpg"));
    ASSERT_TRUE(after.open(QIODevice::ReadOnly));
    EXPECT_EQ(after.readAll(), before);
    const auto sidecars =
        readBack({m_dir.filePath("shoot/B2.xmp"), m_dir.filePath("shoot/A1_1.xmp")});
    EXPECT_EQ(sidecars.at("B2.xmp")["XMP:Title"].toString(), "Plain");
    EXPECT_FALSE(QFile::exists(m_dir.filePath("shoot/C3.xmp")));
}

TEST_F(AssignWrite, NameExtSidecarsLandWhereDarktableLooks)
{
    makeJpeg(m_dir.filePath("shoot/B2.CR3")); // a raw file's name, a JPEG's bytes
    const CliResult result = runCli(assign("xmp") << "--sidecar-name"
                                                  << "name.ext");
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    for (const char* name : {"B2.xmp", "A1_1.xmp", "C3.jpg.xmp"})
        EXPECT_FALSE(QFile::exists(m_dir.filePath("shoot/") + name)) << name;
    const auto sidecars =
        readBack({m_dir.filePath("shoot/B2.jpg.xmp"), m_dir.filePath("shoot/B2.CR3.xmp"),
                  m_dir.filePath("shoot/A1_1.jpg.xmp")});
    EXPECT_EQ(sidecars.at("B2.CR3.xmp")["XMP:Title"].toString(), "Plain");
    EXPECT_EQ(sidecars.at("B2.jpg.xmp")["XMP:Title"].toString(), "Plain");
    EXPECT_EQ(sidecars.at("A1_1.jpg.xmp")["XMP:Subject"].toArray(), QJsonArray({"a", "b"}));

    const CliResult bad = runCli(assign("xmp") << "--sidecar-name"
                                               << "ext");
    EXPECT_EQ(bad.status, 2);
    EXPECT_TRUE(bad.err.contains("use name or name.ext")) << bad.err.toStdString();
}

TEST_F(AssignWrite, PrivateFolderIsFreshAndLinksPlantedForItStayUntouched)
{
    // Links that someone else could plant in a shared temporary directory
    // where a folder with a foreseeable name would go: the process ids the
    // system hands out next.
    QFile lastPid("/proc/sys/kernel/ns_last_pid");
    ASSERT_TRUE(lastPid.open(QIODevice::ReadOnly));
    const int next = lastPid.readAll().trimmed().toInt() + 1;
    for (const char* method : {"direct", "xmp"}) {
        SCOPED_TRACE(method);
        QTemporaryDir temp;
        QTemporaryDir elsewhere;
        QStringList planted;
        for (int pid = next; pid < next + 2000; ++pid) {
            planted << QStringLiteral("quillbrook-%1-%2").arg(pid).arg(method);
            ASSERT_TRUE(QFile::link(elsewhere.path(), temp.filePath(planted.last())));
        }
        planted << "quillbrook-AAAAAA";
        ASSERT_TRUE(QFile::link(elsewhere.path(), temp.filePath(planted.last())));

        const CliResult result = runCli(assign(method), {}, {}, 120000, {"TMPDIR=" + temp.path()});
        ASSERT_EQ(result.status, 0) << result.err.toStdString();
        planted.sort();
        QStringList left =
            QDir(temp.path())
                .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System | QDir::Hidden);
        left.removeAll(QStringLiteral("quillbrook-%1-write.lock").arg(::getuid())); // empty
        left.sort();
        EXPECT_EQ(left, planted); // nothing of the write stays behind
        EXPECT_EQ(QFileInfo(temp.filePath(planted.first())).symLinkTarget(), elsewhere.path());
        EXPECT_TRUE(QDir(elsewhere.path()).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot));
    }
}

TEST_F(AssignWrite, WhatWouldBeWrittenWrongIsRefusedOrTold)
{
    const auto rule = [](const char* column, const char* tag) {
        return QStringLiteral(R"({"keyName":"%1","destTag":"%2","actions":{"mappers":[]}})")
            .arg(QLatin1String(column), QLatin1String(tag));
    };
    const QString csv = QString::fromLatin1(m_csvBytes);
    struct Case {
        const char* name;
        const char* method;
        QStringList rules;
        QString csv;
        int status;
        QString err;
        QString out;
        QString titleOfB2; // as read back afterwards
    };
    const Case cases[] = {
        {"misspelled tag",
         "direct",
         {rule("Title", "XMP-dc:Titel")},
         csv,
         2,
         "exiftool doesn\u2019t know \u201cXMP-dc:Titel\u201d as a tag it can write. Nothing was "
         "written.",
         "",
         ""},
        {"column not in the data",
         "direct",
         {rule("Titel", "XMP-dc:Title"), rule("Keywords", "XMP-dc:Subject")},
         csv,
         0,
         "The rule for \u201cTitel\u201d writes nothing: the data has no column of that name.",
         "Finished writing images. 3 written, 0 unchanged, 0 failed.\n",
         ""},
        {"value exiftool passes over",
         "direct",
         {rule("Title", "XMP-xmp:Rating")},
         csv,
         1,
         "0 written, 0 unchanged, 3 failed",
         "",
         ""},
        {"tag a sidecar can't hold",
         "xmp",
         {rule("Title", "XMP-dc:Title"), rule("Keywords", "IPTC:Keywords")},
         csv,
         0,
         "XMP sidecars can\u2019t hold IPTC:Keywords: left out.",
         "Finished writing XMP sidecar files. 3 written, 0 unchanged, 0 failed.\n",
         "Plain"},
        {"literal base64",
         "direct",
         {rule("Title", "XMP-dc:Title")},
         "Shot,Title\nB2,base64:aGVsbG8=\n",
         0,
         "",
         "Finished writing images. 1 written, 0 unchanged, 0 failed.\n",
         "base64:aGVsbG8="},
        {"NUL in a value",
         "direct",
         {rule("Title", "XMP-dc:Title")},
         QStringLiteral("Shot,Title\nB2,one") + QChar(0) + "two\n",
         2,
         "The value of XMP-dc:Title for \u201cB2.jpg\u201d holds a NUL character.",
         "",
         ""},
    };
    int number = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QString folder = QStringLiteral("case%1").arg(++number);
        for (const char* name : {"A1_1", "A1_2", "B2"})
            makeJpeg(m_dir.filePath(folder + "/" + QLatin1String(name) + ".jpg"));
        const QString mappings = write(folder + ".json", ('[' + c.rules.join(',') + ']').toUtf8());
        const QString data = write(folder + ".csv", c.csv.toUtf8());
        // clang-format off
        const CliResult result = runCli({"assign", "--method", c.method, "--exiftool",
            "/usr/bin/exiftool", "--mappings", mappings, "--csv", data, "--key", "Shot",
            m_dir.filePath(folder)});
        // clang-format on
        EXPECT_EQ(result.status, c.status) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(c.err)) << result.err.toStdString();
        EXPECT_EQ(result.out, c.out);
        const QString sidecar = m_dir.filePath(folder + "/B2.xmp");
        const auto b2 =
            readBack({QFile::exists(sidecar) ? sidecar : m_dir.filePath(folder + "/B2.jpg")});
        // exiftool's JSON answers a text that begins with "base64:" in that form.
        QString title = b2.begin()->second["XMP:Title"].toString();
        if (title.startsWith("base64:"))
            title = QString::fromUtf8(QByteArray::fromBase64(title.mid(7).toLatin1()));
        EXPECT_EQ(title, c.titleOfB2);
    }
}

TEST_F(AssignWrite, AmbiguousRowsAreToldAndStrictWritesNothing)
{
    for (const char* name : {"S12_0001", "S1_0002", "T9"})
        makeJpeg(m_dir.filePath("overlap/" + QString::fromLatin1(name) + ".jpg"));
    // A totals row, whose key cell is blank, and a key that begins another.
    const QString csv = write("overlap.csv", "Shot,Title\nS1,one\nS12,twelve\n,\n");
    const QStringList lines{
        "A row with an empty key matches every image under \u201cbegins with\u201d",
        "S12_0001.jpg matched 2 rows: S1, S12"};
    const struct {
        const char* name;
        QStringList options;
        int status;
        bool written;
    } cases[] = {{"dry run", {"--dry-run"}, 0, false},
                 {"strict", {"--strict"}, 2, false},
                 {"told", {}, 0, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const CliResult result =
            runCli(QStringList{"assign", "--method", "direct", "--exiftool", "/usr/bin/exiftool",
                               "--mappings", m_mappings, "--csv", csv, "--key", "Shot"} +
                   c.options + QStringList{m_dir.filePath("overlap")});
        EXPECT_EQ(result.status, c.status) << result.err.toStdString();
        for (const QString& line : lines)
            EXPECT_TRUE(result.err.contains(line)) << result.err.toStdString();
        // The merge rule stands: every image gets a row, and S12_0001 one
        // of the two titles.
        const auto images = readBack({m_dir.filePath("overlap")});
        EXPECT_EQ(images.at("S12_0001.jpg").contains("XMP:Title"), c.written);
        // T9's row is the totals row, whose empty title leaves its file alone.
        EXPECT_EQ(result.out.startsWith("Finished writing images. 2 written, 1 unchanged"),
                  c.written);
    }
}

TEST_F(AssignWrite, ImagesWhoseNamesAreNotUtf8AreListedAsLeftOut)
{
    const QByteArray shoot = QFile::encodeName(m_dir.filePath("shoot"));
    const struct {
        QByteArray name;
        const char* listed; // as listed; empty when it isn't an image
    } files[] = {
        {"B2\xe9.jpg", "/B2\\xE9.jpg"},
        {"A1_\xff\xfe.JPG", "/A1_\\xFF\\xFE.JPG"},
        {"caf\xc3\xa9\xe9.tif", "/caf\u00e9\\xE9.tif"},
        {"notes\xe9.txt", ""},
    };
    for (const auto& file : files) {
        const int fd = ::open((shoot + '/' + file.name).constData(), O_CREAT | O_WRONLY, 0600);
        ASSERT_GE(fd, 0);
        ::close(fd);
    }
    const CliResult result = runCli(assign("direct"));
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    for (const auto& file : files) {
        if (!*file.listed)
            continue;
        SCOPED_TRACE(file.name.toStdString());
        EXPECT_TRUE(result.err.contains("left out, as its name isn\u2019t UTF-8: " +
                                        m_dir.filePath("shoot") + QString::fromUtf8(file.listed)))
            << result.err.toStdString();
    }
    EXPECT_FALSE(result.err.contains("notes")); // not an image
    // The walk went on past them: every image with a row was written.
    EXPECT_EQ(result.out,
              "Finished writing images. 3 written, 0 unchanged, 0 failed, 3 left out.\n");
}

TEST_F(AssignWrite, FailuresExitWithStatusOneAndTheirTexts)
{
    QStringList missing = assign("direct");
    missing[4] = m_dir.filePath("no-exiftool");
    const CliResult notFound = runCli(missing);
    EXPECT_EQ(notFound.status, 1);
    EXPECT_TRUE(notFound.err.contains("exiftool not found at " + m_dir.filePath("no-exiftool")))
        << notFound.err.toStdString();

    write("shoot/B2.jpg", QByteArray("\xff\xd8\xff\xe0 truncated", 14));
    const CliResult damaged = runCli(assign("direct"));
    EXPECT_EQ(damaged.status, 1);
    EXPECT_TRUE(damaged.err.contains("B2.jpg")) << damaged.err.toStdString();
    EXPECT_TRUE(damaged.out.isEmpty());
    // The good images of the batch were still written.
    EXPECT_EQ(readBack({m_dir.filePath("shoot/A1_1.jpg")}).at("A1_1.jpg")["XMP:Subject"].toArray(),
              QJsonArray({"a", "b"}));

    QStringList badMethod = assign("direct");
    badMethod[2] = "carrier-pigeon";
    EXPECT_EQ(runCli(badMethod).status, 2);
}

} // namespace
