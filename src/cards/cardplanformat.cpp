// SPDX-License-Identifier: GPL-3.0-or-later
#include "cardplanformat.h"

#include <QTextStream>

namespace qb {

namespace {

using Json = nlohmann::ordered_json;

const char* orderName(FrameOrder order)
{
    return order == FrameOrder::time ? "time" : "name";
}

const char* cardOrderName(CardOrder order)
{
    return order == CardOrder::forward ? "forward" : "backward";
}

const char* roleName(FrameRole role)
{
    switch (role) {
    case FrameRole::card:
        return "card";
    case FrameRole::groupCard:
        return "groupCard";
    case FrameRole::subject:
        return "subject";
    case FrameRole::unassigned:
        break;
    }
    return "unassigned";
}

const char* reasonName(UnassignedReason reason)
{
    switch (reason) {
    case UnassignedReason::beforeFirstCard:
        return "beforeFirstCard";
    case UnassignedReason::afterLastCard:
        return "afterLastCard";
    case UnassignedReason::unknownCode:
        return "unknownCode";
    case UnassignedReason::none:
        break;
    }
    return nullptr;
}

Json strings(const QStringList& texts)
{
    Json array = Json::array();
    for (const QString& text : texts)
        array.push_back(text.toStdString());
    return array;
}

QString keyText(const QString& key, const PlanTextOptions& options)
{
    const QString name = options.describe ? options.describe(key) : QString();
    return name.isEmpty() ? key : QStringLiteral("%1 (%2)").arg(key, name);
}

QString subjectTitle(const CardSubject& subject, const PlanTextOptions& options)
{
    if (!subject.known)
        return QStringLiteral("unknown code %1").arg(subject.keys.join(QStringLiteral(" + ")));
    QStringList parts;
    for (const QString& key : subject.keys)
        parts << keyText(key, options);
    return (subject.isGroup() ? QStringLiteral("group ") : QString()) +
           parts.join(QStringLiteral(" + "));
}

// "IMG_0002.JPG to IMG_0013.JPG", or the one name.
QString spanText(const CardPlan& plan, int first, int last)
{
    const QString& from = plan.frames[size_t(first)].name;
    return first == last ? from
                         : QStringLiteral("%1 to %2").arg(from, plan.frames[size_t(last)].name);
}

QString framesCount(size_t count)
{
    return count == 1 ? QStringLiteral("1 frame") : QStringLiteral("%1 frames").arg(count);
}

void writeSubject(QTextStream& out, const CardPlan& plan, const CardSubject& subject,
                  const PlanTextOptions& options)
{
    out << "  " << subjectTitle(subject, options) << ": ";
    if (subject.frames.empty())
        out << "no frames";
    else
        out << framesCount(subject.frames.size()) << (subject.known ? "" : " left unassigned")
            << ", " << spanText(plan, subject.frames.front(), subject.frames.back());
    QStringList cards;
    for (const int card : subject.cards) {
        const PlannedFrame& frame = plan.frames[size_t(card)];
        cards << frame.name + (frame.fix == FrameFix::markedAsCard ? QStringLiteral(", set by hand")
                                                                   : QString());
    }
    // A subject scanned before the session has no card among the frames.
    if (cards.isEmpty())
        out << " (scanned)\n";
    else
        out << " (card " << cards.join(QStringLiteral("; card ")) << ")\n";
    if (subject.gapFlag)
        out << "    check: a card may have been missed: " << durationText(subject.longestGap)
            << " without a frame after " << plan.frames[size_t(subject.gapAfter)].name << '\n';
    if (subject.countFlag)
        out << "    check: a card may have been missed: " << framesCount(subject.frames.size())
            << " against a median of " << plan.medianFrames << '\n';
}

// Runs of neighbouring frames left unassigned for one reason, as
// "IMG_0001.JPG to IMG_0004.JPG, 4 frames: before the first card".
void writeUnassigned(QTextStream& out, const CardPlan& plan)
{
    QStringList lines;
    for (size_t i = 0; i < plan.frames.size();) {
        const UnassignedReason reason = plan.frames[i].reason;
        if (reason != UnassignedReason::beforeFirstCard &&
            reason != UnassignedReason::afterLastCard) {
            ++i;
            continue;
        }
        size_t end = i;
        while (end + 1 < plan.frames.size() && plan.frames[end + 1].reason == reason)
            ++end;
        lines << QStringLiteral("  %1, %2: %3")
                     .arg(spanText(plan, int(i), int(end)), framesCount(end - i + 1),
                          reason == UnassignedReason::beforeFirstCard
                              ? QStringLiteral("before the first card")
                              : QStringLiteral("after the last card"));
        i = end + 1;
    }
    if (!lines.isEmpty())
        out << "\nUnassigned\n" << lines.join(QLatin1Char('\n')) << '\n';
}

void writeSection(QTextStream& out, const QString& title, const QStringList& lines)
{
    if (lines.isEmpty())
        return;
    out << '\n' << title << '\n';
    for (const QString& line : lines)
        out << "  " << line << '\n';
}

QString frameLine(const CardPlan& plan, const PlannedFrame& frame, const PlanTextOptions& options)
{
    QString role;
    const CardSubject* subject =
        frame.subject >= 0 ? &plan.subjects[size_t(frame.subject)] : nullptr;
    if (frame.isCard() && subject)
        role = QStringLiteral("card for ") + subjectTitle(*subject, options);
    else if (frame.role == FrameRole::subject && subject)
        role = subjectTitle(*subject, options);
    else if (frame.reason == UnassignedReason::unknownCode && subject)
        role = QStringLiteral("unassigned, after ") + subjectTitle(*subject, options);
    else if (frame.reason == UnassignedReason::beforeFirstCard)
        role = QStringLiteral("unassigned, before the first card");
    else
        role = QStringLiteral("unassigned, after the last card");
    const QString time = frame.captureTime ? frame.captureTime->text() : QStringLiteral("no time");
    return QStringLiteral("%1  %2  %3").arg(frame.name, time, role);
}

} // namespace

QString durationText(double seconds)
{
    const qint64 whole = qint64(seconds + 0.5);
    if (whole < 60)
        return QStringLiteral("%1 s").arg(whole);
    if (whole < 3600)
        return whole % 60 ? QStringLiteral("%1 min %2 s").arg(whole / 60).arg(whole % 60)
                          : QStringLiteral("%1 min").arg(whole / 60);
    const qint64 minutes = (whole % 3600) / 60;
    return minutes ? QStringLiteral("%1 h %2 min").arg(whole / 3600).arg(minutes)
                   : QStringLiteral("%1 h").arg(whole / 3600);
}

QString planText(const CardPlan& plan, const PlanTextOptions& options)
{
    QString text;
    QTextStream out(&text);
    const CardPlanOptions& o = plan.options;
    const auto checks = std::ranges::count_if(plan.subjects, &CardSubject::needsCheck);
    const auto written = std::ranges::count_if(
        plan.frames, [](const PlannedFrame& frame) { return !frame.keys.isEmpty(); });
    out << framesCount(plan.frames.size()) << " in order of "
        << (o.order == FrameOrder::time ? "capture time" : "file name") << ", "
        << (o.cardOrder == CardOrder::forward ? "each card before its frames"
                                              : "each card after its frames")
        << ", card frames " << (o.cardFrames == CardFrames::skip ? "left alone" : "written")
        << '\n';
    out << plan.subjects.size() << (plan.subjects.size() == 1 ? " subject" : " subjects") << ", "
        << checks << " to check; " << written << " frames to write\n";

    if (!plan.subjects.empty()) {
        out << "\nSubjects\n";
        for (const CardSubject& subject : plan.subjects)
            writeSubject(out, plan, subject, options);
    }
    writeUnassigned(out, plan);

    QStringList untimed, unread, keyless, notCards;
    for (const PlannedFrame& frame : plan.frames) {
        if (frame.placedByName)
            untimed << frame.name;
        if (frame.readError)
            unread << QStringLiteral("%1: %2").arg(frame.name,
                                                   frame.readError->failureReason.isEmpty()
                                                       ? frame.readError->message()
                                                       : frame.readError->failureReason);
        if (frame.fix == FrameFix::notACard)
            notCards << frame.name;
        else if (!frame.codes.isEmpty() && frame.cardKeys.isEmpty())
            keyless << QStringLiteral("%1: %2").arg(frame.name,
                                                    frame.codes.join(QStringLiteral(", ")));
    }
    writeSection(out, QStringLiteral("Without a capture time, placed by name"), untimed);
    writeSection(out, QStringLiteral("Could not be read (a card among them is missed)"), unread);
    writeSection(out, QStringLiteral("Codes that give no key, not taken as cards"), keyless);
    writeSection(out, QStringLiteral("Not cards, set by hand"), notCards);
    writeSection(out, QStringLiteral("Cards file"), plan.fixProblems);
    QStringList rows;
    for (const QString& key : plan.rowsWithoutFrames)
        rows << keyText(key, options);
    writeSection(out, QStringLiteral("Rows without frames"), rows);
    if (options.listFrames) {
        QStringList lines;
        for (const PlannedFrame& frame : plan.frames)
            lines << frameLine(plan, frame, options);
        writeSection(out, QStringLiteral("Frames"), lines);
    }
    out.flush();
    return text;
}

Json planJson(const CardPlan& plan)
{
    const CardPlanOptions& o = plan.options;
    Json json;
    json["order"] = orderName(o.order);
    json["cardOrder"] = cardOrderName(o.cardOrder);
    json["cardFrames"] = o.cardFrames == CardFrames::skip ? "skip" : "write";
    json["gapSeconds"] = o.gapSeconds;
    if (!o.keyPattern.pattern().isEmpty())
        json["cardPattern"] = o.keyPattern.pattern().toStdString();

    Json frames = Json::array();
    for (const PlannedFrame& frame : plan.frames) {
        Json f;
        f["path"] = frame.path.toStdString();
        f["name"] = frame.name.toStdString();
        f["time"] = frame.captureTime ? Json(frame.captureTime->text().toStdString()) : Json();
        f["role"] = roleName(frame.role);
        if (const char* reason = reasonName(frame.reason))
            f["reason"] = reason;
        f["subject"] = frame.subject >= 0 ? Json(frame.subject) : Json();
        f["keys"] = strings(frame.keys);
        f["codes"] = strings(frame.codes);
        if (frame.cardKeys != frame.codes)
            f["cardKeys"] = strings(frame.cardKeys);
        if (frame.fix != FrameFix::none)
            f["fix"] = frame.fix == FrameFix::markedAsCard ? "markedAsCard" : "notACard";
        if (frame.placedByName)
            f["placedByName"] = true;
        if (frame.readError)
            f["error"] = frame.readError->message().toStdString();
        frames.push_back(std::move(f));
    }

    Json subjects = Json::array();
    for (const CardSubject& subject : plan.subjects) {
        Json s;
        s["keys"] = strings(subject.keys);
        s["known"] = subject.known;
        s["group"] = subject.isGroup();
        Json cards = Json::array();
        for (const int card : subject.cards)
            cards.push_back(plan.frames[size_t(card)].path.toStdString());
        s["cards"] = std::move(cards);
        s["frames"] = subject.frames.size();
        const bool any = !subject.frames.empty();
        s["first"] =
            any ? Json(plan.frames[size_t(subject.frames.front())].path.toStdString()) : Json();
        s["last"] =
            any ? Json(plan.frames[size_t(subject.frames.back())].path.toStdString()) : Json();
        s["longestGapSeconds"] = subject.longestGap;
        Json checks = Json::array();
        if (subject.gapFlag)
            checks.push_back("gap");
        if (subject.countFlag)
            checks.push_back("count");
        s["check"] = std::move(checks);
        subjects.push_back(std::move(s));
    }
    json["frames"] = std::move(frames);
    json["subjects"] = std::move(subjects);
    json["medianFrames"] = plan.medianFrames;
    json["rowsWithoutFrames"] = strings(plan.rowsWithoutFrames);
    json["cardsFileProblems"] = strings(plan.fixProblems);
    return json;
}

} // namespace qb
