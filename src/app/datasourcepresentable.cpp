// SPDX-License-Identifier: GPL-3.0-or-later
#include "datasourcepresentable.h"

#include "extensions/notificationcenter.h"

namespace qb {

DataSourcePresentable::DataSourcePresentable(PanelContext context, QObject* parent)
    : QObject(parent)
    , m_context(std::move(context))
{
}

DataSourcePresentable::~DataSourcePresentable()
{
    // The view goes with its panel, also from the box that shows it; later,
    // as one of its controls may be what replaced the panel.
    if (m_view) {
        m_view->hide();
        m_view->setParent(nullptr);
        m_view->deleteLater();
    }
}

DataSourceDelegate* DataSourcePresentable::delegate() const
{
    return dynamic_cast<DataSourceDelegate*>(m_delegate.data());
}

QWidget* DataSourcePresentable::view()
{
    if (!m_view) {
        m_view = loadView();
        viewDidLoad();
    }
    return m_view;
}

void DataSourcePresentable::postDataSourceChange()
{
    if (m_context.center)
        m_context.center->post(dataSourceChangeNotification, m_delegate.data());
}

void DataSourcePresentable::contentChanged()
{
    DataSourceDelegate* delegate = this->delegate();
    if (!delegate)
        return;
    delegate->refreshImageDisplay();
    delegate->saveRows();
    postDataSourceChange();
}

std::optional<QByteArray>
DataSourcePresentable::memberContents(const std::map<QString, FileWrapper>& wrappers,
                                      const QString& name)
{
    const auto member = wrappers.find(name);
    if (member == wrappers.end())
        return std::nullopt;
    return member->second.regularFileContents();
}

std::optional<FileWrapper>
DataSourcePresentable::wrapperOrNone(std::expected<FileWrapper, Error> wrapper)
{
    if (!wrapper)
        return std::nullopt;
    return std::move(*wrapper);
}

} // namespace qb
