// SPDX-License-Identifier: GPL-3.0-or-later
#include "notificationcenter.h"

namespace qb {

NotificationCenter::NotificationCenter(QObject* parent)
    : QObject(parent)
{
}

void NotificationCenter::post(const QString& name, const QObject* object)
{
    emit posted(name, object);
}

QMetaObject::Connection NotificationCenter::addObserver(const QString& name, const QObject* object,
                                                        const QObject* context, Block block)
{
    // A filter object that goes away must not match a later object that
    // happens to reuse its address.
    const QPointer<const QObject> filter(object);
    const bool filtered = object != nullptr;
    return connect(this, &NotificationCenter::posted, context,
                   [name, filter, filtered, block = std::move(block)](const QString& postedName,
                                                                      const QObject* postedObject) {
                       if (postedName != name)
                           return;
                       if (filtered && (filter.isNull() || filter.data() != postedObject))
                           return;
                       block(postedObject);
                   });
}

} // namespace qb
