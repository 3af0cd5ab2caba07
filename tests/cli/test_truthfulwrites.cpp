// SPDX-License-Identifier: GPL-3.0-or-later
// Writes through the real exiftool into files as a studio has them: links,
// case twins, old IPTC, files in use, leftovers of crashes, formats that
// hold nothing, and reports that must tell the truth.
#include "../support/filewriter.h"
#include "clirunner.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <functional>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace qb::test;

namespace {

const QString exiftool = QStringLiteral("/usr/bin/exiftool");

QString rule(const char* column, const char* tag)
{
    return QStringLiteral(R"({"keyName":"%1","destTag":"%2","actions":{"mappers":[]}})")
        .arg(QLatin1String(column), QLatin1String(tag));
}

// Runs exiftool itself, to make files as other tools leave them and to
// read back what a write put there.
QByteArray runExiftool(const QStringList& arguments)
{
    QProcess process;
    process.start(exiftool, arguments);
    EXPECT_TRUE(process.waitForFinished(60000));
    return process.readAllStandardOutput();
}

QJsonObject tagsOf(const QString& path, const QStringList& tags = {"-a"})
{
    const QJsonArray answer =
        QJsonDocument::fromJson(runExiftool(QStringList{"-j", "-G1"} + tags + QStringList{path}))
            .array();
    return answer.isEmpty() ? QJsonObject() : answer.first().toObject();
}

using Writer = qb::testing::FileWriter;

void setOld(const QString& path)
{
    const qint64 hourAgo = QDateTime::currentSecsSinceEpoch() - 3600;
    const timespec times[2] = {{hourAgo, 0}, {hourAgo, 0}};
    ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0);
}

void setImmutable(const QString& path, bool immutable)
{
    QProcess::execute("chattr", {immutable ? "+i" : "-i", path});
}

class TruthfulWrite : public ::testing::Test {
protected:
    QString path(const QString& relative) const { return m_dir.filePath(relative); }

    CliResult assign(const QString& folder, const QStringList& rules, const QByteArray& csv,
                     const QStringList& options = {})
    {
        const QString mappings =
            writeFile(path(folder + ".json"), ('[' + rules.join(',') + ']').toUtf8());
        const QString data = writeFile(path(folder + ".csv"), csv);
        return runCli(QStringList{"assign", "--exiftool", exiftool, "--mappings", mappings, "--csv",
                                  data, "--key", "Shot"} +
                      options + QStringList{path(folder)});
    }

    QTemporaryDir m_dir;
};

