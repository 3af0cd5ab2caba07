// SPDX-License-Identifier: GPL-3.0-or-later
// Renders the application's windows to PNG files, for the README, the
// AppStream metainfo and a look before release. Runs the real windows under
// whatever platform Qt is given (offscreen works without a display).
//
//   qb_screenshots OUTPUT_FOLDER EXAMPLES_FOLDER
#include "../../tests/cards/cardimages.h"

#include "app/appdelegate.h"
#include "app/cardplanner.h"
#include "app/contactform.h"
#include "app/csvdatasourceviewcontroller.h"
#include "app/errorpresenter.h"
#include "app/imagesareacontroller.h"
#include "app/imagestable.h"
#include "app/imagewarningviewcontroller.h"
#include "app/preferenceswindow.h"
#include "app/shotlistviewcontroller.h"
#include "app/writereviewdialogs.h"

#include "documents/mappingsdoc.h"
#include "preferences/preferences.h"

#include "extensions/log.h"
#include "extensions/notificationcenter.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QTableView>
#include <QMessageBox>
#include <QPainter>
#include <QProcess>
#include <QTest>
#include <QTextStream>

using namespace qb;

namespace {

void settle()
{
    for (int i = 0; i < 5; ++i) {
        QApplication::processEvents();
        QTest::qWait(20);
    }
}

bool save(QWidget& widget, const QString& path)
{
    settle();
    const bool saved = widget.grab().save(path);
    QTextStream(stdout) << (saved ? "wrote " : "could not write ") << path << '\n';
    return saved;
}

// The window with the title bar a window manager would add, so that a
// picture reads as a window.
QImage framed(QWidget& window)
{
    settle();
    const QImage content = window.grab().toImage();
    const int bar = 30;
    QImage image(content.width() + 2, content.height() + bar + 1, QImage::Format_ARGB32);
    image.fill(QColor(0x3c, 0x3f, 0x41));
    QPainter painter(&image);
    painter.drawImage(1, bar, content);
    painter.setPen(Qt::white);
    QFont font = painter.font();
    font.setBold(true);
    painter.setFont(font);
    painter.drawText(QRect(0, 0, image.width(), bar), Qt::AlignCenter,
                     window.windowTitle().remove(QStringLiteral("[*]")));
    return image;
}

bool saveWindow(QWidget& window, const QString& path)
{
    const bool saved = framed(window).save(path);
    QTextStream(stdout) << (saved ? "wrote " : "could not write ") << path << '\n';
    return saved;
}

// The warning beside the images, for a CSV with a totals row and a key
// that begins another; the window then goes back to the sample's CSV.
bool saveImageWarning(ViewController& controller, const QString& examples, const QString& home,
                      const QString& out)
{
    auto* panel = dynamic_cast<CSVDataSourceViewController*>(controller.datasourceView());
    if (!panel)
        return false;
    QFile sample(examples + QStringLiteral("/shoot.csv"));
    QFile ambiguous(home + QStringLiteral("/ambiguous.csv"));
    if (!sample.open(QIODevice::ReadOnly) || !ambiguous.open(QIODevice::WriteOnly))
        return false;
    ambiguous.write(sample.readAll() + "A10,\"Spring look, all of it\",,,,\n,Total: 4 looks,,,,\n");
    ambiguous.close();
    panel->importFile(QUrl::fromLocalFile(ambiguous.fileName()));
    settle();
    ImageWarningViewController* warning = controller.showImageWarning();
    const bool saved = save(*warning, out + QStringLiteral("/image-warning.png"));
    warning->close();
    panel->importFile(QUrl::fromLocalFile(sample.fileName()));
    return saved;
}

// Waits until every image's status is known and the thumbnails in view
// are in.
void waitForTable(ViewController& controller)
{
    ImageTableModel& model = controller.images().table()->model();
    for (int waited = 0; waited < 20000; waited += 50) {
        settle();
        bool ready = model.isPlanned();
        for (int row = 0; ready && row < model.rowCount(); ++row)
            ready = !model.index(row, ImageTableModel::thumbnailColumn)
                         .data(Qt::DecorationRole)
                         .isNull();
        if (ready)
            return;
    }
}

// The images table over a shoot with an image of its own row, one that
// two rows match, one without a row and one in a subfolder; then after a
// write in which a damaged file failed. Its own copies and CSV, so that
// the pictures after it see the sample as it was.
bool saveImagesTable(DocumentWindow& window, const QString& examples, const QString& home,
                     const QString& out)
{
    ViewController& controller = window.viewController();
    auto* panel = dynamic_cast<CSVDataSourceViewController*>(controller.datasourceView());
    if (!panel)
        return false;
    const QString folder = home + QStringLiteral("/table shoot");
    QDir().mkpath(folder + QStringLiteral("/day 2"));
    const QString images = examples + QStringLiteral("/images/");
    for (const char* name : {"A101_0001.jpg", "A101_0002.jpg", "B202_0001.jpg", "C303_0001.jpg"})
        QFile::copy(images + QLatin1String(name), folder + QLatin1Char('/') + QLatin1String(name));
    QFile::copy(images + QStringLiteral("B202_0001.jpg"),
                folder + QStringLiteral("/day 2/D404_0001.jpg"));
    QFile damaged(folder + QStringLiteral("/day 2/D404_0002.jpg"));
    QFile sample(examples + QStringLiteral("/shoot.csv"));
    QFile csv(home + QStringLiteral("/table.csv"));
    if (!damaged.open(QIODevice::WriteOnly) || !sample.open(QIODevice::ReadOnly) ||
        !csv.open(QIODevice::WriteOnly))
        return false;
    damaged.write(QByteArray("\xff\xd8\xff\xe0 cut off in the copy", 24));
    damaged.close();
    csv.write(sample.readAll() +
              "A101_0002,\"Spring look, detail\",ana lindqvist,studio,Malm\xc3\xb6,true\n");
    csv.close();
    panel->pathControl()->setUrl(QUrl::fromLocalFile(csv.fileName()));
    panel->importFileAction();
    controller.dropImages(
        {QUrl::fromLocalFile(folder), QUrl::fromLocalFile(folder + QStringLiteral("/day 2"))});
    const QSize size = window.size();
    window.resize(size.width(), size.height() + 260);
    waitForTable(controller);
    bool ok = saveWindow(window, out + QStringLiteral("/images-table.png"));

    controller.assignMetadata();
    for (int waited = 0; waited < 60000 && !window.findChild<FailedFilesDialog*>(); waited += 50)
        QTest::qWait(50);
    if (auto* failed = window.findChild<FailedFilesDialog*>())
        failed->close();
    else
        ok = false;
    waitForTable(controller);
    ok &= saveWindow(window, out + QStringLiteral("/images-table-after-write.png"));
    panel->pathControl()->setUrl(QUrl::fromLocalFile(sample.fileName()));
    panel->importFileAction();
    window.resize(size);
    return ok;
}

bool writeBytes(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// A school morning by barcode cards, as the README tells it: a card that
// names no row, a group card with a long pause in its frames, and the card
// of 1238, too small to read, marked by hand.
bool saveCardPlan(AppDelegate& delegate, const QString& home, const QString& out)
{
    const QString folder = home + QStringLiteral("/cards");
    const QString package = folder + QStringLiteral("/school.qbmap");
    const QByteArray bookmark = QStringLiteral("{\"path\":\"pupils.csv\"}").toUtf8().toBase64();
    if (testing::shoot(folder + QStringLiteral("/shoot"), testing::schoolShoot()).isEmpty() ||
        !writeBytes(folder + QStringLiteral("/pupils.csv"),
                    "Number,Name,Class\n1234,Ana Lindqvist,4B\n1235,Bj\xc3\xb6rn Ek,4B\n"
                    "1236,Chen Wei,4B\n1237,Dana Ruiz,4B\n1238,Emil Berg,4B\n"
                    "1239,Farah Haddad,4B\n") ||
        !writeBytes(package + QStringLiteral("/mapping.json"),
                    R"({"version": 2, "isEditable": true, "datasource": "csvsource",
                        "mappings": [{"keyName": "Name", "destTag": "XMP:Title",
                                      "actions": {"mappers": []}},
                                     {"keyName": "Class", "destTag": "XMP:Subject",
                                      "actions": {"mappers": []}}]})") ||
        !writeBytes(package + QStringLiteral("/datasource/csv.json"),
                    R"({"keyNames": ["Number", "Name", "Class"], "selectedHeader": "Number",
                        "selectedMatchStyle": 1, "cardMode": true,
                        "cardFixes": [{"frame": "IMG_0014.JPG", "key": "1238"}],
                        "currentURL": ")" +
                        bookmark + R"("})"))
        return false;
    DocumentWindow* window = delegate.documents().openDocument(package);
    if (!window)
        return false;
    settle();
    ViewController& controller = window->viewController();
    window->resize(window->width() + 160, window->height() + 700);
    controller.dropImages({QUrl::fromLocalFile(folder + QStringLiteral("/shoot"))});
    CardPlanner& planner = controller.images().cardPlanner();
    for (int waited = 0; planner.isPlanning() && waited < 60000; waited += 50)
        QTest::qWait(50);
    waitForTable(controller);
    // The end of the morning, where the checks are.
    controller.images().table()->tableView()->scrollToBottom();
    controller.images().currentSubjectField()->setFocus();
    const bool saved = saveWindow(*window, out + QStringLiteral("/cards.png"));
    window->setSaveQuestion([](DocumentWindow&) { return QMessageBox::Discard; });
    window->close();
    return saved;
}

// A folder made empty for the run and removed after it.
class ScratchFolder {
public:
    explicit ScratchFolder(const QString& path)
        : m_dir(path)
    {
        m_dir.removeRecursively();
        m_dir.mkpath(QStringLiteral("."));
    }
    ~ScratchFolder() { m_dir.removeRecursively(); }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    QString filePath(const QString& name) const { return m_dir.filePath(name); }
    QString path() const { return m_dir.path(); }

private:
    QDir m_dir;
};

} // namespace

