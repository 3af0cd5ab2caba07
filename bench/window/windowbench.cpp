// SPDX-License-Identifier: GPL-3.0-or-later
// Drops a folder of generated JPEGs on a document window, offscreen, and
// times the images table: until every image's status is known, and until
// the first 50 thumbnails are in. The thumbnail cache starts empty, as on
// a machine that has never seen the shoot. Run it under /usr/bin/time -v
// for the peak memory.
//
//   QT_QPA_PLATFORM=offscreen qb_window_bench [COUNT]
#include "app/appdelegate.h"
#include "app/imagesareacontroller.h"
#include "app/imagestable.h"

#include "preferences/preferences.h"
#include "thumbnails/thumbnailloader.h"

#include "extensions/log.h"
#include "extensions/notificationcenter.h"

#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QPainter>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTextStream>

using namespace qb;

namespace {

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// One small JPEG, as a camera's preview-sized export would be.
QByteArray sampleJpeg()
{
    QImage image(320, 240, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.fillRect(image.rect(), QLinearGradient(0, 0, 320, 240));
    painter.fillRect(40, 40, 120, 80, Qt::darkCyan);
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", 85);
    return bytes;
}

// A document whose CSV has a row for each shot, with two rules.
bool writeShoot(const QString& root, int count)
{
    QByteArray csv = "Shot,Title,Keywords\n";
    const QByteArray jpeg = sampleJpeg();
    QDir().mkpath(root + QStringLiteral("/images"));
    for (int i = 0; i < count; ++i) {
        const QString shot = QStringLiteral("S%1").arg(i / 4, 5, 10, QLatin1Char('0'));
        if (i % 4 == 0)
            csv += shot.toUtf8() + ",Look " + QByteArray::number(i) + ",studio;red\n";
        if (!writeFile(QStringLiteral("%1/images/%2_%3.jpg").arg(root, shot).arg(i % 4), jpeg))
            return false;
    }
    const QByteArray rows =
        R"([{"keyName": "Title", "destTag": "XMP:Title", "actions": {"mappers": []}},
        {"keyName": "Keywords", "destTag": "XMP:Subject",
         "actions": {"mappers": [{"type": "array", "attributes": {"delimiter": ";"}}]}}])";
    const QByteArray bookmark = QByteArray(R"({"path":"shoot.csv"})").toBase64();
    QDir().mkpath(root + QStringLiteral("/doc.qbmap/datasource"));
    return writeFile(root + QStringLiteral("/shoot.csv"), csv) &&
           writeFile(root + QStringLiteral("/doc.qbmap/mapping.json"),
                     R"({"version": 2, "mappings": )" + rows +
                         R"(, "isEditable": true, "datasource": "csvsource"})") &&
           writeFile(root + QStringLiteral("/doc.qbmap/datasource/csv.json"),
                     R"({"keyNames": ["Shot", "Title", "Keywords"], "selectedHeader": "Shot",
                        "selectedMatchStyle": 2, "currentURL": ")" +
                         bookmark + R"("})");
}

// A figure of /proc/self/status, in kB.
qint64 residentKilobytes(const char* field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith(field))
            return line.mid(qsizetype(qstrlen(field))).trimmed().split(' ').front().toLongLong();
    return -1;
}

} // namespace

