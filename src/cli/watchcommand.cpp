// SPDX-License-Identifier: GPL-3.0-or-later
// quillbrook-cli watch: writes metadata to each capture as it lands in a
// folder, through one exiftool kept running, for tethered shooting.
#include "watchcommand.h"

#include "cardoptions.h"
#include "sourceoptions.h"
#include "watchcards.h"
#include "watchrows.h"
#include "writeoptions.h"

#include "cards/cardsession.h"
#include "cards/plannedrows.h"
#include "exif/stayopenexiftool.h"
#include "extensions/filesinuse.h"
#include "extensions/interruption.h"
#include "mapping/metadataassignment.h"
#include "preferences/preferences.h"
#include "sources/tagkeys.h"
#include "writing/folderclaim.h"
#include "writing/folderwatcher.h"
#include "writing/metadataqueue.h"
#include "writing/sessionjournal.h"
#include "writing/writechecks.h"
#include "writing/writejournal.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

#include <deque>

namespace qb::cli {

namespace {

using Method = MetadataQueue::WriteMethod;
using Milliseconds = FolderWatcher::Milliseconds;

// How often the files the rows come from are looked at between captures.
constexpr int rowsCheckMilliseconds = 500;

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
    QCommandLineOption settle{QStringLiteral("settle"),
                              QStringLiteral("When polling, how long a file must keep its size "
                                             "and time to count as whole (default: 3)."),
                              QStringLiteral("SECONDS")};
    QCommandLineOption noJournal{QStringLiteral("no-journal"),
                                 QStringLiteral("Keep no journal of the session's writes.")};
    QCommandLineOption cards{QStringLiteral("cards"),
                             QStringLiteral("Write each capture with the row of the last barcode "
                                            "card shot, or of the last code or key given on "
                                            "standard input (a scanner in keyboard mode types "
                                            "there); captures before any are left unwritten.")};
    CardOptions cardOptions;
};

struct WatchSetup {
    Method method = Method::direct;
    SidecarNaming naming = SidecarNaming::name;
    FolderWatcher::Options watching;
    bool journal = true;
};

std::expected<Milliseconds, QString> seconds(const QCommandLineParser& parser,
                                             const QCommandLineOption& option)
{
    bool number = false;
    const double value = parser.value(option).toDouble(&number);
    if (!number || value <= 0 || value > 86400)
        return std::unexpected(QStringLiteral("--%1 takes a number of seconds, not '%2'")
                                   .arg(option.names().first(), parser.value(option)));
    return Milliseconds(qint64(value * 1000));
}

std::expected<WatchSetup, QString> chosenSetup(const QCommandLineParser& parser,
                                               const WatchOptions& options)
{
    Preferences preferences;
    preferences.registerDefaults();
    WatchSetup setup{preferences.writeMethod(),
                     preferences.sidecarNaming(),
                     {},
                     preferences.keepWriteJournal() && !parser.isSet(options.noJournal)};
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
        const auto poll = seconds(parser, options.poll);
        if (!poll)
            return std::unexpected(poll.error());
        setup.watching.poll = *poll;
    }
    if (parser.isSet(options.settle)) {
        const auto settle = seconds(parser, options.settle);
        if (!settle)
            return std::unexpected(settle.error());
        setup.watching.settle = *settle;
    }
    return setup;
}

// Writes the arrivals one at a time, in order, and says how each went.
class Watch {
public:
    // With `cards`, each capture gets the current subject's row instead of
    // the one its name matches. `keyReader` reads a capture's key tag, when
    // the rows are keyed by one.
    Watch(FolderWatcher& watcher, MetadataQueue& queue, WatchRows& rows, WatchCards* cards,
          ExifTool keyReader, Streams& streams)
        : m_watcher(watcher)
        , m_queue(queue)
        , m_rows(rows)
        , m_cards(cards)
        , m_keyReader(std::move(keyReader))
        , m_streams(streams)
    {
        QObject::connect(&queue, &MetadataQueue::writeReported, &queue,
                         [this](const WriteReport& report) {
                             for (const QString& warning : report.warnings)
                                 printError(m_streams, warning);
                             m_outcomes = report.outcomes;
                         });
    }

