// SPDX-License-Identifier: GPL-3.0-or-later
#include "dropviews.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>

namespace qb {

namespace {

bool acceptFiles(QDragMoveEvent* event)
{
    if (droppedURLs(event->mimeData()).isEmpty())
        return false;
    event->setDropAction(Qt::CopyAction);
    event->accept();
    return true;
}

} // namespace

QList<QUrl> droppedURLs(const QMimeData* data)
{
    if (!data || !data->hasUrls())
        return {};
    QList<QUrl> urls;
    for (const QUrl& url : data->urls())
        if (url.isValid())
            urls << url;
    return urls;
}

DestinationView::DestinationView(QWidget* parent)
    : QFrame(parent)
{
    setAcceptDrops(true);
    setFrameShape(QFrame::StyledPanel);
    setHighlighted(false);
}

void DestinationView::setHighlighted(bool highlighted)
{
    setStyleSheet(
        highlighted ? QStringLiteral("qb--DestinationView { border: 2px dashed palette(highlight); "
                                     "border-radius: 6px; background: palette(alternate-base); }")
                    : QStringLiteral("qb--DestinationView { border: 2px dashed palette(mid); "
                                     "border-radius: 6px; }"));
}

void DestinationView::dragEnterEvent(QDragEnterEvent* event)
{
    if (acceptFiles(event))
        setHighlighted(true);
}

void DestinationView::dragMoveEvent(QDragMoveEvent* event)
{
    acceptFiles(event);
}

void DestinationView::dragLeaveEvent(QDragLeaveEvent*)
{
    setHighlighted(false);
}

void DestinationView::dropEvent(QDropEvent* event)
{
    setHighlighted(false);
    const QList<QUrl> urls = droppedURLs(event->mimeData());
    if (urls.isEmpty())
        return;
    event->setDropAction(Qt::CopyAction);
    event->accept();
    emit urlsDropped(urls);
}

DestinationTextField::DestinationTextField(QWidget* parent)
    : QLineEdit(parent)
{
    setReadOnly(true);
    setAcceptDrops(true);
    setPlaceholderText(QStringLiteral("Drop source images here"));
}

void DestinationTextField::takeURLs(const QList<QUrl>& urls)
{
    m_urls = urls;
    setText(urls.isEmpty() ? QString()
                           : QString::number(urls.size()) + QStringLiteral(" selected files"));
    emit action();
}

void DestinationTextField::dragEnterEvent(QDragEnterEvent* event)
{
    if (isEnabled())
        acceptFiles(event);
}

void DestinationTextField::dragMoveEvent(QDragMoveEvent* event)
{
    if (isEnabled())
        acceptFiles(event);
}

void DestinationTextField::dropEvent(QDropEvent* event)
{
    const QList<QUrl> urls = droppedURLs(event->mimeData());
    if (!isEnabled() || urls.isEmpty())
        return;
    event->setDropAction(Qt::CopyAction);
    event->accept();
    takeURLs(urls);
}

} // namespace qb