int main(int argc, char* argv[])
{
    QTemporaryDir work;
    // Before Qt starts: the cache, the preferences and the journals are the
    // bench's own.
    qputenv("XDG_CACHE_HOME", work.filePath(QStringLiteral("cache")).toUtf8());
    qputenv("XDG_CONFIG_HOME", work.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_STATE_HOME", work.filePath(QStringLiteral("state")).toUtf8());
    QApplication app(argc, argv);
    const int count = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 20000;
    QTextStream out(stdout);
    setLogSink({});
    setPrintSink({});
    if (!writeShoot(work.path(), count)) {
        QTextStream(stderr) << "could not write the shoot\n";
        return 1;
    }

    Preferences preferences(work.filePath(QStringLiteral("preferences.ini")));
    NotificationCenter center;
    AppDelegate delegate(preferences, center);
    delegate.applicationDidFinishLaunching();
    DocumentWindow* window =
        delegate.documents().openDocument(work.filePath(QStringLiteral("doc.qbmap")));
    if (!window)
        return 1;
    // Tall enough that the table shows more than 50 rows at once.
    window->resize(1200, 4800);
    QTest::qWait(200);

    ImagesAreaController& images = window->viewController().images();
    ImagesTable& table = *images.table();
    int thumbnails = 0;
    qint64 planned = -1;
    qint64 firstThumbnails = -1;
    QElapsedTimer clock;
    QObject::connect(&table.thumbnails(), &ThumbnailLoader::ready, [&] {
        if (++thumbnails == 50)
            firstThumbnails = clock.elapsed();
    });
    int failures = 0;
    QObject::connect(&table.thumbnails(), &ThumbnailLoader::failed,
                     [&](const QString&, const QString& reason) {
                         if (++failures == 1)
                             QTextStream(stderr) << "a thumbnail failed: " << reason << '\n';
                     });
    QObject::connect(&table.model(), &ImageTableModel::planned, [&] { planned = clock.elapsed(); });
    clock.start();
    window->viewController().dropImages({QUrl::fromLocalFile(work.filePath("images"))});
    const qint64 dropped = clock.elapsed();
    const bool done = QTest::qWaitFor([&] { return planned >= 0 && firstThumbnails >= 0; }, 20000);

    // Scrolling: the time to paint the table at 20 places down its length.
    QTableView& view = *table.tableView();
    QElapsedTimer scrolling;
    scrolling.start();
    for (int step = 1; step <= 20; ++step) {
        view.scrollTo(table.filter().index(table.filter().rowCount() * step / 21, 0));
        view.viewport()->repaint();
    }
    const qint64 scrolled = scrolling.elapsed();

    // Paging through the first 5,000 rows, each page's thumbnails made:
    // memory stays the same, as only a few screens of them are kept.
    const qint64 beforePaging = residentKilobytes("VmRSS:");
    QElapsedTimer paging;
    paging.start();
    const int rowsInView = view.rowAt(view.viewport()->height() - 1) - view.rowAt(0) + 1;
    for (int top = 0; top < std::min(5000, table.filter().rowCount()); top += rowsInView) {
        const int wanted = thumbnails + rowsInView;
        view.scrollTo(table.filter().index(top, 0), QAbstractItemView::PositionAtTop);
        view.viewport()->repaint();
        if (!QTest::qWaitFor([&] { return thumbnails >= wanted; }, 5000))
            break;
    }
    const qint64 paged = paging.elapsed();

    out << "images: " << table.model().rowCount() << '\n'
        << "the drop itself returned after: " << dropped << " ms\n"
        << "every status known after: " << planned << " ms\n"
        << "the first 50 thumbnails after: " << firstThumbnails << " ms\n"
        << "thumbnails made: " << thumbnails << ", failed: " << failures
        << ", rows in view: " << view.rowAt(view.viewport()->height() - 1) - view.rowAt(0) + 1
        << '\n'
        << "paging through 5,000 rows, thumbnails made: " << paged << " ms, " << thumbnails
        << " thumbnails; resident " << beforePaging / 1024 << " MB before, "
        << residentKilobytes("VmRSS:") / 1024 << " MB after, peak "
        << residentKilobytes("VmHWM:") / 1024 << " MB\n"
        << "20 jumps down the table, each painted: " << scrolled << " ms\n";
    window->setSaveQuestion([](DocumentWindow&) { return QMessageBox::Discard; });
    window->close();
    // The window goes, its thumbnail workers done, before its folder does.
    QTest::qWait(100);
    return done ? 0 : 1;
}