    void take(const QString& path)
    {
        m_waiting.push_back(path);
        next();
    }
    void leaveOut(const QString& readablePath)
    {
        printError(m_streams, QStringLiteral("%1: the name isn't UTF-8; left out")
                                  .arg(QFileInfo(readablePath).fileName()));
        ++m_leftOut;
    }
    bool isWriting() const { return m_writing; }
    void refreshRows()
    {
        if (!m_writing)
            m_rows.refresh();
    }
    QString summary() const
    {
        return QStringLiteral("watch stopped: %1 written, %2 failed, %3 skipped, %4 left out")
            .arg(m_written)
            .arg(m_failed)
            .arg(m_skipped)
            .arg(m_leftOut);
    }

private:
    void next()
    {
        if (m_writing || m_waiting.empty() || isInterrupted())
            return;
        const QString path = m_waiting.front();
        m_waiting.pop_front();
        // A writer may have taken it up again while it waited its turn.
        if (filesOpenForWriting({path}).contains(path)) {
            m_watcher.notWholeYet(path);
            next();
            return;
        }
        m_rows.refresh();
        if (!m_cards) {
            write(path, *m_rows.rows().source.dataSource);
            return;
        }
        m_writing = true;
        m_cards->read(
            path, m_rows.rows().source.dataSource,
            [this, path](const std::optional<QStringList>& keys) {
                m_writing = false;
                if (keys) {
                    write(path, PlannedRows(m_rows.rows().source.dataSource, {{path, *keys}}));
                    return;
                }
                ++m_skipped;
                m_watcher.finished(path);
                next();
            });
    }

    void write(const QString& path, const MetadataSource& source)
    {
        const QString name = QFileInfo(path).fileName();
        if (const auto unkeyed = readKey(path)) {
            printError(m_streams, QStringLiteral("%1: %2; skipped").arg(name, *unkeyed));
            ++m_skipped;
            m_watcher.finished(path);
            next();
            return;
        }
        const ExifImages images =
            mapImages(URLListProvider({QUrl::fromLocalFile(path)}), source, m_rows.rows().mappings);
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
        m_outcomes.clear();
        m_queue.enqueue(images);
        m_queue.write([this, path, name, tags](const MetadataQueue::WriteResult& result) {
            m_writing = false;
            const auto failed = std::ranges::find_if(m_outcomes, [](const FileOutcome& outcome) {
                return outcome.kind == FileOutcomeKind::failed;
            });
            if (result && failed == m_outcomes.end()) {
                m_streams.out << name << ": " << tags << (tags == 1 ? " tag" : " tags") << '\n';
                m_streams.out.flush();
                ++m_written;
            } else {
                printError(m_streams, name + QStringLiteral(": ") +
                                          (result ? failed->message : result.error().message()));
                ++m_failed;
                // The next capture must not carry this one's failure along.
                m_queue.clearQueue();
            }
            m_watcher.finished(path);
            next();
        });
    }

    // Reads the capture's key tag through the long-lived exiftool, when the
    // rows are keyed by one; why the capture has no key, if it hasn't.
    std::optional<QString> readKey(const QString& path)
    {
        FileNameDataSource& source = *m_rows.rows().source.dataSource;
        if (!source.keyTag() || source.matchingStyle() == FileNameDataSource::MatchingStyle::path)
            return std::nullopt;
        auto keys = readTagKeys(m_keyReader, {QUrl::fromLocalFile(path)}, *source.keyTag());
        if (!keys)
            return keys.error().message();
        if (keys->isEmpty())
            return QStringLiteral("has no %1").arg(*source.keyTag());
        source.addTagKeys({QUrl::fromLocalFile(path)}, *keys);
        return std::nullopt;
    }

    FolderWatcher& m_watcher;
    MetadataQueue& m_queue;
    WatchRows& m_rows;
    WatchCards* m_cards;
    ExifTool m_keyReader;
    Streams& m_streams;
    std::deque<QString> m_waiting;
    FileOutcomes m_outcomes;
    bool m_writing = false;
    int m_written = 0;
    int m_failed = 0;
    int m_skipped = 0;
    int m_leftOut = 0;
};

// Starts exiftool and learns its writable tags now, so that the first
// capture doesn't wait for either. The exiftool is handed the writer lock's
// file first, so that a kill of ours in the middle of a write leaves the
// lock held until it has gone too.
void warmUp(MetadataQueue& queue, StayOpenExiftool& exiftool)
{
    const QString program = queue.exiftoolLocation();
    WritableTagsCache::shared().tagsOf(program, ExiftoolConfig::none());
    [[maybe_unused]] const auto handedDown = WriterLock().handDown();
    if (QFileInfo(program).isExecutable())
        exiftool.run(program, {QStringLiteral("-ver")});
}

