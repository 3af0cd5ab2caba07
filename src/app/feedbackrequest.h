// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "deploymentsettings.h"

#include "extensions/error.h"

#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariant>

#include <chrono>
#include <expected>
#include <functional>

class QNetworkAccessManager;

namespace qb {

struct AppInfo;

// What the user typed into the feedback form.
struct FeedbackMessage {
    QString name;
    QString email;
    QString subject;
    QString body;
    bool debugEmail = false; // a debugging switch the form keeps hidden
};

// The setting that points the form at another server than the built-in one.
inline const QString feedbackEndpointKey = QStringLiteral("email-url");

// The `email-url` setting when it holds a web address, else `builtIn`.
QUrl feedbackEndpoint(const QVariant& emailURL,
                      const QUrl& builtIn = deployment::feedbackEndpoint());

// Whether a body is worth sending: it has more than white space.
bool canSendFeedback(const QString& body);

// The endpoint with the query NAME, FROM, SUBJECT, BODY and NOEMAIL, in
// that order. A blank name or address is replaced by the application's, and
// the body ends with the version. Every value is percent-encoded whole, so
// that "&", "+", "=", "%" and any script reach the server as typed.
QUrl feedbackRequestURL(const QUrl& endpoint, const AppInfo& info, const FeedbackMessage& message);

// Sends feedback as a GET request and reports once, on this object's
// thread; the caller's window stays responsive meanwhile.
class FeedbackSender final : public QObject {
    Q_OBJECT

public:
    using Result = std::expected<void, Error>;
    using Completion = std::function<void(const Result&)>;

    explicit FeedbackSender(QObject* parent = nullptr);

    // How long the server may take; 60 seconds unless set.
    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }
    void send(const QUrl& url, Completion completion);

private:
    QNetworkAccessManager* m_network;
    std::chrono::milliseconds m_timeout{std::chrono::seconds(60)};
};

} // namespace qb