// Each row makes a folder as a studio has it, writes it, and looks at what
// became of the files.
TEST_F(TruthfulWrite, FilesKeepWhatTheyAreAndEveryRuleActs)
{
    const QByteArray csv = "Shot,Title,Other,Keywords\nA1,Gr\xc3\xb6\xc3\x9f"
                           "e,other,\"  \"\n";
    const QString title = QStringLiteral("Gr\u00f6\u00dfe");
    const struct {
        const char* name;
        std::function<void(const QString& folder)> setUp;
        QStringList rules;
        QStringList options;
        const char* err; // a line stderr holds
        std::function<void(const QString& folder)> check;
    } cases[] = {
        {"a symbolic link is followed and stays a link",
         [&](const QString& folder) {
             makeJpeg(path(folder + "-real/A1.jpg"));
             QDir().mkpath(path(folder));
             QFile::link(path(folder + "-real/A1.jpg"), path(folder + "/A1.jpg"));
         },
         {rule("Title", "XMP-dc:Title")},
         {},
         "",
         [&](const QString& folder) {
             EXPECT_TRUE(QFileInfo(path(folder + "/A1.jpg")).isSymLink());
             EXPECT_EQ(tagsOf(path(folder + "-real/A1.jpg"))["XMP-dc:Title"], title);
         }},
        {"a hard link stays one file",
         [&](const QString& folder) {
             makeJpeg(path(folder + "/A1.jpg"));
             QDir().mkpath(path(folder + "-other"));
             ::link(QFile::encodeName(path(folder + "/A1.jpg")).constData(),
                    QFile::encodeName(path(folder + "-other/copy.jpg")).constData());
         },
         {rule("Title", "XMP-dc:Title")},
         {},
         "",
         [&](const QString& folder) {
             struct stat one {
             }, other{};
             ::stat(QFile::encodeName(path(folder + "/A1.jpg")).constData(), &one);
             ::stat(QFile::encodeName(path(folder + "-other/copy.jpg")).constData(), &other);
             EXPECT_EQ(one.st_ino, other.st_ino);
             EXPECT_EQ(tagsOf(path(folder + "-other/copy.jpg"))["XMP-dc:Title"], title);
         }},
        {"extended attributes stay",
         [&](const QString& folder) {
             makeJpeg(path(folder + "/A1.jpg"));
             ::setxattr(QFile::encodeName(path(folder + "/A1.jpg")).constData(), "user.rating", "5",
                        1, 0);
         },
         {rule("Title", "XMP-dc:Title")},
         {},
         "",
         [&](const QString& folder) {
             char value[8] = {};
             EXPECT_EQ(::getxattr(QFile::encodeName(path(folder + "/A1.jpg")).constData(),
                                  "user.rating", value, sizeof value),
                       1);
             EXPECT_EQ(tagsOf(path(folder + "/A1.jpg"))["XMP-dc:Title"], title);
         }},
        {"a sidecar named in capitals is the one written",
         [&](const QString& folder) {
             makeJpeg(path(folder + "/A1.jpg"));
             runExiftool({"-q", "-o", path(folder + "/A1.XMP"), path(folder + "/A1.jpg")});
             runExiftool({"-q", "-overwrite_original", "-XMP-dc:Title=old", "-XMP-xmp:Rating=3",
                          path(folder + "/A1.XMP")});
         },
         {rule("Title", "XMP-dc:Title")},
         {"--method", "xmp"},
         "",
         [&](const QString& folder) {
             EXPECT_FALSE(QFile::exists(path(folder + "/A1.xmp")));
             const QJsonObject sidecar = tagsOf(path(folder + "/A1.XMP"));
             EXPECT_EQ(sidecar["XMP-dc:Title"], title);
             EXPECT_EQ(sidecar["XMP-xmp:Rating"], 3);
         }},
        {"Latin-1 IPTC is rewritten as UTF-8",
         [&](const QString& folder) {
             makeJpeg(path(folder + "/A1.jpg"));
             runExiftool({"-q", "-overwrite_original", "-charset", "iptc=latin1",
                          "-IPTC:By-line=J\u00fcrgen M\u00fcller", "-IPTC:City=K\u00f6ln",
                          "-IPTC:Keywords=Stra\u00dfe", "-IPTC:Keywords=plain",
                          path(folder + "/A1.jpg")});
         },
         {rule("Title", "IPTC:Caption-Abstract")},
         {},
         "",
         [&](const QString& folder) {
             const QJsonObject iptc = tagsOf(path(folder + "/A1.jpg"));
             EXPECT_EQ(iptc["IPTC:CodedCharacterSet"], "UTF8");
             EXPECT_EQ(iptc["IPTC:By-line"], "J\u00fcrgen M\u00fcller");
             EXPECT_EQ(iptc["IPTC:City"], "K\u00f6ln");
             EXPECT_EQ(iptc["IPTC:Keywords"], QJsonArray({"Stra\u00dfe", "plain"}));
             EXPECT_EQ(iptc["IPTC:Caption-Abstract"], title);
         }},
        {"one column into XMP, IPTC and EXIF; two rows on one tag",
         [&](const QString& folder) { makeJpeg(path(folder + "/A1.jpg")); },
         {rule("Title", "XMP-dc:Description"), rule("Title", "IPTC:Caption-Abstract"),
          rule("Title", "EXIF:ImageDescription"), rule("Other", "XMP-dc:Description")},
         {},
         "The rule for \u201cOther\u201d (row 4) writes XMP-dc:Description, as the rule for "
         "\u201cTitle\u201d (row 1) does",
         [&](const QString& folder) {
             const QJsonObject tags = tagsOf(path(folder + "/A1.jpg"));
             EXPECT_EQ(tags["XMP-dc:Description"], title);
             EXPECT_EQ(tags["IPTC:Caption-Abstract"], title);
             EXPECT_EQ(tags["IFD0:ImageDescription"], title);
         }},
        {"a blank cell keeps the file's keywords",
         [&](const QString& folder) {
             makeJpeg(path(folder + "/A1.jpg"));
             runExiftool(
                 {"-q", "-overwrite_original", "-XMP-dc:Subject=kept", path(folder + "/A1.jpg")});
         },
         {rule("Title", "XMP-dc:Title"), rule("Keywords", "XMP-dc:Subject")},
         {},
         "",
         [&](const QString& folder) {
             EXPECT_EQ(tagsOf(path(folder + "/A1.jpg"))["XMP-dc:Subject"], "kept");
         }},
        {"with --empty-cells clear a blank cell clears them",
         [&](const QString& folder) {
             makeJpeg(path(folder + "/A1.jpg"));
             runExiftool(
                 {"-q", "-overwrite_original", "-XMP-dc:Subject=gone", path(folder + "/A1.jpg")});
         },
         {rule("Title", "XMP-dc:Title"), rule("Keywords", "XMP-dc:Subject")},
         {"--empty-cells", "clear"},
         "",
         [&](const QString& folder) {
             EXPECT_FALSE(tagsOf(path(folder + "/A1.jpg")).contains("XMP-dc:Subject"));
         }},
    };
    int number = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const QString folder = QStringLiteral("case%1").arg(++number);
        c.setUp(folder);
        const CliResult result = assign(folder, c.rules, csv, c.options);
        EXPECT_EQ(result.status, 0) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(QString::fromUtf8(c.err))) << result.err.toStdString();
        c.check(folder);
    }
}

