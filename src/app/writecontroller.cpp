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

} // namespace

WriteController::WriteController(Inputs inputs, QWidget* parent)
    : QObject(parent)
    , m_inputs(std::move(inputs))
    , m_parent(parent)
{
    m_statusLabel = new QLabel(parent);
    m_statusLabel->setObjectName(QStringLiteral("statusLabel"));
    m_progressIndicator = new QProgressBar(parent);
    m_progressIndicator->setObjectName(QStringLiteral("progressIndicator"));
    m_progressIndicator->setAccessibleName(QStringLiteral("Writing metadata"));
    m_progressIndicator->setRange(0, 0);
    m_progressIndicator->setMaximumWidth(120);
    m_progressIndicator->setTextVisible(false);
    m_progressIndicator->hide();
    m_actionButton = new QPushButton(assignTitle, parent);
    m_actionButton->setObjectName(QStringLiteral("actionButton"));
    m_actionButton->setAccessibleName(assignTitle);
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

void WriteController::setWorking(bool working)
{
    // Posted, so that the change shows only once the running work returns.
    QMetaObject::invokeMethod(
        this,
        [this, working] {
            m_working = working;
            m_actionButton->setText(working ? workingTitle : assignTitle);
            updateButtons();
            m_progressIndicator->setVisible(working);
            m_progressIndicator->setRange(0, 0);
            if (working) {
                m_statusTimer->start();
                showQueueStatus();
            } else {
                m_statusTimer->stop();
                m_progressText.clear();
                m_statusLabel->clear();
            }
        },
        Qt::QueuedConnection);
}

void WriteController::showQueueStatus()
{
    const auto method = m_inputs.preferences->writeMethod();
    // Waiting for another process's write says more than a count at zero.
    m_statusLabel->setText(MetadataQueue::shared(method).statusText().value_or(m_progressText));
}

void WriteController::assignMetadata()
{
    setWorking(true);
    Preferences& preferences = *m_inputs.preferences;
    const MetadataQueue::WriteMethod method = preferences.writeMethod();
    MetadataQueue& queue = MetadataQueue::shared(method);
    queue.setSidecarNaming(preferences.sidecarNaming());
    queue.setJournalDirectory(preferences.keepWriteJournal() ? std::optional(journalDirectory())
                                                             : std::nullopt);
    watchQueue(queue);
    m_lastReport = {};
    queue.setWriteJobs(preferences.writeJobs());
    queue.addImages(m_inputs.images(), *m_inputs.source(), m_inputs.mappings(),
                    preferences.emptyCellsClear() ? EmptyCells::clear : EmptyCells::keep);
    const int count = queue.imageCount();
    const QPointer<WriteController> self(this);
    queue.write([self, method, count](const MetadataQueue::WriteResult& result) {
        if (self)
            self->finishWrite(result, method, count);
    });
}

void WriteController::finishWrite(const MetadataQueue::WriteResult& result,
                                  MetadataQueue::WriteMethod method, int count)
{
    if (result) {
        qbLog(QStringLiteral("Metadata written successfully"));
        if (m_inputs.preferences->presentDialogueOnSuccess()) {
            auto* box = new QMessageBox(QMessageBox::Information, QStringLiteral("Quillbrook"),
                                        QStringLiteral("Metadata was written to %1 images %2.")
                                            .arg(count)
                                            .arg(methodPhrase(method)),
                                        QMessageBox::Ok, window());
            box->setObjectName(QStringLiteral("successAlert"));
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
    UndoOptions options;
    options.exiftool =
        MetadataQueue::shared(m_inputs.preferences->writeMethod()).exiftoolLocation();
    if (m_inputs.preferences->keepWriteJournal())
        options.journalDirectory = journalDirectory();
    setWorking(true);
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
    const ImageProvider& provider = m_inputs.images();
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
    setWorking(true);
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
