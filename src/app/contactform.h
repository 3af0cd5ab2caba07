// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "appinfo.h"

#include <QObject>
#include <QUrl>

#include <memory>

class QDialog;

namespace qb {

class ContactFormViewController;

// The target of the Send Feedback menu item. It owns the one feedback
// window, made on first use and kept, so that a message put aside is still
// there when the window comes back.
class ContactForm final : public QObject {
    Q_OBJECT

public:
    // `endpoint`: see feedbackEndpoint() for the deployed one and its
    // "email-url" override.
    ContactForm(AppInfo info, QUrl endpoint, QObject* parent = nullptr);
    ~ContactForm() override;

    // Shows the feedback window, or brings it to the front.
    void sendFeedback();

    // Null until the window is first shown.
    QDialog* window() const { return m_window.get(); }
    ContactFormViewController* form() const { return m_form; }

private:
    AppInfo m_info;
    QUrl m_endpoint;
    std::unique_ptr<QDialog> m_window;
    ContactFormViewController* m_form = nullptr;
};

} // namespace qb