ExitStatus watch(const QString& folder, const WatchSetup& setup, WatchRows& rows,
                 const QString& exiftool, const std::optional<CardPlanOptions>& cards,
                 Streams& streams)
{
    const auto claim = FolderClaim::take(folder);
    if (!claim) {
        printError(streams, claim.error());
        return ExitStatus::failure;
    }
    // A queue of our own: its timer never fires, each arrival is written
    // when told, and its exiftool goes with it.
    MetadataQueue queue(setup.method, 86400.0, true);
    if (!exiftool.isEmpty())
        queue.setExiftoolLocation(absolutePath(exiftool));
    queue.setSidecarNaming(setup.naming);
    const auto longLived = std::make_shared<StayOpenExiftool>();
    queue.setLongLivedExiftool(longLived);
    // One journal for the session, so that one undo reverts it.
    std::shared_ptr<SessionJournal> journal;
    if (setup.journal) {
        journal = std::make_shared<SessionJournal>(journalDirectory(), caseName(setup.method),
                                                   QDateTime::currentDateTimeUtc());
        queue.setSessionJournal(journal);
    }

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

    std::unique_ptr<WatchCards> subjects;
    if (cards) {
        subjects = std::make_unique<WatchCards>(cards->keyPattern, cards->cardFrames,
                                                sessionDecoder(exiftoolToRun(exiftool)), streams);
        subjects->listenToStandardInput([&rows] { return rows.rows().source.dataSource; });
    }
    Watch writes(watcher, queue, rows, subjects.get(),
                 ExifTool(queue.exiftoolLocation(), {}, longLived), streams);
    std::optional<QString> gone;
    QObject::connect(&watcher, &FolderWatcher::arrived, &watcher,
                     [&writes](const QString& path) { writes.take(path); });
    QObject::connect(&watcher, &FolderWatcher::leftOut, &watcher,
                     [&writes](const QString& path) { writes.leaveOut(path); });
    QObject::connect(&watcher, &FolderWatcher::folderGone, &watcher,
                     [&gone](const QString& reason) { gone = reason; });
    QEventLoop loop;
    // The signal handler only sets a flag; the write in hand finishes first.
    QTimer stop;
    QObject::connect(&stop, &QTimer::timeout, &loop, [&] {
        if ((isInterrupted() || gone) && !writes.isWriting())
            loop.quit();
    });
    stop.start(50);
    QTimer rowsCheck;
    QObject::connect(&rowsCheck, &QTimer::timeout, &loop, [&writes] { writes.refreshRows(); });
    rowsCheck.start(rowsCheckMilliseconds);
    loop.exec();
    if (gone)
        printError(streams, *gone + QStringLiteral("; watch stops"));
    printError(streams, writes.summary());
    if (journal && QFileInfo::exists(journal->path()))
        printError(streams, QStringLiteral("journal: %1").arg(journal->path()));
    return gone && !isInterrupted() ? ExitStatus::failure : ExitStatus::interrupted;
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
    parser.addOptions({options.mappings, options.method, options.sidecarName, options.recursive,
                       options.poll, options.settle, options.noJournal, options.cards});
    parser.addOptions(options.cardOptions.live());
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
    const auto cards = chosenCardMode(parser, options.cards, options.cardOptions, true);
    if (!cards) {
        printError(streams, cards.error());
        return ExitStatus::usage;
    }
    const QStringList folders = parser.positionalArguments();
    if (folders.size() != 1 || !QFileInfo(folders.front()).isDir()) {
        printError(streams, QStringLiteral("watch needs one folder to watch"));
        return ExitStatus::usage;
    }
    auto source = loadSource(parser, sourceOptions, streams);
    if (!source)
        return source.error();
    auto mappings = chosenRows(parser, options, *source);
    if (!mappings) {
        printError(streams, mappings.error());
        return ExitStatus::usage;
    }
    for (const QString& warning : missingColumnWarnings(*mappings, source->dataSource->keyNames()))
        printError(streams, warning);
    // Read again, the same way, when a file they come from changes.
    const auto load = [&](Streams& to) -> std::expected<WatchRows::Rows, QString> {
        auto reloaded = loadSource(parser, sourceOptions, to);
        if (!reloaded)
            return std::unexpected(QString());
        auto rules = chosenRows(parser, options, *reloaded);
        if (!rules)
            return std::unexpected(rules.error().message());
        return WatchRows::Rows{std::move(*reloaded), std::move(*rules)};
    };
    QStringList files = source->files;
    if (parser.isSet(options.mappings))
        files << absolutePath(parser.value(options.mappings));
    WatchRows rows({std::move(*source), std::move(*mappings)}, files, load, streams);
    return watch(absolutePath(folders.front()), *setup, rows, parser.value(sourceOptions.exiftool),
                 *cards, streams);
}

} // namespace qb::cli
