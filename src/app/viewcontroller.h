// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/datasourcepresentable.h"

#include "widgets/criteriatreedelegate.h"

#include "sources/imagedatasource.h"
#include "sources/imagevalidator.h"
#include "sources/urlimageprovider.h"
#include "writing/metadataqueue.h"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>
#include <set>

class QAction;
class QCheckBox;
class QGroupBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QTimer;
class QToolButton;

namespace qb {

class DestinationView;
class FileAndFolderDialog;
class MappingsDoc;
class NotificationCenter;
class Preferences;
class ShotlistViewController;
class ImageWarningViewController;

// What a document window needs from the application around it.
struct WindowServices {
    Preferences* preferences = nullptr;
    NotificationCenter* center = nullptr;
    std::function<void(const QUrl&)> openUrl;
    // How the image panel reads other images; by default the installed exiftool.
    ImageDataSource::ReaderFactory imageReader;
};

// The one controller of a document window: it joins the document, the rule
// rows, the data source panel, the images and the assign action.
class ViewController final : public QWidget,
                             public CriteriaTreeDelegate,
                             public DataSourceDelegate {
    Q_OBJECT

public:
    ViewController(MappingsDoc& document, WindowServices services, QWidget* parent = nullptr);
    ~ViewController() override;

    // The outlets.
    RuleEditor* ruleEditor;
    QLabel* imageCountLabel;
    QProgressBar* progressIndicator;
    QPushButton* actionButton;
    QPushButton* previewButton;
    QToolButton* imageWarningButton;
    QPushButton* imageStatusButton;
    DestinationView* imageDropTarget;
    QLabel* imageDropNotice;
    QGroupBox* dataSourceBox;

    MappingsDoc& document() const { return m_document; }
    DataSourcePresentable* datasourceView() const { return m_datasourceView.get(); }
    URLImageProvider& provider() const { return *m_provider; }
    const std::optional<ImageValidator::ValidatedImages>& validatedImages() const
    {
        return m_validatedImages;
    }
    QLabel* statusLabel() const { return m_statusLabel; }
    // Where the rows tie to the images ambiguously, as the last refresh of
    // the image display found it: shown beside the image warning.
    const QStringList& matchFindings() const { return m_matchFindings; }

    // Actions.
    void selectImagesAction();
    // Chooses the data source panel by name: "csvsource" or "imagesource".
    void setDatasource(const QString& identifier);
    void assignMetadata();
    void exportCaptureFolders();
    void exportCaptureFolders(const QUrl& folder);
    // Marks the data source items by the panel in use; always true.
    bool validateUserInterfaceItem(QAction* item) const;
    ImageWarningViewController* showImageWarning();
    ShotlistViewController* showShotlist();

    // Replaces the images, as a drop of files and folders does.
    void dropImages(const QList<QUrl>& urls);
    void setWorking(bool working);

    void ruleEditorRowsDidChange(RuleEditor& editor) override;

    // What the panels ask of the window.
    void rebuildCriteria() override;
    void refreshImageDisplay() override;
    void saveRows() override;

signals:
    // The data source panel was replaced.
    void datasourceViewChanged();
    // A write started by this window has ended, well or not.
    void writeFinished(bool success);

protected:
    void showEvent(QShowEvent* event) override;

public:
    // Reads what the write would change and shows it in a table, from
    // which the user can go on to write.
    void previewMetadata();
    // Puts back the values this window's last write replaced, from its
    // journal, and tells how that went.
    void restoreLastWrite();
    // Once this window has written, and while nothing else runs.
    bool canRestoreLastWrite() const;

private:
    void showRestored(const std::expected<FileOutcomes, Error>& restored);
    void buildView();
    QWidget* buildImageBar();
    void viewDidLoad();
    void viewDidAppear();
    void setUpPanel(const QString& name);
    void showPanel();
    void applyEditable(bool editable);
    void storePanelSettings();
    void showQueueStatus();
    void finishWrite(const MetadataQueue::WriteResult& result, MetadataQueue::WriteMethod method,
                     int count);
    void watchQueue(MetadataQueue& queue);
    void showProgress(qsizetype done, qsizetype total);
    FileAndFolderDialog& openPanel();
    QStringList findMatchFindings(const QList<QUrl>& images) const;
    QString imageWarningText() const;
    PanelContext panelContext() const;

    MappingsDoc& m_document;
    WindowServices m_services;
    std::unique_ptr<DataSourcePresentable> m_datasourceView;
    bool m_firstLoad = true;
    bool m_criteriaAreLoading = false;
    bool m_working = false;
    // What exiftool said of this window's last write, its journal included.
    WriteReport m_lastReport;
    QString m_lastJournal;
    // "120 of 1,000 images written" while a long write runs.
    QString m_progressText;
    std::set<MetadataQueue*> m_watchedQueues;
    std::shared_ptr<URLImageProvider> m_provider;
    std::optional<ImageValidator::ValidatedImages> m_validatedImages;
    QStringList m_matchFindings;
    // Images of the last drop or choice left out, as their names aren't UTF-8.
    QStringList m_leftOutImages;
    QLabel* m_statusLabel;
    QTimer* m_statusTimer;
    QPointer<FileAndFolderDialog> m_openPanel;
    QCheckBox* m_includeSubdirsCheck = nullptr;
};

} // namespace qb
