// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "../support/jpeg.h"
#include "../widgets/guiapplication.h"

#include "app/documentwindow.h"

#include "documents/mappingsdoc.h"
#include "preferences/preferences.h"

#include "extensions/notificationcenter.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageBox>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace qb::testing {

// Rule rows of the packages the window tests write: the title as it is, and
// the keywords split at semicolons.
inline const QByteArray titleRow =
    R"([{"keyName": "Title", "destTag": "XMP:Title", "actions": {"mappers": []}}])";
inline const QByteArray titleAndKeywords = R"([
    {"keyName": "Title", "destTag": "XMP:Title", "actions": {"mappers": []}},
    {"keyName": "Keywords", "destTag": "XMP:Subject",
     "actions": {"mappers": [{"type": "array", "attributes": {"delimiter": ";"}}]}}])";

// What a screen reader reads as the control's name.
inline QString spokenName(QWidget* widget)
{
    return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
}

// Nothing beyond the window is needed by these tests.
class NoApplicationActions final : public ApplicationActions {
public:
    void newDocument() override {}
    void openDocument() override {}
    void openDocumentAt(const QString&) override {}
    QStringList recentDocuments() const override { return {}; }
    void clearRecentDocuments() override {}
    void noteRecentDocument(const QString&) override {}
    QList<QMainWindow*> documentWindows() const override { return {}; }
    void quit() override {}
    void showPreferences() override {}
    void showWebsite() override {}
    void showStudioWebsite() override {}
    void showOnlineHelp() override {}
    void sendFeedback() override {}
};

// A document window over a package written into a temporary folder, with
// preferences of its own.
class WindowTest : public ::testing::Test {
protected:
    WindowTest() { m_preferences.registerDefaults(); }
    ~WindowTest() override { closeWindow(); }

    QString path(const QString& relative) const { return m_dir.filePath(relative); }

    void writeFile(const QString& relative, const QByteArray& bytes) const
    {
        QDir().mkpath(QFileInfo(path(relative)).absolutePath());
        QFile file(path(relative));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }

    // doc.qbmap with `rows` (a JSON array) and, for the CSV panel, its
    // settings pointing at shoot.csv beside the package, keyed by the first
    // of `columns`.
    QString
    writePackage(const QByteArray& rows, const QString& datasource = "csvsource",
                 const QByteArray& csv = "Shot,Title,Keywords\nA1,Red coat,a;b\nB2,Blue,c\n",
                 const QStringList& columns = {"Shot", "Title", "Keywords"})
    {
        writeFile("shoot.csv", csv);
        writeFile("doc.qbmap/mapping.json", R"({"version": 2, "mappings": )" + rows +
                                                R"(, "isEditable": true, "datasource": ")" +
                                                datasource.toUtf8() + R"("})");
        const QByteArray bookmark =
            QJsonDocument(QJsonObject{{"path", "shoot.csv"}}).toJson(QJsonDocument::Compact);
        const QJsonObject settings{{"keyNames", QJsonArray::fromStringList(columns)},
                                   {"selectedHeader", columns.front()},
                                   {"selectedMatchStyle", 2},
                                   {"currentURL", QString::fromLatin1(bookmark.toBase64())}};
        writeFile("doc.qbmap/datasource/csv.json", QJsonDocument(settings).toJson());
        return path("doc.qbmap");
    }

    DocumentWindow& openWindow(const QString& package)
    {
        auto document = MappingsDoc::open(package);
        EXPECT_TRUE(document.has_value()) << document.error().message().toStdString();
        return show(std::move(*document));
    }

    DocumentWindow& show(std::unique_ptr<MappingsDoc> document)
    {
        closeWindow();
        WindowServices services;
        services.preferences = &m_preferences;
        services.center = &m_center;
        services.openUrl = [this](const QUrl& url) {
            m_opened << url;
        };
        m_window = new DocumentWindow(std::move(document), services, m_actions);
        m_window->setAttribute(Qt::WA_DeleteOnClose, false);
        showActive(*m_window);
        return *m_window;
    }

    void closeWindow()
    {
        if (!m_window)
            return;
        m_window->setSaveQuestion([](DocumentWindow&) { return QMessageBox::Discard; });
        delete m_window;
        m_window = nullptr;
    }

    ViewController& controller() const { return m_window->viewController(); }

    // Waits for the window's write to end; true when it succeeded.
    bool waitForWrite() const
    {
        QSignalSpy finished(&controller(), &ViewController::writeFinished);
        EXPECT_TRUE(finished.wait(120000));
        QTest::qWait(0); // the posted end of the work
        return !finished.isEmpty() && finished.front().front().toBool();
    }

    // Answers the next modal box with the button of `text`, once it is up.
    static void answerNextBox(const QString& text, QString* seen = nullptr)
    {
        QTimer::singleShot(0, [text, seen] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            ASSERT_TRUE(box);
            if (seen)
                *seen = box->text();
            for (QAbstractButton* button : box->buttons())
                if (button->text() == text)
                    button->click();
        });
    }

    // What exiftool reads from `file`, tag names with their family 0 group.
    static QJsonObject readTags(const QString& file)
    {
        QProcess exiftool;
        exiftool.start("exiftool", {"-j", "-G", "-XMP:all", file});
        exiftool.waitForFinished(30000);
        return QJsonDocument::fromJson(exiftool.readAllStandardOutput()).array().at(0).toObject();
    }

    GuiApplication m_application;
    QTemporaryDir m_dir;
    Preferences m_preferences{m_dir.filePath("preferences.ini")};
    NotificationCenter m_center;
    NoApplicationActions m_actions;
    QList<QUrl> m_opened;
    DocumentWindow* m_window = nullptr;
};

} // namespace qb::testing
