// SPDX-License-Identifier: GPL-3.0-or-later
// quillbrook-cli watch: writes metadata to each capture as it lands in a
// folder, through one exiftool kept running, for tethered shooting.
#include "watchcommand.h"

#include "sourceoptions.h"
#include "writeoptions.h"

#include "exif/stayopenexiftool.h"
#include "extensions/interruption.h"
#include "mapping/metadataassignment.h"
#include "preferences/preferences.h"
#include "writing/folderwatcher.h"
#include "writing/metadataqueue.h"
#include "writing/writechecks.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

#include <deque>

namespace qb::cli {

namespace {

using Method = MetadataQueue::WriteMethod;

struct WatchOptions : WriteOptions {
    QCommandLineOption method{QStringLiteral("method"),
                              QStringLiteral("direct or xmp (default: the write method of the "
                                             "preferences)."),
                              QStringLiteral("METHOD")};
    QCommandLineOption recursive{QStringLiteral("recursive"),
                                 QStringLiteral("Watch the subfolders too.")};
    QCommandLineOption poll{QStringLiteral("poll"),
                            QStringLiteral("Look for new files every SECONDS instead of waiting "
                                           "for change notices; network mounts are always "
                                           "polled (every 2 seconds unless given)."),
                            QStringLiteral("SECONDS")};
};

struct WatchSetup {
    Method method = Method::direct;
    SidecarNaming naming = SidecarNaming::name;
    FolderWatcher::Options watching;
};

std::expected<WatchSetup, QString> chosenSetup(const QCommandLineParser& parser,
                                               const WatchOptions& options)
{
    Preferences preferences;
    preferences.registerDefaults();
    WatchSetup setup{preferences.writeMethod(), preferences.sidecarNaming(), {}};
    if (parser.isSet(options.method)) {
        const QString name = parser.value(options.method);
        if (name != QLatin1String("direct") && name != QLatin1String("xmp"))
            return std::unexpected(
                QStringLiteral("watch writes with --method direct or xmp, not '%1'").arg(name));
        setup.method = name == QLatin1String("direct") ? Method::direct : Method::xmp;
    } else if (setup.method == Method::captureOne) {
        return std::unexpected(QStringLiteral("watch can't write to Capture One, the method of "
                                              "the preferences; give --method direct or xmp"));
    }
    const auto naming = chosenSidecarNaming(parser, options, setup.naming);
    if (!naming)
        return std::unexpected(naming.error());
    setup.naming = *naming;
    setup.watching.recursive = parser.isSet(options.recursive);
    if (parser.isSet(options.poll)) {
        bool number = false;
        const double seconds = parser.value(options.poll).toDouble(&number);
        if (!number || seconds <= 0 || seconds > 86400)
            return std::unexpected(QStringLiteral("--poll takes a number of seconds, not '%1'")
                                       .arg(parser.value(options.poll)));
        setup.watching.poll = FolderWatcher::Milliseconds(qint64(seconds * 1000));
    }
    return setup;
}

// Writes the arrivals one at a time, in order, and says how each went.
class Watch {
public:
    Watch(FolderWatcher& watcher, MetadataQueue& queue, const LoadedSource& source,
          std::vector<MetadataMapping> mappings, Streams& streams)
        : m_watcher(watcher)
        , m_queue(queue)
        , m_source(source)
        , m_mappings(std::move(mappings))
        , m_streams(streams)
    {
    }

    void take(const QString& path)
    {
        m_waiting.push_back(path);
        next();
    }
    bool isWriting() const { return m_writing; }
    QString summary() const
    {
        return QStringLiteral("watch stopped: %1 written, %2 failed, %3 skipped")
            .arg(m_written)
            .arg(m_failed)
            .arg(m_skipped);
    }

private:
    void next()
    {
        if (m_writing || m_waiting.empty() || isInterrupted())
            return;
        const QString path = m_waiting.front();
        m_waiting.pop_front();
        const QString name = QFileInfo(path).fileName();
        const ExifImages images = mapImages(URLListProvider({QUrl::fromLocalFile(path)}),
                                            *m_source.dataSource, m_mappings);
        if (images.empty()) {
            printError(m_streams, QStringLiteral("%1: matches no row; skipped").arg(name));
            ++m_skipped;
            m_watcher.finished(path);
            next();
            return;
        }
        const auto tags = std::ranges::count_if(images.front()->metadata, [](const auto& entry) {
            return entry.first != ExifImage::sourceFileKey;
        });
        m_writing = true;
        m_queue.enqueue(images);
        m_queue.write([this, path, name, tags](const MetadataQueue::WriteResult& result) {
            m_writing = false;
            if (result) {
                m_streams.out << name << ": " << tags << (tags == 1 ? " tag" : " tags") << '\n';
                m_streams.out.flush();
                ++m_written;
            } else {
                printError(m_streams, name + QStringLiteral(": ") + result.error().message());
                ++m_failed;
                // The next capture must not carry this one's failure along.
                m_queue.clearQueue();
            }
            m_watcher.finished(path);
            next();
        });
    }

