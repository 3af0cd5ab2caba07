// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "writing/journalrestore.h"
#include "writing/metadataqueue.h"

#include "exif/fileoutcomes.h"

#include <QObject>

#include <functional>
#include <memory>
#include <set>
#include <vector>

class QLabel;
class QProgressBar;
class QPushButton;
class QTimer;
class QWidget;

namespace qb {

class Preferences;

// A document window's write: the assign and preview buttons, the bar and
// status while exiftool runs, the outcome, and the restore of the last
// write. The write itself runs on the queue's worker thread, the preview
// and the restore on the pool, so the window never waits for exiftool.
class WriteController final : public QObject {
    Q_OBJECT

public:
    // What a write takes from the window, asked for when it starts.
    struct Inputs {
        Preferences* preferences = nullptr;
        std::function<std::vector<MetadataMapping>()> mappings;
        std::function<std::shared_ptr<MetadataSource>()> source;
        std::function<const ImageProvider&()> images;
        // The images a preview is for; all of them when none.
        std::function<QList<QUrl>()> previewed;
    };

    WriteController(Inputs inputs, QWidget* parent);

    QLabel* statusLabel() const { return m_statusLabel; }
    QProgressBar* progressIndicator() const { return m_progressIndicator; }
    QPushButton* actionButton() const { return m_actionButton; }
    QPushButton* previewButton() const { return m_previewButton; }

    // Whether there is something to write: images the method can write and
    // a data source ready. The buttons follow it while nothing runs.
    void setReady(bool ready);
    bool isWorking() const { return m_working; }
    // `activity` says what runs, beside the bar, until the files tell more.
    void setWorking(bool working, const QString& activity = {});

    void assignMetadata();
    // Reads what the write would change and shows it in a table, from
    // which the user can go on to write.
    void previewMetadata();
    // Puts back the values this window's last write replaced, from its
    // journal, and tells how that went.
    void restoreLastWrite();
    // Once this window has written, and while nothing else runs.
    bool canRestoreLastWrite() const;
    // What the last write did with each file; none before the first.
    const FileOutcomes& lastOutcomes() const { return m_lastReport.outcomes; }

signals:
    // A write started by this window has ended, well or not.
    void writeFinished(bool success);

private:
    QWidget* window() const;
    void showQueueStatus();
    void showOutcome();
    void showPlainStatus();
    void showWarnings();
    bool exiftoolIsUsable();
    void finishWrite(const MetadataQueue::WriteResult& result, MetadataQueue::WriteMethod method,
                     int count);
    void watchQueue(MetadataQueue& queue);
    void showProgress(qsizetype done, qsizetype total);
    void showRestored(const std::expected<UndoResult, Error>& restored);
    void updateButtons();

    Inputs m_inputs;
    bool m_ready = false;
    bool m_working = false;
    // What exiftool said of this window's last write, its journal included,
    // and whether it succeeded; none before the first.
    WriteReport m_lastReport;
    std::optional<bool> m_lastWrite;
    MetadataQueue::WriteMethod m_writeMethod = MetadataQueue::WriteMethod::direct;
    QString m_activityText;
    QString m_lastJournal;
    // "120 of 1,000 images written" while a long write runs.
    QString m_progressText;
    std::set<MetadataQueue*> m_watchedQueues;

    QWidget* m_parent;
    QLabel* m_statusLabel;
    QProgressBar* m_progressIndicator;
    QPushButton* m_actionButton;
    QPushButton* m_previewButton;
    QTimer* m_statusTimer;
};

} // namespace qb
