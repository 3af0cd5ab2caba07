// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>

namespace qb {

// Both notifications of a document window carry this one name: the data
// source change (posted by the panels with the window as object) and the
// rule text change (posted by a rule row's text field with no object). An
// observer that takes any object therefore hears both; that overlap is kept
// on purpose, it is why rows are saved again on a data source change.
inline const QString dataSourceChangeNotification = QStringLiteral("Name");
inline const QString ruleTextChangeNotification = QStringLiteral("Name");

// Notifications by name, with an optional object. One centre is made by the
// application and handed to whoever posts or observes; nothing here is global.
class NotificationCenter : public QObject {
    Q_OBJECT

public:
    using Block = std::function<void(const QObject* object)>;

    explicit NotificationCenter(QObject* parent = nullptr);

    // Delivered at once, on the posting thread, to every matching observer.
    void post(const QString& name, const QObject* object = nullptr);

    // Calls `block` for each post of `name` whose object is `object`, or
    // any object when `object` is null. The observation ends when `context`
    // goes, or when the returned connection is disconnected.
    QMetaObject::Connection addObserver(const QString& name, const QObject* object,
                                        const QObject* context, Block block);

signals:
    void posted(const QString& name, const QObject* object);
};

} // namespace qb
