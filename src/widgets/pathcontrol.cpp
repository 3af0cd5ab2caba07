// SPDX-License-Identifier: GPL-3.0-or-later
#include "pathcontrol.h"

#include "widgets/dropviews.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>

namespace qb {

PathControl::PathControl(QWidget* parent)
    : QWidget(parent)
{
    setAcceptDrops(true);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_path = new QLineEdit(this);
    m_path->setObjectName(QStringLiteral("pathField"));
    m_path->setReadOnly(true);
    m_path->setAcceptDrops(false);
    m_path->setPlaceholderText(QStringLiteral("Drop a file here or choose one"));
    m_path->setAccessibleName(QStringLiteral("File"));
    m_path->setToolTip(QStringLiteral("Double-click to open the file's folder"));
    m_path->installEventFilter(this);
    m_choose = new QPushButton(QStringLiteral("Choose\u2026"), this);
    m_choose->setObjectName(QStringLiteral("chooseFileButton"));
    m_choose->setAccessibleName(QStringLiteral("Choose a file"));
    layout->addWidget(m_path, 1);
    layout->addWidget(m_choose);
    connect(m_choose, &QPushButton::clicked, this, &PathControl::chooseFile);
}

void PathControl::setUrl(const QUrl& url)
{
    m_url = url;
    m_path->setText(url.isLocalFile() ? url.toLocalFile() : url.toDisplayString());
    m_path->setCursorPosition(0);
}

void PathControl::chooseFile()
{
    const QString start =
        m_url.isLocalFile() ? QFileInfo(m_url.toLocalFile()).absolutePath() : QString();
    const QString file = QFileDialog::getOpenFileName(
        window(), QStringLiteral("Choose a File"), start, m_nameFilters.join(QStringLiteral(";;")));
    if (!file.isEmpty())
        take(QUrl::fromLocalFile(file));
}

void PathControl::take(const QUrl& url)
{
    setUrl(url);
    emit action();
}

void PathControl::dragEnterEvent(QDragEnterEvent* event)
{
    const QList<QUrl> urls = droppedURLs(event->mimeData());
    if (urls.size() == 1 && urls.front().isLocalFile())
        event->acceptProposedAction();
}

void PathControl::dropEvent(QDropEvent* event)
{
    const QList<QUrl> urls = droppedURLs(event->mimeData());
    if (urls.size() != 1 || !urls.front().isLocalFile())
        return;
    event->acceptProposedAction();
    take(urls.front());
}

bool PathControl::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_path && event->type() == QEvent::MouseButtonDblClick && m_url.isLocalFile())
        emit doubleAction(QUrl::fromLocalFile(QFileInfo(m_url.toLocalFile()).absolutePath()));
    return QWidget::eventFilter(watched, event);
}

} // namespace qb
