// SPDX-License-Identifier: GPL-3.0-or-later
#include "windowtesting.h"

#include "writing/metadataqueue.h"

#include <QAccessible>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>

using namespace qb;
using namespace qb::testing;

namespace {

// A JPEG whose XMP packet never closes: exiftool writes it, with a warning.
QString makeJpegWithBrokenXmp(const QString& path)
{
    makeJpeg(path);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadWrite));
    const QByteArray image = file.readAll();
    const QByteArray xmp = QByteArray("http://ns.adobe.com/xap/1.0/") + '\0' +
                           R"(<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF><broken)";
    const int length = int(xmp.size()) + 2;
    const QByteArray segment = QByteArray("\xff\xe1", 2) + char(length >> 8) + char(length & 0xff);
    file.seek(0);
    file.write(image.left(2) + segment + xmp + image.mid(2));
    return path;
}

class WriteOutcomeTest : public WindowTest {
protected:
    QPushButton& button() const { return *controller().actionButton; }
    QLabel& status() const { return *controller().statusLabel(); }
};

TEST_F(WriteOutcomeTest, TheWindowTellsWhatExiftoolWroteAndWarned)
{
    m_preferences.setPresentDialogueOnSuccess(true);
    // A1 gets a date; B2's isn't one, so its file stays as it is; C3's
    // damaged XMP draws a warning.
    const QByteArray dateRow = R"([{"keyName": "Title", "destTag": "XMP:Title", "actions":
        {"mappers": [{"type": "date", "attributes": {"format": "yyyy-MM-dd"}}]}}])";
    openWindow(writePackage(dateRow, "csvsource",
                            "Shot,Title,Keywords\nA1,2024-01-02,\nB2,soon,\nC3,2024-03-04,\n"));
    makeJpeg(path("images/A1.jpg"));
    makeJpeg(path("images/B2.jpg"));
    const QString damaged = makeJpegWithBrokenXmp(path("images/C3.jpg"));
    controller().dropImages({QUrl::fromLocalFile(path("images"))});
    QTest::mouseClick(&button(), Qt::LeftButton);
    QTest::qWait(0);
    EXPECT_EQ(spokenName(&button()), "Working\u2026");
    ASSERT_TRUE(waitForWrite());
    EXPECT_EQ(spokenName(&button()), "Assign Metadata");

    const QString warning = "Warning: XMP format error (no closing tag for x:xmpmeta) - " + damaged;
    auto* success = m_window->findChild<QMessageBox*>("successAlert");
    ASSERT_TRUE(success);
    EXPECT_EQ(success->text(), "Metadata was written to 2 images directly into the files.");
    EXPECT_EQ(success->informativeText(), "2 written, 1 unchanged, 0 failed.\n" + warning);
    success->close();

    // The status line keeps the counts, read with its text, and the warnings
    // are one activation away.
    EXPECT_EQ(spokenName(&status()), "Last write: 2 written, 1 unchanged, 0 failed. 1 warning");
    emit status().linkActivated("warnings");
    auto* warnings = m_window->findChild<QMessageBox*>("writeWarningsAlert");
    ASSERT_TRUE(warnings);
    EXPECT_EQ(warnings->informativeText(), warning);
    warnings->close();
}

TEST_F(WriteOutcomeTest, ALargeWriteShowsTheFilesWrittenNotTheQueuesTimer)
{
    QByteArray csv = "Shot,Title,Keywords\n";
    for (int i = 0; i < 320; ++i) {
        const QString name = QStringLiteral("S%1").arg(i, 3, 10, QLatin1Char('0'));
        csv += name.toUtf8() + ",Title " + QByteArray::number(i) + ",\n";
        makeJpeg(path("shoot/" + name + ".jpg"));
    }
    openWindow(writePackage(titleRow, "csvsource", csv));
    controller().dropImages({QUrl::fromLocalFile(path("shoot"))});
    QSignalSpy finished(&controller(), &ViewController::writeFinished);
    QTest::mouseClick(&button(), Qt::LeftButton);
    QStringList seen;
    int barMaximum = 0;
    for (int waited = 0; finished.isEmpty() && waited < 120000; waited += 10) {
        QTest::qWait(10);
        if (seen.isEmpty() || seen.back() != status().text())
            seen << status().text();
        barMaximum = std::max(barMaximum, controller().progressIndicator->maximum());
    }
    ASSERT_FALSE(finished.isEmpty());
    EXPECT_EQ(barMaximum, 320);
    EXPECT_TRUE(seen.filter(" of 320 images written").size() > 0) << seen.join(" | ").toStdString();
    EXPECT_TRUE(seen.filter(" at ").isEmpty()) << seen.join(" | ").toStdString();
}

TEST_F(WriteOutcomeTest, AnExiftoolVariableThatNamesNothingIsAnErrorNamingIt)
{
    const QString executable = path("bin/exiftool");
    writeFile("bin/exiftool", "#!/bin/sh\nexec exiftool \"$@\"\n");
    QFile::setPermissions(executable, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const struct {
        const char* name;
        QByteArray variable;
        QString location; // where a new queue looks
        bool refused;
    } cases[] = {
        {"unset", {}, installedExiftoolPath(), false},
        {"a program", executable.toUtf8(), executable, false},
        {"nothing there", path("bin/missing").toUtf8(), path("bin/missing"), true},
        {"a folder", path("bin").toUtf8(), path("bin"), true},
    };
    openWindow(writePackage(titleRow));
    makeJpeg(path("images/A1_0001.jpg"));
    controller().dropImages({QUrl::fromLocalFile(path("images"))});
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        if (c.variable.isEmpty())
            qunsetenv("QUILLBROOK_EXIFTOOL");
        else
            qputenv("QUILLBROOK_EXIFTOOL", c.variable);
        EXPECT_EQ(MetadataQueue(MetadataQueue::WriteMethod::direct, 60, true).exiftoolLocation(),
                  c.location);
        EXPECT_EQ(MetadataQueue::exiftoolVariableError().has_value(), c.refused);
        if (!c.refused)
            continue;
        for (QPushButton* action : {controller().previewButton, &button()}) {
            QTest::mouseClick(action, Qt::LeftButton);
            QTest::qWait(0);
            auto* alert = m_window->findChild<QMessageBox*>("errorAlert");
            ASSERT_TRUE(alert);
            EXPECT_EQ(alert->text(), "QUILLBROOK_EXIFTOOL names no exiftool.");
            EXPECT_TRUE(alert->informativeText().contains(QString::fromUtf8(c.variable)));
            delete alert;
            EXPECT_TRUE(button().isEnabled());
        }
    }
    qunsetenv("QUILLBROOK_EXIFTOOL");
    EXPECT_FALSE(readTags(path("images/A1_0001.jpg")).contains("XMP:Title"));
}

} // namespace