// Each row leaves one file in a state that must not end as "unchanged",
// beside one that writes as usual.
TEST_F(TruthfulWrite, EachFileIsCalledWhatBecameOfIt)
{
    const QByteArray csv = "Shot,Title\nA1,new\nB2,new\n";
    const struct {
        const char* name;
        const char* file; // A1's name
        std::function<std::shared_ptr<void>(const QString& file)> setUp;
        int status;
        const char* counts;
        const char* outcome; // A1's in the report
        const char* message; // A line of A1's message
    } cases[] = {
        {"a stale temporary file goes", "A1.jpg",
         [](const QString& file) {
             writeFile(file + "_exiftool_tmp", "half");
             setOld(file + "_exiftool_tmp");
             return nullptr;
         },
         0, "2 written, 0 unchanged, 0 failed", "written", "_exiftool_tmp, left behind by"},
        {"a temporary file another exiftool holds stays", "A1.jpg",
         [](const QString& file) {
             writeFile(file + "_exiftool_tmp", "half");
             return std::make_shared<Writer>(file + "_exiftool_tmp");
         },
         1, "1 written, 0 unchanged, 1 failed", "failed", "Temporary file already exists"},
        {"a file still being written is left out", "A1.jpg",
         [](const QString& file) { return std::make_shared<Writer>(file); }, 0,
         "1 written, 0 unchanged, 0 failed, 1 left out", "left out", "still being written"},
        {"a format that holds none of the tags", "A1.ppm",
         [](const QString& file) {
             writeFile(file, QByteArray("P6\n2 2\n255\n") + QByteArray(12, '\0'));
             return nullptr;
         },
         1, "1 written, 0 unchanged, 1 failed", "failed", "exiftool wrote none of the values"},
        {"an immutable file", "A1.jpg",
         [](const QString& file) {
             setImmutable(file, true);
             return std::shared_ptr<void>(nullptr, [file](void*) { setImmutable(file, false); });
         },
         1, "1 written, 0 unchanged, 1 failed", "failed", "Error renaming temporary file"},
    };
    int number = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const QString folder = QStringLiteral("outcome%1").arg(++number);
        const QString a1 = path(folder + "/" + QLatin1String(c.file));
        makeJpeg(a1);
        makeJpeg(path(folder + "/B2.jpg"));
        const auto held = c.setUp(a1);
        const QByteArray before = [&] {
            QFile file(a1);
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        }();
        const QString report = path(folder + "-report.json");
        const CliResult result = assign(folder, {rule("Title", "XMP-dc:Title")}, csv,
                                        {"--method", "direct", "--report", report});
        EXPECT_EQ(result.status, c.status) << result.err.toStdString();
        EXPECT_TRUE((result.out + result.err).contains(QLatin1String(c.counts)))
            << result.out.toStdString() << result.err.toStdString();
        QFile saved(report);
        ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
        const QJsonArray files =
            QJsonDocument::fromJson(saved.readAll()).object()["files"].toArray();
        bool found = false;
        for (const auto& entry : files) {
            const QJsonObject file = entry.toObject();
            if (file["file"].toString() != a1)
                continue;
            found = true;
            EXPECT_EQ(file["outcome"].toString(), QLatin1String(c.outcome));
            EXPECT_TRUE(file["message"].toString().contains(QLatin1String(c.message)))
                << file["message"].toString().toStdString();
        }
        EXPECT_TRUE(found);
        if (QLatin1String(c.outcome) != QLatin1String("written")) {
            QFile file(a1);
            ASSERT_TRUE(file.open(QIODevice::ReadOnly));
            EXPECT_EQ(file.readAll(), before) << "the file was touched";
        }
    }
}

