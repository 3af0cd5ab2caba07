// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaObject>
#include <QString>
#include <QWidget>

class QButtonGroup;
class QComboBox;
class QLabel;
class QLayout;
class QSpinBox;

namespace qb {

class Preferences;

// What the write method stored as `writeMethodValue` does: 0 direct,
// 2 Capture One, any other number XMP sidecars.
QString writeMethodDescription(int writeMethodValue);

// The General page: the write method with the name of XMP sidecars, and
// the two check boxes of the import and assign alerts. Controls write to the preferences at once.
class GeneralPreferenceViewController final : public QWidget {
    Q_OBJECT

public:
    explicit GeneralPreferenceViewController(Preferences& preferences, QWidget* parent = nullptr);

    static QString preferencePaneTitle() { return QStringLiteral("General"); }
    QLabel* writeMethodDescriptionLabel() const { return m_writeMethodDescription; }
    QComboBox* sidecarNamePopUp() const { return m_sidecarName; }
    QSpinBox* writeJobsField() const { return m_writeJobs; }

protected:
    // The description follows the preference only while the page is shown.
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QWidget* makeWriteMethodGroup();
    QLayout* makeSidecarNameRow(QWidget* group);
    QLayout* makeWriteJobsRow(QWidget* group);
    QWidget* makeAlertsGroup();
    void updateDescription(int writeMethodValue);

    Preferences& m_preferences;
    QButtonGroup* m_writeMethods = nullptr;
    QLabel* m_writeMethodDescription = nullptr;
    QComboBox* m_sidecarName = nullptr;
    QSpinBox* m_writeJobs = nullptr;
    QMetaObject::Connection m_writeMethodObserver;
};

} // namespace qb
