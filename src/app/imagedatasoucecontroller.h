// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/datasourcepresentable.h"

#include "documents/datasourcesettings.h"
#include "sources/imagedatasource.h"

#include "widgets/dropviews.h"

#include <QComboBox>
#include <QPointer>

namespace qb {

// The image panel: rows are the metadata of other images, dropped on its
// field, keyed by those images' names. (The class name is spelled so.)
class ImageDataSouceController final : public DataSourcePresentable {
    Q_OBJECT

public:
    explicit ImageDataSouceController(PanelContext context,
                                      ImageDataSource::ReaderFactory reader = {},
                                      QObject* parent = nullptr);

    std::shared_ptr<MetadataSource> dataSource() const override { return m_imageDataSource; }
    bool isReady() const override { return !m_imageDataSource->rows().isEmpty(); }
    std::optional<FileWrapper> settingsWrapper() const override;
    void loadWrappers(const std::map<QString, FileWrapper>& wrappers) override;
    void setEnabled(bool enabled) override;

    // Reads the dropped images' metadata off the main thread; the table is
    // replaced on the main thread once the read is done.
    void importFileAction();
    void matchStyleSelect();

    bool isLoading() const { return m_loading; }
    DestinationTextField* sourceImagesLabel() const { return m_sourceImagesLabel; }
    QComboBox* matchingStylePopUp() const { return m_matchingStylePopUp; }

signals:
    void loadFinished();

protected:
    QWidget* loadView() override;
    void viewDidLoad() override;

private:
    void applyStyle();

    ImageDatasourceSettings m_settings;
    std::shared_ptr<ImageDataSource> m_imageDataSource;
    bool m_loading = false;
    QPointer<QComboBox> m_matchingStylePopUp;
    QPointer<DestinationTextField> m_sourceImagesLabel;
};

} // namespace qb
