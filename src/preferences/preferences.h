// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "preferences/writemethod.h"

#include "exif/metadatamanager.h"

#include <QObject>
#include <QSettings>
#include <QVariant>

#include <memory>
#include <utility>
#include <vector>

namespace qb {

// The user's stored preferences, one property and change signal per key.
//
// Registered defaults are held in memory only, beneath what is stored: a
// key the user never set reads its registered default, and a key with
// neither reads false or 0. The write method's default is registered under
// "writeMethod" but read under "writeMethodValue", so a new user writes
// directly. That pair of keys is kept as it is on purpose.
//
// A signal fires whenever the value read under its key changes, whether by
// a setter here or by registering the defaults; changes made to the store
// by another process are not seen.
class Preferences : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool includeBetaReleases READ includeBetaReleases WRITE setIncludeBetaReleases NOTIFY
                   includeBetaReleasesChanged)
    Q_PROPERTY(bool warnOnHeaderMismatch READ warnOnHeaderMismatch WRITE setWarnOnHeaderMismatch
                   NOTIFY warnOnHeaderMismatchChanged)
    Q_PROPERTY(bool presentDialogueOnSuccess READ presentDialogueOnSuccess WRITE
                   setPresentDialogueOnSuccess NOTIFY presentDialogueOnSuccessChanged)
    Q_PROPERTY(int writeMethodValue READ writeMethodValue WRITE setWriteMethodValue NOTIFY
                   writeMethodValueChanged)
    Q_PROPERTY(QString sidecarName READ sidecarName WRITE setSidecarName NOTIFY sidecarNameChanged)
    Q_PROPERTY(bool keepWriteJournal READ keepWriteJournal WRITE setKeepWriteJournal NOTIFY
                   keepWriteJournalChanged)
    Q_PROPERTY(int writeJobs READ writeJobs WRITE setWriteJobs NOTIFY writeJobsChanged)
    Q_PROPERTY(bool emptyCellsClear READ emptyCellsClear WRITE setEmptyCellsClear NOTIFY
                   emptyCellsClearChanged)

public:
    static inline const QString includeBetaReleasesKey = QStringLiteral("includeBetaReleases");
    static inline const QString writeMethodKey = QStringLiteral("writeMethod");
    static inline const QString warnOnHeaderMismatchKey = QStringLiteral("warnOnHeaderMismatch");
    static inline const QString presentDialogueOnSuccessKey =
        QStringLiteral("presentDialogueOnSuccess");
    static inline const QString writeMethodValueKey = QStringLiteral("writeMethodValue");
    static inline const QString sidecarNameKey = QStringLiteral("sidecarName");
    static inline const QString keepWriteJournalKey = QStringLiteral("keepWriteJournal");
    static inline const QString writeJobsKey = QStringLiteral("writeJobs");
    static inline const QString emptyCellsClearKey = QStringLiteral("emptyCellsClear");

    using Defaults = std::vector<std::pair<QString, QVariant>>;
    // What the application registers at launch, in this order.
    static Defaults defaultValues();

    // The user's preferences of the application (organization and
    // application "Quillbrook").
    explicit Preferences(QObject* parent = nullptr);
    // Preferences kept in the INI file at `path`.
    explicit Preferences(const QString& path, QObject* parent = nullptr);
    explicit Preferences(std::unique_ptr<QSettings> settings, QObject* parent = nullptr);
    ~Preferences() override;

    // Registers defaultValues(), prints "register()" with the dictionary to
    // standard output, and synchronises the store. Done once at start-up.
    void registerDefaults();
    void registerDefaults(const Defaults& defaults);
    const Defaults& registeredDefaults() const { return m_defaults; }

    // The stored value, else the registered default, else an invalid value.
    QVariant value(const QString& key) const;
    // Stores `value`; an invalid value removes the stored one.
    void setValue(const QString& key, const QVariant& value);

    bool includeBetaReleases() const;
    void setIncludeBetaReleases(bool include);
    bool warnOnHeaderMismatch() const;
    void setWarnOnHeaderMismatch(bool warn);
    bool presentDialogueOnSuccess() const;
    void setPresentDialogueOnSuccess(bool present);
    // The raw write method: 0 direct, 1 xmp, 2 captureOne, as stored.
    int writeMethodValue() const;
    void setWriteMethodValue(int value);

    // The write method as an assignment reads it: 0 direct, 2 Capture One,
    // every other number XMP.
    WriteMethod writeMethod() const;
    // How XMP sidecars are named: "name" or "name.ext"; anything else
    // stored reads as "name". Nothing is registered for it: a user who never
    // chose keeps the name sidecars always had.
    QString sidecarName() const;
    void setSidecarName(const QString& name);
    SidecarNaming sidecarNaming() const;
    // Whether each write first keeps the values it replaces, for undo.
    bool keepWriteJournal() const;
    void setKeepWriteJournal(bool keep);
    // How many exiftool processes a large write is split across; 0, also
    // for anything negative stored, means one per core.
    int writeJobs() const;
    void setWriteJobs(int jobs);
    // Whether an empty cell clears its tag; off, it leaves the tag as the
    // file has it. Nothing is registered: unset, it is off.
    bool emptyCellsClear() const;
    void setEmptyCellsClear(bool clear);

    QSettings& settings() { return *m_settings; }

signals:
    void includeBetaReleasesChanged(bool include);
    void warnOnHeaderMismatchChanged(bool warn);
    void presentDialogueOnSuccessChanged(bool present);
    void writeMethodValueChanged(int value);
    void sidecarNameChanged(const QString& name);
    void keepWriteJournalChanged(bool keep);
    void writeJobsChanged(int jobs);
    void emptyCellsClearChanged(bool clear);

private:
    struct Observed {
        bool includeBetaReleases;
        bool warnOnHeaderMismatch;
        bool presentDialogueOnSuccess;
        int writeMethodValue;
        QString sidecarName;
        bool keepWriteJournal;
        int writeJobs;
        bool emptyCellsClear;
    };
    Observed observed() const;
    void notifyChanges(const Observed& before);
    bool boolValue(const QString& key) const;

    std::unique_ptr<QSettings> m_settings;
    Defaults m_defaults;
};

// The text form of registered defaults: ["key": value, ...], in order.
QString describeDefaults(const Preferences::Defaults& defaults);

} // namespace qb