    FolderWatcher& m_watcher;
    MetadataQueue& m_queue;
    const LoadedSource& m_source;
    std::vector<MetadataMapping> m_mappings;
    Streams& m_streams;
    std::deque<QString> m_waiting;
    bool m_writing = false;
    int m_written = 0;
    int m_failed = 0;
    int m_skipped = 0;
};

// Starts exiftool and learns its writable tags now, so that the first
// capture doesn't wait for either.
void warmUp(MetadataQueue& queue, StayOpenExiftool& exiftool)
{
    const QString program = queue.exiftoolLocation();
    WritableTagsCache::shared().tagsOf(program, ExiftoolConfig::none());
    if (QFileInfo(program).isExecutable())
        exiftool.run(program, {QStringLiteral("-ver")});
}

ExitStatus watch(const QString& folder, const WatchSetup& setup, const LoadedSource& source,
                 std::vector<MetadataMapping> mappings, const QString& exiftool, Streams& streams)
{
    // A queue of our own: its timer never fires, each arrival is written
    // when told, and its exiftool goes with it.
    MetadataQueue queue(setup.method, 86400.0, true);
    if (!exiftool.isEmpty())
        queue.setExiftoolLocation(absolutePath(exiftool));
    queue.setSidecarNaming(setup.naming);
    const auto longLived = std::make_shared<StayOpenExiftool>();
    queue.setLongLivedExiftool(longLived);
    QObject::connect(&queue, &MetadataQueue::writeReported, &queue,
                     [&streams](const WriteReport& report) {
                         for (const QString& warning : report.warnings)
                             printError(streams, warning);
                     });

    FolderWatcher watcher(folder, setup.watching);
    if (auto started = watcher.start(); !started) {
        printError(streams, started.error());
        return ExitStatus::usage;
    }
    warmUp(queue, *longLived);
    printError(streams, watcher.isPolling()
                            ? QStringLiteral("watching %1, polling every %2 s; Ctrl-C stops")
                                  .arg(folder)
                                  .arg(double(watcher.pollInterval().count()) / 1000.0)
                            : QStringLiteral("watching %1; Ctrl-C stops").arg(folder));

    Watch writes(watcher, queue, source, std::move(mappings), streams);
    QObject::connect(&watcher, &FolderWatcher::arrived, &watcher,
                     [&writes](const QString& path) { writes.take(path); });
    QEventLoop loop;
    // The signal handler only sets a flag; the write in hand finishes first.
    QTimer stop;
    QObject::connect(&stop, &QTimer::timeout, &loop, [&] {
        if (isInterrupted() && !writes.isWriting())
            loop.quit();
    });
    stop.start(50);
    loop.exec();
    printError(streams, writes.summary());
    return ExitStatus::interrupted;
}

} // namespace

ExitStatus watchCommand(const QStringList& arguments, Streams& streams)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Watches a folder and writes metadata to each image that lands in it, "
                       "mapped by the rule rows, until stopped with Ctrl-C."));
    const WatchOptions options;
    const SourceOptions sourceOptions;
    parser.addOptions(
        {options.mappings, options.method, options.sidecarName, options.recursive, options.poll});
    for (const QCommandLineOption& option : sourceOptions.all()) {
        if (option.names() != sourceOptions.noRecursive.names())
            parser.addOption(option);
    }
    parser.addPositionalArgument(QStringLiteral("DIR"), QStringLiteral("The folder to watch."));
    if (const auto status = parseCommandLine(parser, QStringLiteral("watch"), arguments, streams))
        return *status;

    const auto setup = chosenSetup(parser, options);
    if (!setup) {
        printError(streams, setup.error());
        return ExitStatus::usage;
    }
    if (!parser.isSet(options.mappings) && !parser.isSet(sourceOptions.document)) {
        printError(streams, QStringLiteral("watch needs --mappings or --document; see "
                                           "'watch --help'"));
        return ExitStatus::usage;
    }
    const QStringList folders = parser.positionalArguments();
    if (folders.size() != 1 || !QFileInfo(folders.front()).isDir()) {
        printError(streams, QStringLiteral("watch needs one folder to watch"));
        return ExitStatus::usage;
    }
    const auto source = loadSource(parser, sourceOptions, streams);
    if (!source)
        return source.error();
    auto mappings = chosenRows(parser, options, *source);
    if (!mappings) {
        printError(streams, mappings.error());
        return ExitStatus::usage;
    }
    for (const QString& warning : missingColumnWarnings(*mappings, source->dataSource->keyNames()))
        printError(streams, warning);
    return watch(absolutePath(folders.front()), *setup, *source, std::move(*mappings),
                 parser.value(sourceOptions.exiftool), streams);
}

} // namespace qb::cli
