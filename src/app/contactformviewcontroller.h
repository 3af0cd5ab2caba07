// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "appinfo.h"
#include "feedbackrequest.h"

#include <QUrl>
#include <QWidget>

#include <chrono>

class QCheckBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;

namespace qb {

// The feedback form: name, address, subject and message, sent to the
// makers with the application's version. It asks the window that holds it
// to close through dismissed().
class ContactFormViewController final : public QWidget {
    Q_OBJECT
    Q_PROPERTY(bool formCanSend READ formCanSend NOTIFY formCanSendChanged)
    Q_PROPERTY(QString versionString READ versionString CONSTANT)

public:
    ContactFormViewController(AppInfo info, QUrl endpoint, QWidget* parent = nullptr);

    const AppInfo& info() const { return m_info; }
    // True when the message has more than white space.
    bool formCanSend() const { return m_formCanSend; }
    QString versionString() const { return m_info.versionString(); }
    bool isSending() const { return m_sending; }
    void setTimeout(std::chrono::milliseconds timeout) { m_sender->setTimeout(timeout); }

    // Sends the form. Success thanks the user and closes; failure shows the
    // error and keeps every field as it was.
    void submitAction();
    // Closes at once when name, address and message are empty; otherwise
    // asks first. The subject, filled in for the user, doesn't count.
    void cancelAction();

signals:
    void formCanSendChanged(bool canSend);
    void dismissed();

private:
    QGridLayout* makeGrid();
    QWidget* makeButtons();
    QString versionNote() const;
    void textDidChange();
    void updateSendButton();
    FeedbackMessage message() const;
    void finishSending(const FeedbackSender::Result& result);
    void startOver();

    AppInfo m_info;
    QUrl m_endpoint;
    FeedbackSender* m_sender;
    bool m_formCanSend = false;
    bool m_sending = false;

    QGridLayout* m_emailGridView = nullptr;
    QLineEdit* m_nameField = nullptr;
    QLineEdit* m_emailField = nullptr;
    QLineEdit* m_subjectField = nullptr;
    QPlainTextEdit* m_bodyField = nullptr;
    QCheckBox* m_debugEmailButton = nullptr;
    QPushButton* m_sendButton = nullptr;
    QLabel* m_status = nullptr;
};

} // namespace qb