int main(int argc, char* argv[])
{
    // The thumbnails the windows make stay with the run, out of the user's
    // cache.
    qputenv("XDG_CACHE_HOME",
            (QDir::tempPath() + QStringLiteral("/Quillbrook Screenshots/cache")).toLocal8Bit());
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quillbrook"));
    QApplication::setApplicationVersion(QStringLiteral(QB_VERSION));
    if (argc < 3) {
        QTextStream(stderr) << "usage: qb_screenshots OUTPUT_FOLDER EXAMPLES_FOLDER\n";
        return 2;
    }
    const QString out = QString::fromLocal8Bit(argv[1]);
    const QString examples = QString::fromLocal8Bit(argv[2]);
    QDir().mkpath(out);
    setLogSink({});
    setPrintSink({});

    // Preferences of their own, so that the pictures show a new user's
    // defaults, in a folder whose name doesn't change from run to run, as
    // the pictures then don't either.
    const ScratchFolder home(QDir::tempPath() + QStringLiteral("/Quillbrook Screenshots"));
    Preferences preferences(home.filePath(QStringLiteral("preferences.ini")));
    NotificationCenter center;
    AppDelegate delegate(preferences, center);
    delegate.applicationDidFinishLaunching();

    bool ok = true;
    DocumentWindow* blank = delegate.documents().newDocument();
    ok &= saveWindow(*blank, out + QStringLiteral("/new-document.png"));

    // A shot list as Excel on a Swedish Windows saves it: semicolons, and
    // Windows-1252 rather than UTF-8.
    const QString excel = home.filePath(QStringLiteral("shot list.csv"));
    QFile excelFile(excel);
    if (!excelFile.open(QIODevice::WriteOnly))
        return 1;
    excelFile.write("Shot;Title;City\r\nA1;Hamnen i \x93skymningen\x94;Malm\xf6\r\n"
                    "B2;Bron;\xd8resund\r\n");
    excelFile.close();
    auto* csv =
        dynamic_cast<CSVDataSourceViewController*>(blank->viewController().datasourceView());
    if (!csv)
        return 1;
    csv->delimiterPopUp()->setCurrentIndex(csv->delimiterPopUp()->findText("Automatic"));
    csv->delimiterSelect();
    csv->pathControl()->setUrl(QUrl::fromLocalFile(excel));
    csv->importFileAction();
    ok &= saveWindow(*blank, out + QStringLiteral("/csv-panel.png"));
    // Nothing is saved: the pictures are all that is wanted of the windows.
    const auto discard = [](DocumentWindow&) {
        return QMessageBox::Discard;
    };
    blank->setSaveQuestion(discard);
    blank->close();

    // A spreadsheet: the sheet instead of the delimiter, the second chosen.
    DocumentWindow* workbook = delegate.documents().newDocument();
    auto* sheets =
        dynamic_cast<CSVDataSourceViewController*>(workbook->viewController().datasourceView());
    if (!sheets)
        return 1;
    sheets->importFile(QUrl::fromLocalFile(
        QFileInfo(examples + QStringLiteral("/shoot.xlsx")).absoluteFilePath()));
    sheets->sheetPopUp()->setCurrentIndex(
        sheets->sheetPopUp()->findText(QStringLiteral("Tuesday")));
    ok &= saveWindow(*workbook, out + QStringLiteral("/spreadsheet-panel.png"));
    workbook->setSaveQuestion(discard);
    workbook->close();

    // The sample images go into a copy, so that nothing in the examples changes.
    const QString shoot = home.filePath(QStringLiteral("shoot"));
    QDir().mkpath(shoot);
    for (const QFileInfo& image :
         QDir(examples + QStringLiteral("/images")).entryInfoList(QDir::Files))
        QFile::copy(image.filePath(), shoot + QLatin1Char('/') + image.fileName());
    DocumentWindow* sample =
        delegate.documents().openDocument(examples + QStringLiteral("/sample.qbmap"));
    if (!sample)
        return 1;
    settle();
    sample->viewController().dropImages({QUrl::fromLocalFile(shoot)});
    ok &= saveWindow(*sample, out + QStringLiteral("/main-window.png"));

    ShotlistViewController* shots = sample->viewController().showShotlist();
    shots->detach();
    ok &= saveWindow(*shots, out + QStringLiteral("/shot-list.png"));
    shots->close();

    ok &= saveImageWarning(sample->viewController(), examples, home.path(), out);
    ok &= saveImagesTable(*sample, examples, home.path(), out);
    sample->viewController().dropImages({QUrl::fromLocalFile(shoot)});

    // The preview reads the copies' current values with the real exiftool;
    // one copy already holds a title and an older creator.
    QProcess::execute(QStringLiteral("exiftool"),
                      {QStringLiteral("-q"), QStringLiteral("-overwrite_original"),
                       QStringLiteral("-XMP-dc:Title=Spring look, red coat"),
                       QStringLiteral("-XMP-dc:Creator=Studio North"),
                       shoot + QStringLiteral("/A101_0001.jpg")});
    sample->viewController().previewMetadata();
    // exiftool reads off the main thread; the table opens when it is done.
    PreviewDialog* preview = nullptr;
    for (int waited = 0; !preview && waited < 30000; waited += 50) {
        QTest::qWait(50);
        preview = sample->findChild<PreviewDialog*>();
    }
    settle();
    if (preview) {
        ok &= saveWindow(*preview, out + QStringLiteral("/preview.png"));
        preview->reject();
    } else {
        ok = false;
    }

    Error failedWrite;
    failedWrite.errorDescription = QStringLiteral("exiftool could not write the metadata.");
    const FileOutcomes outcomes{
        {shoot + QStringLiteral("/A101_0001.jpg"), FileOutcomeKind::written, {}},
        {shoot + QStringLiteral("/A101_0002.jpg"), FileOutcomeKind::failed,
         QStringLiteral("Corrupted JPEG image")},
        {shoot + QStringLiteral("/B202_0001.jpg"), FileOutcomeKind::failed,
         QStringLiteral("File not found")},
        {shoot + QStringLiteral("/C303_0001.jpg"), FileOutcomeKind::failed,
         QStringLiteral("Error renaming temporary file to C303_0001.jpg")}};
    // The window owns it and takes it along when it closes.
    auto* failed = new FailedFilesDialog(failedWrite, outcomes, sample);
    failed->setAttribute(Qt::WA_DeleteOnClose);
    failed->show();
    ok &= saveWindow(*failed, out + QStringLiteral("/failed-files.png"));
    failed->close();

    Error error;
    error.errorDescription = QStringLiteral("Exiftool could not be launched.");
    error.failureReason = QStringLiteral("No file or folder at /usr/local/bin/exiftool.");
    error.recoverySuggestion =
        QStringLiteral("Install exiftool (Debian: libimage-exiftool-perl) and try again.");
    QMessageBox* box = presentError(sample, error);
    ok &= save(*box, out + QStringLiteral("/error.png"));
    box->close();

    sample->setSaveQuestion(discard);
    sample->close();

    ok &= saveCardPlan(delegate, home.path(), out);

    delegate.showPreferences();
    PreferencesWindow* preferencesWindow = delegate.preferencesWindow();
    ok &= saveWindow(*preferencesWindow, out + QStringLiteral("/preferences-general.png"));
    preferencesWindow->showPage(1);
    ok &= saveWindow(*preferencesWindow, out + QStringLiteral("/preferences-updates.png"));
    preferencesWindow->close();

    delegate.sendFeedback();
    ok &= saveWindow(*delegate.contactForm()->window(), out + QStringLiteral("/feedback.png"));
    delegate.contactForm()->window()->hide();
    return ok ? 0 : 1;
}
