// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences.h"

#include "extensions/log.h"

#include <QStringList>

#include <algorithm>

namespace qb {

namespace {

const QString organization = QStringLiteral("Quillbrook");
const QString application = QStringLiteral("Quillbrook");

QString describeValue(const QVariant& value)
{
    if (value.typeId() == QMetaType::Bool)
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    if (value.typeId() == QMetaType::QString)
        return QLatin1Char('"') + value.toString() + QLatin1Char('"');
    return value.toString();
}

} // namespace

Preferences::Defaults Preferences::defaultValues()
{
    return {{includeBetaReleasesKey, true},
            {writeMethodKey, 1},
            {warnOnHeaderMismatchKey, true},
            {presentDialogueOnSuccessKey, false},
            {keepWriteJournalKey, true}};
}

QString describeDefaults(const Preferences::Defaults& defaults)
{
    QStringList entries;
    for (const auto& [key, value] : defaults)
        entries << QStringLiteral("\"%1\": %2").arg(key, describeValue(value));
    return QLatin1Char('[') + entries.join(QStringLiteral(", ")) + QLatin1Char(']');
}

Preferences::Preferences(QObject* parent)
    : Preferences(std::make_unique<QSettings>(organization, application), parent)
{
}

Preferences::Preferences(const QString& path, QObject* parent)
    : Preferences(std::make_unique<QSettings>(path, QSettings::IniFormat), parent)
{
}

Preferences::Preferences(std::unique_ptr<QSettings> settings, QObject* parent)
    : QObject(parent)
    , m_settings(std::move(settings))
{
    Q_ASSERT(m_settings);
}

Preferences::~Preferences() = default;

void Preferences::registerDefaults()
{
    registerDefaults(defaultValues());
}

void Preferences::registerDefaults(const Defaults& defaults)
{
    qbPrint(QStringLiteral("register() ") + describeDefaults(defaults));
    const Observed before = observed();
    for (const auto& [key, value] : defaults) {
        auto it = std::find_if(m_defaults.begin(), m_defaults.end(),
                               [&key](const auto& entry) { return entry.first == key; });
        if (it != m_defaults.end())
            it->second = value;
        else
            m_defaults.emplace_back(key, value);
    }
    m_settings->sync();
    notifyChanges(before);
}

QVariant Preferences::value(const QString& key) const
{
    if (m_settings->contains(key))
        return m_settings->value(key);
    const auto it = std::find_if(m_defaults.begin(), m_defaults.end(),
                                 [&key](const auto& entry) { return entry.first == key; });
    return it == m_defaults.end() ? QVariant() : it->second;
}

void Preferences::setValue(const QString& key, const QVariant& value)
{
    const Observed before = observed();
    if (value.isValid())
        m_settings->setValue(key, value);
    else
        m_settings->remove(key);
    notifyChanges(before);
}

bool Preferences::boolValue(const QString& key) const
{
    return value(key).toBool();
}

bool Preferences::includeBetaReleases() const
{
    return boolValue(includeBetaReleasesKey);
}

void Preferences::setIncludeBetaReleases(bool include)
{
    setValue(includeBetaReleasesKey, include);
}

bool Preferences::warnOnHeaderMismatch() const
{
    return boolValue(warnOnHeaderMismatchKey);
}

void Preferences::setWarnOnHeaderMismatch(bool warn)
{
    setValue(warnOnHeaderMismatchKey, warn);
}

bool Preferences::presentDialogueOnSuccess() const
{
    return boolValue(presentDialogueOnSuccessKey);
}

void Preferences::setPresentDialogueOnSuccess(bool present)
{
    setValue(presentDialogueOnSuccessKey, present);
}

int Preferences::writeMethodValue() const
{
    // A value that isn't a number reads 0, as a missing one does.
    return value(writeMethodValueKey).toInt();
}

void Preferences::setWriteMethodValue(int value)
{
    setValue(writeMethodValueKey, value);
}

WriteMethod Preferences::writeMethod() const
{
    return writeMethodFromPreference(writeMethodValue());
}

QString Preferences::sidecarName() const
{
    return sidecarNamingName(sidecarNaming());
}

void Preferences::setSidecarName(const QString& name)
{
    setValue(sidecarNameKey, name);
}

SidecarNaming Preferences::sidecarNaming() const
{
    return sidecarNamingNamed(value(sidecarNameKey).toString()).value_or(SidecarNaming::name);
}

bool Preferences::keepWriteJournal() const
{
    // Unregistered, as in a process that never registered the defaults,
    // it is on: a journal kept needlessly costs less than one missed.
    const QVariant stored = value(keepWriteJournalKey);
    return !stored.isValid() || stored.toBool();
}

void Preferences::setKeepWriteJournal(bool keep)
{
    setValue(keepWriteJournalKey, keep);
}

int Preferences::writeJobs() const
{
    return std::max(value(writeJobsKey).toInt(), 0);
}

void Preferences::setWriteJobs(int jobs)
{
    setValue(writeJobsKey, std::max(jobs, 0));
}

bool Preferences::emptyCellsClear() const
{
    return value(emptyCellsClearKey).toBool();
}

void Preferences::setEmptyCellsClear(bool clear)
{
    setValue(emptyCellsClearKey, clear);
}

Preferences::Observed Preferences::observed() const
{
    return {includeBetaReleases(), warnOnHeaderMismatch(), presentDialogueOnSuccess(),
            writeMethodValue(),    sidecarName(),          keepWriteJournal(),
            writeJobs(),           emptyCellsClear()};
}

void Preferences::notifyChanges(const Observed& before)
{
    const Observed now = observed();
    if (now.includeBetaReleases != before.includeBetaReleases)
        emit includeBetaReleasesChanged(now.includeBetaReleases);
    if (now.warnOnHeaderMismatch != before.warnOnHeaderMismatch)
        emit warnOnHeaderMismatchChanged(now.warnOnHeaderMismatch);
    if (now.presentDialogueOnSuccess != before.presentDialogueOnSuccess)
        emit presentDialogueOnSuccessChanged(now.presentDialogueOnSuccess);
    if (now.writeMethodValue != before.writeMethodValue)
        emit writeMethodValueChanged(now.writeMethodValue);
    if (now.sidecarName != before.sidecarName)
        emit sidecarNameChanged(now.sidecarName);
    if (now.keepWriteJournal != before.keepWriteJournal)
        emit keepWriteJournalChanged(now.keepWriteJournal);
    if (now.writeJobs != before.writeJobs)
        emit writeJobsChanged(now.writeJobs);
    if (now.emptyCellsClear != before.emptyCellsClear)
        emit emptyCellsClearChanged(now.emptyCellsClear);
}

} // namespace qb
