// SPDX-License-Identifier: GPL-3.0-or-later
// The window's look before a write and its way back after one. Both read or
// write every image of the batch through exiftool, which takes seconds over a
// shoot, so they run off the main thread and the window stays usable.
#include "viewcontroller.h"

#include "app/errorpresenter.h"
#include "app/writereviewdialogs.h"

#include "mapping/metadataassignment.h"
#include "preferences/preferences.h"
#include "writing/parallelwrite.h"
#include "writing/writejournal.h"
#include "writing/writepreview.h"

#include <QFutureWatcher>
#include <QMessageBox>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>

#include <type_traits>

namespace qb {

namespace {

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

} // namespace

bool ViewController::canRestoreLastWrite() const
{
    return !m_lastJournal.isEmpty() && !m_working;
}

void ViewController::restoreLastWrite()
{
    auto journal = WriteJournal::load(m_lastJournal);
    if (!journal) {
        presentError(window(), journal.error());
        return;
    }
    const QString exiftool =
        MetadataQueue::shared(m_services.preferences->writeMethod()).exiftoolLocation();
    setWorking(true);
    runOffMainThread(
        this,
        [journal = std::move(*journal), exiftool] {
            return restoreJournal(journal, ExifTool(exiftool, {}));
        },
        [this](const std::expected<FileOutcomes, Error>& restored) {
            setWorking(false);
            showRestored(restored);
        });
}

void ViewController::showRestored(const std::expected<FileOutcomes, Error>& restored)
{
    if (!restored) {
        presentError(window(), restored.error());
        return;
    }
    QStringList failed;
    for (const FileOutcome& outcome : *restored) {
        if (outcome.kind == FileOutcomeKind::failed)
            failed << QStringLiteral("%1: %2").arg(outcome.path, outcome.message);
    }
    auto* box = new QMessageBox(failed.isEmpty() ? QMessageBox::Information : QMessageBox::Warning,
                                QStringLiteral("Quillbrook"),
                                QStringLiteral("Values before the last write restored: %1.")
                                    .arg(outcomeCountsText(countOutcomes(*restored))),
                                QMessageBox::Ok, window());
    box->setObjectName(QStringLiteral("restoreAlert"));
    box->setInformativeText(cappedLines(failed.join(QLatin1Char('\n'))));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    box->open();
}

void ViewController::previewMetadata()
{
    const std::shared_ptr<MetadataSource> source = m_datasourceView->dataSource();
    ExifImages images =
        mapImages(*m_provider, *source, mappingsForRows(ruleEditor->allRowCriteria()));
    const QList<QUrl> unmatched = unmatchedImages(m_provider->images(), images);
    const QString exiftool =
        MetadataQueue::shared(m_services.preferences->writeMethod()).exiftoolLocation();
    const int parts = chunkCount(qsizetype(images.size()), m_services.preferences->writeJobs(),
                                 defaultParallelThreshold);
    setWorking(true);
    // The images were made for this preview alone; only the pool touches them.
    runOffMainThread(
        this,
        [exiftool, images = std::move(images), unmatched, parts] {
            return previewWrite(ExifTool(exiftool, {}), images, unmatched, parts);
        },
        [this](const std::expected<WritePreview, Error>& preview) {
            setWorking(false);
            if (!preview) {
                presentError(window(), preview.error());
                return;
            }
            auto* dialog = new PreviewDialog(*preview, window());
            dialog->setAttribute(Qt::WA_DeleteOnClose);
            dialog->setWindowModality(Qt::WindowModal);
            connect(dialog, &QDialog::accepted, this, &ViewController::assignMetadata);
            dialog->open();
        });
}

} // namespace qb
