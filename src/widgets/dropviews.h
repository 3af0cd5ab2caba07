// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>
#include <QLineEdit>
#include <QList>
#include <QUrl>

class QMimeData;

namespace qb {

// The URLs a drag carries, or none when it carries no URL at all.
QList<QUrl> droppedURLs(const QMimeData* data);

// An area that takes files and folders dropped on it. It has no enabled
// state of its own: a drop is always taken.
class DestinationView : public QFrame {
    Q_OBJECT

public:
    explicit DestinationView(QWidget* parent = nullptr);

signals:
    void urlsDropped(const QList<QUrl>& urls);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void setHighlighted(bool highlighted);
};

// A field that takes files dropped on it while it is enabled, keeps them,
// shows "N selected files", and then sends its action.
class DestinationTextField : public QLineEdit {
    Q_OBJECT

public:
    explicit DestinationTextField(QWidget* parent = nullptr);

    const QList<QUrl>& urls() const { return m_urls; }
    // What a drop does: keep the files, show their count, send the action.
    void takeURLs(const QList<QUrl>& urls);

signals:
    void action();

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    QList<QUrl> m_urls;
};

} // namespace qb
