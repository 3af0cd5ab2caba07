// SPDX-License-Identifier: GPL-3.0-or-later
#include "windowtesting.h"

#include "app/appdelegate.h"

#include "writing/metadataqueue.h"

#include "extensions/interruption.h"

#include <QDirIterator>
#include <QPushButton>

#include <csignal>
#include <unistd.h>

using namespace qb;
using namespace qb::testing;

namespace {

// The processes this one started that are still there.
QStringList children()
{
    QStringList found;
    const QByteArray self = QByteArray::number(::getpid());
    for (const QString& entry : QDir("/proc").entryList(QDir::Dirs)) {
        QFile stat("/proc/" + entry + "/stat");
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        // pid (comm) state ppid ...; comm may hold spaces, so read after ')'.
        const QByteArray line = stat.readAll();
        const QList<QByteArray> rest = line.mid(line.lastIndexOf(')') + 2).split(' ');
        if (rest.size() > 1 && rest[1] == self)
            found << entry + " " + line.mid(line.indexOf('('), line.lastIndexOf(')') + 1);
    }
    return found;
}

class InterruptionTest : public WindowTest {
protected:
    InterruptionTest()
    {
        m_delegate.setQuitApplication([this] { ++m_quits; });
        m_delegate.listenForInterruptions();
    }
    ~InterruptionTest() override { clearInterruption(); }

    AppDelegate m_delegate{m_preferences, m_center, [](const QUrl&) {
                           }};
    int m_quits = 0;
};

TEST_F(InterruptionTest, ASignalDuringAWriteStopsExiftoolCleanlyAndQuitsWithoutAsking)
{
    using Method = MetadataQueue::WriteMethod;
    // Large enough for exiftools of their own, which the signal reaches.
    QByteArray csv = "Shot,Title,Keywords\n";
    for (int i = 0; i < 600; ++i) {
        const QString name = QStringLiteral("S%1").arg(i, 3, 10, QLatin1Char('0'));
        csv += name.toUtf8() + ",Title,\n";
        makeJpeg(path("shoot/" + name + ".jpg"));
    }
    auto owned = std::make_unique<MetadataQueue>(Method::direct, 60.0, false);
    MetadataQueue* queue = owned.get();
    MetadataQueue::replaceShared(Method::direct, std::move(owned));

    DocumentWindow* window =
        m_delegate.documents().openDocument(writePackage(titleRow, "csvsource", csv));
    ASSERT_TRUE(window);
    bool asked = false;
    window->setSaveQuestion([&](DocumentWindow&) {
        asked = true;
        return QMessageBox::Cancel;
    });
    window->viewController().dropImages({QUrl::fromLocalFile(path("shoot"))});
    qsizetype writtenWhenSignalled = -1;
    QObject::connect(queue, &MetadataQueue::writeProgress, [&](qsizetype done, qsizetype) {
        if (writtenWhenSignalled < 0) {
            writtenWhenSignalled = done;
            ::kill(::getpid(), SIGTERM);
        }
    });
    QTest::mouseClick(window->viewController().actionButton, Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(m_quits == 1, 60000);
    EXPECT_FALSE(asked) << "nothing was left to save";
    EXPECT_TRUE(m_delegate.documentWindows().isEmpty());

    // The application object going takes the queues with it, and they wait
    // for the write: it has stopped its exiftools, which are gone.
    MetadataQueue::replaceShared(Method::direct, nullptr);
    EXPECT_EQ(children(), QStringList());
    QDirIterator files(path("shoot"));
    while (files.hasNext()) {
        const QString file = files.next();
        EXPECT_FALSE(file.contains("_exiftool_tmp")) << file.toStdString();
    }
    QProcess exiftool;
    exiftool.start("exiftool", {"-j", "-XMP:Title", path("shoot")});
    ASSERT_TRUE(exiftool.waitForFinished(60000));
    const QJsonArray read = QJsonDocument::fromJson(exiftool.readAllStandardOutput()).array();
    EXPECT_EQ(read.size(), 600) << "every image still reads";
    int written = 0;
    for (const QJsonValue& image : read)
        written += image.toObject().contains("Title") ? 1 : 0;
    EXPECT_GE(written, writtenWhenSignalled);
    EXPECT_LT(written, 600) << "the write went on to the end";
}

TEST_F(InterruptionTest, UnsavedChangesAreAskedAboutAndTheNextSignalIsHeardToo)
{
    DocumentWindow* window = m_delegate.documents().openDocument(writePackage(titleRow));
    ASSERT_TRUE(window);
    window->viewController().ruleEditor->addRow();
    ASSERT_TRUE(window->document().isDocumentEdited());
    QList<QMessageBox::StandardButton> answers = {QMessageBox::Cancel, QMessageBox::Discard};
    int asked = 0;
    window->setSaveQuestion([&](DocumentWindow&) {
        ++asked;
        return answers.takeFirst();
    });
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        ::kill(::getpid(), signal);
        QTRY_COMPARE(asked, signal == SIGINT ? 1 : 2);
        QTest::qWait(0);
        // Kept open, the window stays and so does the application.
        EXPECT_EQ(m_quits, signal == SIGINT ? 0 : 1);
        EXPECT_EQ(isInterrupted(), signal == SIGTERM);
    }
}

TEST(Application, QuitsOnASignalWithNothingToSave)
{
    QTemporaryDir home;
    for (const int signal : {SIGTERM, SIGINT}) {
        SCOPED_TRACE(signal);
        QProcess app;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        environment.insert("XDG_CONFIG_HOME", home.filePath("config"));
        app.setProcessEnvironment(environment);
        app.setProcessChannelMode(QProcess::MergedChannels);
        app.start(QB_APPLICATION_BINARY, {QB_EXAMPLES_DIR "/sample.qbmap"});
        ASSERT_TRUE(app.waitForStarted());
        // Up once it has read the document's data.
        QByteArray said;
        while (!said.contains("Finished updating criteria") && app.waitForReadyRead(30000))
            said += app.readAll();
        ASSERT_TRUE(said.contains("Finished updating criteria")) << said.toStdString();
        ::kill(pid_t(app.processId()), signal);
        ASSERT_TRUE(app.waitForFinished(30000));
        EXPECT_EQ(app.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(app.exitCode(), 0);
        EXPECT_TRUE((said + app.readAll()).contains("Quitting on signal"));
    }
}

} // namespace
