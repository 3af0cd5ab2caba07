// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "documents/filewrapper.h"
#include "mapping/metadatamapping.h"
#include "mapping/metadatasource.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <QWidget>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace qb {

class NotificationCenter;
class Preferences;

// The main window as a data source panel sees it.
class DataSourceDelegate {
public:
    virtual ~DataSourceDelegate() = default;
    virtual void rebuildCriteria() = 0;
    virtual void refreshImageDisplay() = 0;
    // The user changed the data: the rows and the panel's settings are
    // saved in the document, as one change of it.
    virtual void saveRows() = 0;
    // The user chose to import data whose columns don't match the rows,
    // and to remove the rows with it; undo brings them back.
    virtual void removeRows() = 0;
    // Rows the panel made for the user: added after the rows there are,
    // leaving out those for a tag a row writes already.
    virtual void addRules(const std::vector<MetadataMapping>& rules) = 0;
};

// What a panel needs from the application around it.
struct PanelContext {
    Preferences* preferences = nullptr;
    NotificationCenter* center = nullptr;
    // The folder relative file references of the document start from.
    QString bookmarkBaseFolder;
    // Opens a location in the desktop's default application.
    std::function<void(const QUrl&)> openUrl;
};

// A panel that points a data source at its input. Its view is built on
// first use, after the document's settings have reached it.
class DataSourcePresentable : public QObject {
    Q_OBJECT

public:
    explicit DataSourcePresentable(PanelContext context, QObject* parent = nullptr);
    ~DataSourcePresentable() override;

    virtual std::shared_ptr<MetadataSource> dataSource() const = 0;
    // The columns rows may name: the data source's, or what the panel knows
    // of them while its data can't be read.
    virtual QStringList keyNames() const { return dataSource()->keyNames(); }
    // Held weakly: the window owns the panel, not the other way round.
    DataSourceDelegate* delegate() const;
    void setDelegate(QObject* delegate) { m_delegate = delegate; }
    virtual bool isReady() const = 0;
    // The current settings as a document member, or none if they can't be
    // encoded.
    virtual std::optional<FileWrapper> settingsWrapper() const = 0;
    virtual void loadWrappers(const std::map<QString, FileWrapper>& wrappers) = 0;
    virtual void setEnabled(bool enabled) = 0;

    QWidget* view();
    bool isViewLoaded() const { return m_view != nullptr; }

protected:
    virtual QWidget* loadView() = 0;
    virtual void viewDidLoad() {}
    // Tells the delegate's observers that the keys or content changed.
    void postDataSourceChange();
    // The user made the rows draw on other content: the window refreshes
    // its images and saves the rows, and the change is posted. Nothing once
    // the window has gone.
    void contentChanged();
    // The bytes of the document member `name`, when it is a regular file.
    static std::optional<QByteArray> memberContents(const std::map<QString, FileWrapper>& wrappers,
                                                    const QString& name);
    // Settings that can't be encoded give no member.
    static std::optional<FileWrapper> wrapperOrNone(std::expected<FileWrapper, Error> wrapper);

    PanelContext m_context;

private:
    QPointer<QObject> m_delegate;
    QPointer<QWidget> m_view;
};

} // namespace qb