// An exiftool that dies in the middle of one of the write's chunks: its
// files failed, the other chunk's were written, and the exit says so.
TEST_F(TruthfulWrite, FilesOfAKilledChunkFailed)
{
    QByteArray csv = "Shot,Title\n";
    const QString first = makeJpeg(path("chunks/S00.jpg"));
    for (int i = 0; i < 48; ++i) {
        const QString name = QStringLiteral("S%1").arg(i, 2, 10, QLatin1Char('0'));
        if (i > 0) {
            ASSERT_TRUE(QFile::copy(first, path("chunks/" + name + ".jpg")));
        }
        csv += name.toLatin1() + ",t\n";
    }
    const QString killer = writeFile(path("killing-exiftool"),
                                     "#!/bin/sh\ncase \"$*\" in *QuillbrookMetadata-2.json*) "
                                     "kill -9 $$;; esac\nexec /usr/bin/exiftool \"$@\"\n");
    QFile::setPermissions(killer, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    const QString mappings =
        writeFile(path("chunks.json"), ('[' + rule("Title", "XMP-dc:Title") + ']').toUtf8());
    const QString data = writeFile(path("chunks.csv"), csv);
    const CliResult result =
        runCli({"assign", "--exiftool", killer, "--mappings", mappings, "--csv", data, "--key",
                "Shot", "--method", "direct", "--jobs", "2", "--no-journal", path("chunks")});
    EXPECT_EQ(result.status, 1) << result.err.toStdString();
    EXPECT_TRUE(result.err.contains("24 written, 0 unchanged, 24 failed"))
        << result.err.toStdString();
    EXPECT_TRUE(result.err.contains("failed: " + path("chunks/S47.jpg")))
        << result.err.toStdString();
}

TEST_F(TruthfulWrite, AReportIsCheckedFirstAndAlwaysTellsTheRun)
{
    makeJpeg(path("shoot/A1.jpg"));
    const QString a1 = path("shoot/A1.jpg");
    const QDateTime before = QFileInfo(a1).lastModified();
    QDir().mkpath(path("folder"));
    writeFile(path("immutable.json"), "{}");
    setImmutable(path("immutable.json"), true);
    const struct {
        const char* name;
        QString report;
        const char* err;
    } refused[] = {
        {"a folder", path("folder"), "--report names a folder"},
        {"a missing folder", path("nowhere/report.json"), "there is no folder"},
        {"one of the images", a1, "--report names one of the images to write"},
        {"an immutable stale report", path("immutable.json"), "can\u2019t be replaced"},
    };
    for (const auto& c : refused) {
        SCOPED_TRACE(c.name);
        const CliResult result = assign("shoot", {rule("Title", "XMP-dc:Title")},
                                        "Shot,Title\nA1,t\n", {"--report", c.report});
        EXPECT_EQ(result.status, 2) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(QString::fromUtf8(c.err))) << result.err.toStdString();
        EXPECT_EQ(QFileInfo(a1).lastModified(), before) << "an image was written";
    }
    setImmutable(path("immutable.json"), false);

    // A run that writes nothing replaces a stale report; a plan is a report too.
    const QString report = writeFile(path("report.json"), "stale");
    const struct {
        const char* name;
        QStringList options;
        const char* csv;
        const char* key;
        QString value;
    } plans[] = {
        {"nothing matched",
         {},
         "Shot,Title\nZ9,t\n",
         "note",
         "no image matched a row; nothing was written"},
        {"dry run", {"--dry-run"}, "Shot,Title\nA1,t\n", "plan", "dry run"},
        {"preview", {"--preview"}, "Shot,Title\nA1,t\n", "plan", "preview"},
    };
    for (const auto& c : plans) {
        SCOPED_TRACE(c.name);
        writeFile(report, "stale");
        const CliResult result = assign("shoot", {rule("Title", "XMP-dc:Title")}, c.csv,
                                        c.options + QStringList{"--report", report});
        EXPECT_EQ(result.status, 0) << result.err.toStdString();
        QFile saved(report);
        ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
        EXPECT_EQ(QJsonDocument::fromJson(saved.readAll()).object()[c.key].toString(), c.value);
    }
}

