// SPDX-License-Identifier: GPL-3.0-or-later
#include "writecontroller.h"

#include "app/errorpresenter.h"
#include "app/writereviewdialogs.h"

#include "mapping/metadataassignment.h"
#include "preferences/preferences.h"
#include "writing/parallelwrite.h"
#include "writing/writejournal.h"
#include "writing/writepreview.h"

#include "extensions/log.h"

#include <QFutureWatcher>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

#include <type_traits>

namespace qb {

namespace {

const QString assignTitle = QStringLiteral("Assign Metadata");
const QString workingTitle = QStringLiteral("Working\u2026");

QString methodPhrase(MetadataQueue::WriteMethod method)
{
    switch (method) {
    case MetadataQueue::WriteMethod::direct:
        return QStringLiteral("directly into the files");
    case MetadataQueue::WriteMethod::xmp:
        return QStringLiteral("into XMP sidecar files");
    case MetadataQueue::WriteMethod::captureOne:
        return QStringLiteral("to the open Capture One document");
    }
    return {};
}

// Runs `work` on the pool and hands its result to `done` on the main thread,
// unless the controller has gone meanwhile.
template <typename Work, typename Done>
void runOffMainThread(QObject* owner, Work work, Done done)
{
    using Result = std::invoke_result_t<Work>;
    auto* watcher = new QFutureWatcher<Result>(owner);
    QObject::connect(watcher, &QFutureWatcher<Result>::finished, owner,
                     [watcher, done = std::move(done)] {
                         done(watcher->result());
                         watcher->deleteLater();
                     });
    watcher->setFuture(QtConcurrent::run(std::move(work)));
}

void openWindowModal(QDialog* dialog)
{
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->open();
}

// exiftool's counts of a write, as the command line prints them: per file
// where the files are known, else as exiftool summed them up.
QString countsText(const WriteReport& report)
{
    return report.outcomes.empty() ? report.countsText()
                                   : outcomeCountsText(countOutcomes(report.outcomes));
}

QString warningsLink(qsizetype count)
{
    return QStringLiteral("<a href=\"warnings\">%1</a>")
        .arg(count == 1 ? QStringLiteral("1 warning") : QStringLiteral("%1 warnings").arg(count));
}

} // namespace

WriteController::WriteController(Inputs inputs, QWidget* parent)
    : QObject(parent)
    , m_inputs(std::move(inputs))
    , m_parent(parent)
{
    // Read with its text: what the last write did, or what the write does now.
    m_statusLabel = new QLabel(parent);
    m_statusLabel->setObjectName(QStringLiteral("statusLabel"));
    connect(m_statusLabel, &QLabel::linkActivated, this, &WriteController::showWarnings);
    m_progressIndicator = new QProgressBar(parent);
    m_progressIndicator->setObjectName(QStringLiteral("progressIndicator"));
    m_progressIndicator->setAccessibleName(QStringLiteral("Writing metadata"));
    m_progressIndicator->setRange(0, 0);
    m_progressIndicator->setMaximumWidth(120);
    m_progressIndicator->setTextVisible(false);
    m_progressIndicator->hide();
    // Named by its text, which says "Working…" while a write runs.
    m_actionButton = new QPushButton(assignTitle, parent);
    m_actionButton->setObjectName(QStringLiteral("actionButton"));
    m_actionButton->setDefault(true);
    m_previewButton = new QPushButton(QStringLiteral("Preview\u2026"), parent);
    m_previewButton->setObjectName(QStringLiteral("previewButton"));
    m_previewButton->setAccessibleName(QStringLiteral("Preview the write"));
    updateButtons();

    m_statusTimer = new QTimer(this);
    m_statusTimer->setInterval(500);
    connect(m_statusTimer, &QTimer::timeout, this, &WriteController::showQueueStatus);
    connect(m_actionButton, &QPushButton::clicked, this, &WriteController::assignMetadata);
    connect(m_previewButton, &QPushButton::clicked, this, &WriteController::previewMetadata);
}

QWidget* WriteController::window() const
{
    return m_parent->window();
}

void WriteController::setReady(bool ready)
{
    m_ready = ready;
    updateButtons();
}

void WriteController::updateButtons()
{
    m_actionButton->setEnabled(m_ready && !m_working);
    m_previewButton->setEnabled(m_actionButton->isEnabled());
}

void WriteController::setWorking(bool working, const QString& activity)
{
    // Posted, so that the change shows only once the running work returns.
    QMetaObject::invokeMethod(
        this,
        [this, working, activity] {
            m_working = working;
            m_activityText = activity;
            m_actionButton->setText(working ? workingTitle : assignTitle);
            // Tools that don't follow the text hear that the window is busy.
            m_actionButton->setAccessibleDescription(working ? activity : QString());
            updateButtons();
            m_progressIndicator->setVisible(working);
            m_progressIndicator->setRange(0, 0);
            if (working) {
                m_statusTimer->start();
                showQueueStatus();
            } else {
                m_statusTimer->stop();
                m_progressText.clear();
                showOutcome();
            }
        },
        Qt::QueuedConnection);
}

// The bar and its count follow the files; the queue's own words are for
// while the write waits for another process's to end.
void WriteController::showQueueStatus()
{
    showPlainStatus();
    const MetadataQueue& queue = MetadataQueue::shared(m_writeMethod);
    if (queue.isWaitingForWriter())
        m_statusLabel->setText(queue.statusText().value_or(m_activityText));
    else
        m_statusLabel->setText(m_progressText.isEmpty() ? m_activityText : m_progressText);
}

// What exiftool said of this window's last write, its warnings one click away.
void WriteController::showOutcome()
{
    const QString counts = m_lastWrite ? countsText(m_lastReport) : QString();
    showPlainStatus();
    if (counts.isEmpty()) {
        m_statusLabel->clear();
        return;
    }
    const QString said = (*m_lastWrite ? QStringLiteral("Last write: %1.")
                                       : QStringLiteral("Last write failed: %1."))
                             .arg(counts);
    if (m_lastReport.warnings.isEmpty()) {
        m_statusLabel->setText(said);
        return;
    }
    // The link to the warnings is a control: Tab reaches it.
    m_statusLabel->setTextFormat(Qt::RichText);
    m_statusLabel->setTextInteractionFlags(Qt::TextBrowserInteraction);
    m_statusLabel->setText(said.toHtmlEscaped() + QLatin1Char(' ') +
                           warningsLink(m_lastReport.warnings.size()));
}

void WriteController::showPlainStatus()
{
    m_statusLabel->setTextFormat(Qt::PlainText);
    m_statusLabel->setTextInteractionFlags(Qt::NoTextInteraction);
}

void WriteController::showWarnings()
{
    auto* box = new QMessageBox(QMessageBox::Warning, QStringLiteral("Quillbrook"),
                                QStringLiteral("exiftool warned about the last write."),
                                QMessageBox::Ok, window());
    box->setObjectName(QStringLiteral("writeWarningsAlert"));
    box->setInformativeText(cappedLines(m_lastReport.warnings.join(QLatin1Char('\n'))));
    openWindowModal(box);
}

// Checked before anything runs: a variable that names no exiftool would
// otherwise fail each write with less to say.
bool WriteController::exiftoolIsUsable()
{
    if (const auto error = MetadataQueue::exiftoolVariableError()) {
        presentError(window(), *error);
        return false;
    }
    return true;
}

void WriteController::assignMetadata()
{
    if (!exiftoolIsUsable())
        return;
    Preferences& preferences = *m_inputs.preferences;
    const MetadataQueue::WriteMethod method = preferences.writeMethod();
    m_writeMethod = method;
    MetadataQueue& queue = MetadataQueue::shared(method);
    queue.setSidecarNaming(preferences.sidecarNaming());
    queue.setJournalDirectory(preferences.keepWriteJournal() ? std::optional(journalDirectory())
                                                             : std::nullopt);
    watchQueue(queue);
    m_lastReport = {};
    m_lastWrite.reset();
    queue.setWriteJobs(preferences.writeJobs());
    queue.addImages(m_inputs.images(), *m_inputs.source(), m_inputs.mappings(),
                    preferences.emptyCellsClear() ? EmptyCells::clear : EmptyCells::keep);
    const int count = queue.imageCount();
    setWorking(true, QStringLiteral("Writing %1 images\u2026").arg(count));
    const QPointer<WriteController> self(this);
    queue.write([self, method, count](const MetadataQueue::WriteResult& result) {
        if (self)
            self->finishWrite(result, method, count);
    });
}

void WriteController::finishWrite(const MetadataQueue::WriteResult& result,
                                  MetadataQueue::WriteMethod method, int count)
{
    m_lastWrite = result.has_value();
    if (result) {
        qbLog(QStringLiteral("Metadata written successfully"));
        if (m_inputs.preferences->presentDialogueOnSuccess()) {
            // The files exiftool wrote, not those it was given.
            const int written = m_lastReport.outcomes.empty()
                                    ? count
                                    : countOutcomes(m_lastReport.outcomes).written;
            auto* box = new QMessageBox(QMessageBox::Information, QStringLiteral("Quillbrook"),
                                        QStringLiteral("Metadata was written to %1 images %2.")
                                            .arg(written)
                                            .arg(methodPhrase(method)),
                                        QMessageBox::Ok, window());
            box->setObjectName(QStringLiteral("successAlert"));
            QStringList said;
            if (const QString counts = countsText(m_lastReport); !counts.isEmpty())
                said << counts + QLatin1Char('.');
            said << m_lastReport.warnings;
            box->setInformativeText(cappedLines(said.join(QLatin1Char('\n'))));
            openWindowModal(box);
        }
    } else {
        qbLog(QStringLiteral("ERROR writing metadata"));
        qbLog(result.error().errorDescription);
        const Error error = result.error();
        // Every failed file with its own reason, not the first error only.
        const FileOutcomes outcomes = m_lastReport.outcomes;
        QMetaObject::invokeMethod(
            this,
            [this, error, outcomes] {
                if (countOutcomes(outcomes).failed == 0) {
                    presentError(window(), error);
                    return;
                }
                openWindowModal(new FailedFilesDialog(error, outcomes, window()));
            },
            Qt::QueuedConnection);
    }
    setWorking(false);
    emit writeFinished(result.has_value());
}

void WriteController::watchQueue(MetadataQueue& queue)
{
    if (!m_watchedQueues.insert(&queue).second)
        return;
    connect(&queue, &MetadataQueue::writeReported, this, [this](const WriteReport& report) {
        m_lastReport = report;
        if (!report.journalPath.isEmpty())
            m_lastJournal = report.journalPath;
    });
    connect(&queue, &MetadataQueue::writeProgress, this, &WriteController::showProgress);
}

void WriteController::showProgress(qsizetype done, qsizetype total)
{
    // A short write is over before a bar could tell anything.
    constexpr qsizetype determinateFrom = 300;
    if (!m_working || total < determinateFrom)
        return;
    m_progressIndicator->setRange(0, int(total));
    m_progressIndicator->setValue(int(done));
    m_progressText = QStringLiteral("%1 of %2 images written").arg(done).arg(total);
    showQueueStatus();
}

bool WriteController::canRestoreLastWrite() const
{
    return !m_lastJournal.isEmpty() && !m_working;
}

void WriteController::restoreLastWrite()
{
    if (!exiftoolIsUsable())
        return;
    UndoOptions options;
    options.exiftool =
        MetadataQueue::shared(m_inputs.preferences->writeMethod()).exiftoolLocation();
    if (m_inputs.preferences->keepWriteJournal())
        options.journalDirectory = journalDirectory();
    setWorking(true, QStringLiteral("Restoring the values before the last write\u2026"));
    runOffMainThread(
        this, [journal = m_lastJournal, options] { return undoWrite(journal, options); },
        [this](const std::expected<UndoResult, Error>& restored) {
            setWorking(false);
            showRestored(restored);
        });
}

void WriteController::showRestored(const std::expected<UndoResult, Error>& restored)
{
    if (!restored) {
        presentError(window(), restored.error());
        return;
    }
    if (!restored->journalPath.isEmpty())
        m_lastJournal = restored->journalPath;
    QStringList failed;
    for (const FileOutcome& outcome : restored->outcomes) {
        if (outcome.kind == FileOutcomeKind::failed)
            failed << QStringLiteral("%1: %2").arg(outcome.path, outcome.message);
    }
    auto* box =
        new QMessageBox(failed.isEmpty() && restored->notes.isEmpty() ? QMessageBox::Information
                                                                      : QMessageBox::Warning,
                        QStringLiteral("Quillbrook"),
                        QStringLiteral("Values before the last write restored: %1.")
                            .arg(outcomeCountsText(countOutcomes(restored->outcomes))),
                        QMessageBox::Ok, window());
    box->setObjectName(QStringLiteral("restoreAlert"));
    box->setInformativeText(cappedLines((failed + restored->notes).join(QLatin1Char('\n'))));
    openWindowModal(box);
}

void WriteController::previewMetadata()
{
    if (!exiftoolIsUsable())
        return;
    const QList<QUrl> chosen = m_inputs.previewed ? m_inputs.previewed() : QList<QUrl>();
    const URLListProvider chosenImages(chosen);
    const ImageProvider& provider = chosen.isEmpty() ? m_inputs.images() : chosenImages;
    const Preferences& preferences = *m_inputs.preferences;
    ExifImages images =
        mapImages(provider, *m_inputs.source(), m_inputs.mappings(),
                  preferences.emptyCellsClear() ? EmptyCells::clear : EmptyCells::keep);
    const QList<QUrl> unmatched = unmatchedImages(provider.images(), images);
    const QString exiftool = MetadataQueue::shared(preferences.writeMethod()).exiftoolLocation();
    // With sidecars, the values now are the sidecars'.
    const PreviewSource source{preferences.writeMethod() == MetadataQueue::WriteMethod::xmp,
                               preferences.sidecarNaming()};
    const int parts = chunkCount(qsizetype(images.size()), m_inputs.preferences->writeJobs(),
                                 defaultParallelThreshold);
    setWorking(true, QStringLiteral("Reading what the write would change\u2026"));
    // The images were made for this preview alone; only the pool touches them.
    runOffMainThread(
        this,
        [exiftool, images = std::move(images), unmatched, parts, source] {
            return previewWrite(ExifTool(exiftool, {}), images, unmatched, parts, source);
        },
        [this](const std::expected<WritePreview, Error>& preview) {
            setWorking(false);
            if (!preview) {
                presentError(window(), preview.error());
                return;
            }
            auto* dialog = new PreviewDialog(*preview, window());
            connect(dialog, &QDialog::accepted, this, &WriteController::assignMetadata);
            openWindowModal(dialog);
        });
}

} // namespace qb