TEST_F(TruthfulWrite, ValuesBeyondWhatATagHoldsAreRefusedBeforeTheWrite)
{
    const struct {
        const char* name;
        const char* tag;
        int bytes;
        int status;
        const char* err;
    } cases[] = {
        {"IPTC caption", "IPTC:Caption-Abstract", 2001, 2, "IPTC holds 2000 there"},
        {"IPTC caption at its limit", "IPTC:Caption-Abstract", 2000, 0, ""},
        {"IPTC by-line", "IPTC:By-line", 33, 2, "IPTC holds 32 there"},
        {"EXIF in a JPEG", "EXIF:ImageDescription", 70000, 2,
         "a JPEG holds all its EXIF in one segment of 65533 bytes"},
        {"XMP", "XMP-dc:Description", 100000, 0, ""},
    };
    int number = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const QString folder = QStringLiteral("size%1").arg(++number);
        makeJpeg(path(folder + "/A1.jpg"));
        const CliResult result = assign(folder, {rule("Title", c.tag)},
                                        "Shot,Title\nA1," + QByteArray(c.bytes, 'x') + "\n");
        EXPECT_EQ(result.status, c.status) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(QLatin1String(c.err))) << result.err.toStdString();
        if (c.status == 2) {
            EXPECT_TRUE(result.err.contains(QStringLiteral("A1.jpg\u201d (the rule for "
                                                           "\u201cTitle\u201d) takes %1 bytes")
                                                .arg(c.bytes)))
                << result.err.toStdString();
        }
    }
}

TEST_F(TruthfulWrite, ThePreviewReadsWhatTheWriteWouldChange)
{
    makeJpeg(path("shoot/A1.jpg"));
    runExiftool({"-q", "-overwrite_original", "-XMP-dc:Title=in the image", "-EXIF:FNumber=5",
                 "-EXIF:DateTimeOriginal=2024:01:02 10:00:00", path("shoot/A1.jpg")});
    runExiftool({"-q", "-o", path("shoot/A1.xmp"), path("shoot/A1.jpg")});
    runExiftool(
        {"-q", "-overwrite_original", "-XMP-dc:Title=in the sidecar", path("shoot/A1.xmp")});
    writeFile(path("shoot/B2.jpg"), QByteArray(64, '\x17'));
    const QByteArray csv = "Shot,Title,F,Date\nA1,new,5.0,2024-01-02 10:00:00\nB2,new,5,\n";
    const QStringList rules{rule("Title", "XMP-dc:Title"), rule("F", "EXIF:FNumber"),
                            rule("Date", "EXIF:DateTimeOriginal")};
    const struct {
        const char* name;
        QStringList options;
        QStringList lines;
    } cases[] = {
        {"direct",
         {"--method", "direct"},
         {"  XMP-dc:Title: in the image \u2192 new", "  EXIF:FNumber: 5 (unchanged)",
          "  EXIF:DateTimeOriginal: 2024:01:02 10:00:00 (unchanged)",
          "  exiftool can\u2019t read it: Entire file is binary",
          "  EXIF:DateTimeOriginal: (absent) (empty cell: left as it is)"}},
        {"xmp", {"--method", "xmp"}, {"  XMP-dc:Title: in the sidecar \u2192 new"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const CliResult result = assign("shoot", rules, csv, c.options + QStringList{"--preview"});
        EXPECT_EQ(result.status, 0) << result.err.toStdString();
        for (const QString& line : c.lines)
            EXPECT_TRUE(result.out.contains(line)) << result.out.toStdString();
    }
}

TEST_F(TruthfulWrite, SmallerSlipsAreTold)
{
    makeJpeg(path("shoot/A1.jpg"));
    const QByteArray twice = "Shot,Title\nA1,first\nA1,second\n";
    const struct {
        const char* name;
        QStringList options;
        QByteArray csv;
        int status;
        const char* err;
        bool registerShown;
    } cases[] = {
        {"a key on two rows",
         {"--dry-run"},
         twice,
         0,
         "Several rows of the data have the key \u201cA1\u201d: the last of them stands.",
         false},
        {"and --strict refuses it",
         {"--dry-run", "--strict"},
         twice,
         2,
         "1 key of the data stand on more than one row.",
         false},
        {"too many jobs",
         {"--dry-run", "--jobs", "100000"},
         "Shot,Title\nA1,t\n",
         0,
         "--jobs 100000 is more than four per core",
         false},
        {"diagnostics only with --verbose",
         {"--dry-run", "--verbose"},
         "Shot,Title\nA1,t\n",
         0,
         "register()",
         true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const CliResult result = assign("shoot", {rule("Title", "XMP-dc:Title")}, c.csv, c.options);
        EXPECT_EQ(result.status, c.status) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(QString::fromUtf8(c.err))) << result.err.toStdString();
        EXPECT_EQ(result.err.contains("register()"), c.registerShown) << result.err.toStdString();
    }
}

} // namespace
